// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktGeoSubdivisionRecord;

/// Rebuilds the geometry of a record as plain triangles. New vertices follow the original ones. Each attribute of a new
/// vertex is the mean of its parents; normals get unit length; channels 7 and 5 get the traced results (5
/// with its marker). Announces the changes. Handles events meanwhile. Main thread only. Ignores a record that is not
/// ready.
/// @throws std::bad_alloc; the triangles are then unchanged
void ktRecreateRefinedGeometry(const ktGeoSubdivisionRecord& record);
