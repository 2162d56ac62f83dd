// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Whether the node is the root of the scene or below it; false for null. Takes time in proportion to its depth.
KT_HOST_EXPORT bool ktIsInScene(const osg::NodePtr& node);

/// Calls visit(original) for each original of `node`, until it returns false. A node in the scene is its own original.
/// A node outside the scene may be a clone: it shares its core with nodes of the scene, but has no attachments. These
/// nodes are its originals. Without them it is its own original. A null node has none.
/// The nodes come from the core's list of parents, so the scene is not searched.
template <class Visitor>
void ktForEachOriginal(const osg::NodePtr& node, Visitor visit) {
    if (node == osg::NullFC)
        return;
    bool hasSceneNode = false;
    if (node->getCore() != osg::NullFC && !ktIsInScene(node)) {
        for (const osg::NodePtr& holder : node->getCore()->getParents()) {
            if (!ktIsInScene(holder))
                continue;
            hasSceneNode = true;
            if (!visit(holder))
                return;
        }
    }
    if (!hasSceneNode)
        visit(node);
}
