// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <vector>

// A geometry whose vertices have several normals at creases can still have to be stored with one value for all of them.
// Its core then says which vertices share a value. Main thread only.

/// States for each vertex of a geometry which value it has: vertices with equal numbers share one. Neither may be null.
void ktSetSharedVertices(const osg::GeometryPtr& geometry, const std::vector<std::uint32_t>& values);

/// What ktSetSharedVertices() stored; null if nothing, or if the number of vertices has changed since. Valid until the
/// geometry changes.
const osg::UInt32* ktFindSharedVertices(const osg::GeometryPtr& geometry);
