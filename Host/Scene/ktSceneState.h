// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstddef>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// Opens and closes the scene that ktScenegraph shows, and selects in it. Main thread only.
class KT_HOST_EXPORT ktSceneState {
public:
    /// Makes `root`, with all below it, the scene; null closes the scene. The host keeps a reference to the root and
    /// gives its reference to the old one back. Nothing is selected afterwards.
    static void setRootNode(const osg::NodePtr& root);

    /// Selects the nodes, in this order, instead of those selected before. Left out are null nodes, nodes that are not
    /// in the scene, and repetitions. Returns how many nodes are selected now. The selection holds no references.
    static std::size_t setSelection(const std::vector<osg::NodePtr>& nodes);
    /// Selects the nodes that the texts name (see findNodes()), in the order of the texts and of traversal. Returns
    /// the texts that name no node; the others are selected all the same.
    static std::vector<std::string> selectByName(const std::vector<std::string>& texts);
    static void clearSelection();

    /// The scene's nodes that a text names, in traversal order: those with exactly this name. Where there are none, the
    /// text is taken as a path: names with "/" between them, each the name of the nearest named node above the next;
    /// a "/" in front ties the first name to the top of the scene. A name of the path may hold the wildcards of a
    /// shell: "*", "?" and "[...]"; a backslash takes a character as it is.
    static std::vector<osg::NodePtr> findNodes(const std::string& text);

    /// What ktScenegraph::enableUpdate() was last told; true at first.
    static bool isUpdateEnabled();
};
