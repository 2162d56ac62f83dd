// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells whether a node is in the scene, to find the originals of cloned nodes.
#include "ktOriginalNodes.h"

#include "ktScenegraph.h"

bool ktIsInScene(const osg::NodePtr& node) {
    const osg::NodePtr root = ktScenegraph::getRootNode();
    if (root == osg::NullFC)
        return false;
    osg::NodePtr above = node;
    while (above != osg::NullFC && above != root)
        above = above->getParent();
    return above == root;
}
