// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Whether the node is the root of the scene or below it; false for null. Takes time in proportion to its depth.
KT_HOST_EXPORT bool ktIsInScene(const osg::NodePtr& node);

/// Calls visit(node) for each node that answers a question about `node`, until it returns false. That is the node
/// itself if it is in the scene; else those nodes of the scene that hold its core: a cloned tree shares cores with the
/// scene but carries no attachments. Where there are none, the node answers for itself. A null node has no answer.
/// The nodes come from the core's own list of parents, so the scene is not searched.
template <class Visitor>
void ktForEachAnsweringNode(const osg::NodePtr& node, Visitor visit) {
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
