// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <functional>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// One use of a geometry in the scene.
struct ktGeometryInstance {
    osg::NodePtr node;
    osg::GeometryPtr geometry; ///< the node's core
    osg::Matrix toWorld;       ///< object to world
};

enum class ktInstances {
    All,    ///< including hidden nodes and children that switches do not show
    Visible ///< only visible ones
};

/// Calls visit(instance) for each geometry node of the tree, in traversal order, until it returns false. Does nothing
/// for a null root. Nodes above the root affect the world matrices but not the visibility. Does not recurse, so trees
/// may have any depth. `visit` must not change the tree.
KT_HOST_EXPORT void ktForEachGeometryInstance(const osg::NodePtr& root, ktInstances which,
                                              const std::function<bool(const ktGeometryInstance&)>& visit);

/// Whether there is geometry below the nodes, hidden nodes included, and all of it consists of points and lines.
KT_HOST_EXPORT bool ktHasNoTriangles(const std::vector<osg::NodePtr>& nodes);

/// Triangles that a geometry's primitives make, those without area included; none for points and lines. Those that only
/// connect parts of a strip do not count.
/// @param geometry not null
KT_HOST_EXPORT std::uint64_t ktCountTriangles(const osg::GeometryPtr& geometry);
