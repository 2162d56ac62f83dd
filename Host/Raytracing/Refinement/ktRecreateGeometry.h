// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktGeoSubdivisionRecord;

/// Rebuilds the record's geometry as plain triangles with the new vertices behind the old ones: every attribute is the
/// mean of the vertex's parents, normals are brought to unit length, and channels 7 and 5 take the traced results (5
/// with its marker). Announces the changes. Lets the event loop run meanwhile. Main thread only; a record that is not
/// ready is ignored.
/// @throws std::bad_alloc with the geometry as it was
void ktRecreateRefinedGeometry(const ktGeoSubdivisionRecord& record);
