// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds whether nodes are in the scene or below a selected node, in one pass for many nodes.
#include "ktNodeLocator.h"

ktNodeLocator::ktNodeLocator(const osg::NodePtr& sceneRoot, const std::vector<osg::UInt32>& selectedIds)
    : root(sceneRoot), selected(selectedIds.begin(), selectedIds.end()) {}

ktNodeLocation ktNodeLocator::find(const osg::NodePtr& node) {
    if (node == osg::NullFC)
        return ktNodeLocation::OutsideScene;
    return node == root ? ktNodeLocation::InScene : findForChildren(node->getParent());
}

ktNodeLocation ktNodeLocator::findForChildren(osg::NodePtr node) {
    // Upwards to the scene's root, to a node with a known result, or to the end of another tree ...
    ktNodeLocation location = ktNodeLocation::OutsideScene;
    path.clear();
    while (node != osg::NullFC) {
        const osg::UInt32 id = node.getFieldContainerId();
        const auto known = locationOfChildren.find(id);
        if (known != locationOfChildren.end()) {
            location = known->second;
            break;
        }
        path.push_back(id);
        if (node == root) {
            location = ktNodeLocation::InScene;
            break;
        }
        node = node->getParent();
    }
    // ... and back down.
    for (auto id = path.rbegin(); id != path.rend(); ++id) {
        if (location == ktNodeLocation::InScene && selected.count(*id) != 0)
            location = ktNodeLocation::BelowSelected;
        locationOfChildren[*id] = location;
    }
    return location;
}
