// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktScenePlaces.h"

ktScenePlaces::ktScenePlaces(const osg::NodePtr& sceneRoot, const std::vector<osg::UInt32>& selectedIds)
    : root(sceneRoot), selected(selectedIds.begin(), selectedIds.end()) {}

ktScenePlace ktScenePlaces::find(const osg::NodePtr& node) {
    if (node == osg::NullFC)
        return ktScenePlace::OutsideScene;
    return node == root ? ktScenePlace::InScene : findOfChildren(node->getParent());
}

ktScenePlace ktScenePlaces::findOfChildren(osg::NodePtr node) {
    // Upwards to the scene's root, to a node whose answer is known, or to the end of another tree ...
    ktScenePlace place = ktScenePlace::OutsideScene;
    path.clear();
    while (node != osg::NullFC) {
        const osg::UInt32 id = node.getFieldContainerId();
        const auto known = placesOfChildren.find(id);
        if (known != placesOfChildren.end()) {
            place = known->second;
            break;
        }
        path.push_back(id);
        if (node == root) {
            place = ktScenePlace::InScene;
            break;
        }
        node = node->getParent();
    }
    // ... and back down.
    for (auto id = path.rbegin(); id != path.rend(); ++id) {
        if (place == ktScenePlace::InScene && selected.count(*id) != 0)
            place = ktScenePlace::BelowSelected;
        placesOfChildren[*id] = place;
    }
    return place;
}
