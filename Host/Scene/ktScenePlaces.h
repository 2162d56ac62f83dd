// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Where a node stands as seen from the selection above it.
enum class ktScenePlace { OutsideScene, InScene, BelowSelected };

/// Tells where nodes stand. Remembers the nodes it came past, so that any number of questions about one tree, however
/// deep, takes time in proportion to the tree. Good as long as the scene and the selection do not change.
class ktScenePlaces {
public:
    /// @param sceneRoot   null when no scene is open
    /// @param selectedIds container numbers of the selected nodes
    ktScenePlaces(const osg::NodePtr& sceneRoot, const std::vector<osg::UInt32>& selectedIds);

    /// A selected node itself is BelowSelected only when another one above it is selected, too. A null node is
    /// OutsideScene.
    ktScenePlace find(const osg::NodePtr& node);

private:
    ktScenePlace findOfChildren(osg::NodePtr node);

    osg::NodePtr root;
    std::unordered_set<osg::UInt32> selected;
    std::unordered_map<osg::UInt32, ktScenePlace> placesOfChildren; // by container number of the parent
    std::vector<osg::UInt32> path;
};
