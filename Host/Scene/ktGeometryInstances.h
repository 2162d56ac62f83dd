// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <functional>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>

/// One place in the scene where a geometry is seen.
struct ktGeometryInstance {
    osg::NodePtr node;
    osg::GeometryPtr geometry; ///< the node's core
    osg::Matrix toWorld;       ///< object to world
};

enum class ktInstances {
    All,    ///< hidden nodes and the unseen children of switches, too
    Visible ///< only what is shown
};

/// Calls visit(instance) for each geometry node of the tree, in traversal order, until it returns false. A null root
/// has none. Nodes above the root count for the world matrices but not for the visibility. Does not recurse, so trees
/// may be of any depth; `visit` must not change the tree.
KT_HOST_EXPORT void ktForEachGeometryInstance(const osg::NodePtr& root, ktInstances which,
                                              const std::function<bool(const ktGeometryInstance&)>& visit);
