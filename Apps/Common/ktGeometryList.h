// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// A geometry of the scene; listed once, even if several nodes use it.
struct ktListedGeometry {
    std::string name; ///< of the first node that uses it, or of that node's parent; may be empty
    osg::GeometryPtr geometry;
    std::uint64_t vertices = 0, triangles = 0;
    std::uint64_t uses = 0; ///< nodes that show it, hidden ones included
};

/// All geometries with positions below a node, in traversal order.
std::vector<ktListedGeometry> listGeometries(const osg::NodePtr& root);

/// Vertices of the visible geometry below the host's selection, each geometry once.
std::uint64_t countSelectedVertices();
