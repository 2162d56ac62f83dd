// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Where a node is: outside the scene, in it, or in it below a selected node.
enum class ktNodeLocation { OutsideScene, InScene, BelowSelected };

/// Finds where nodes are. It remembers the nodes on the way up, so all calls for one tree together take time in
/// proportion to the tree. Valid until the scene or the selection changes.
class ktNodeLocator {
public:
    /// @param sceneRoot   null if no scene is open
    /// @param selectedIds container numbers of the selected nodes
    ktNodeLocator(const osg::NodePtr& sceneRoot, const std::vector<osg::UInt32>& selectedIds);

    /// A selected node is BelowSelected only if a node above it is selected, too. A null node is OutsideScene.
    ktNodeLocation find(const osg::NodePtr& node);

private:
    ktNodeLocation findForChildren(osg::NodePtr node);

    osg::NodePtr root;
    std::unordered_set<osg::UInt32> selected;
    std::unordered_map<osg::UInt32, ktNodeLocation> locationOfChildren; // by container id of the parent
    std::vector<osg::UInt32> path;
};
