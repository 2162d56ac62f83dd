// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstddef>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// Opens and closes the scene of ktScenegraph, and sets its selection. Main thread only.
class KT_HOST_EXPORT ktSceneState {
public:
    /// Makes the tree below `root` the scene; null closes the scene. References the new root and releases the old one.
    /// Clears the selection.
    static void setRootNode(const osg::NodePtr& root);

    /// Replaces the selection by the nodes, in this order, without null nodes, nodes outside of the scene and
    /// repetitions. Returns the number of selected nodes. The selection holds no references.
    static std::size_t setSelection(const std::vector<osg::NodePtr>& nodes);
    /// Selects the nodes that the texts name (see findNodes()), in order of the texts, then of traversal. Returns the
    /// texts that name no node; the others are still selected.
    static std::vector<std::string> selectByName(const std::vector<std::string>& texts);
    static void clearSelection();

    /// Finds the scene's nodes with exactly this name, in traversal order. If there are none, the text is a path of
    /// names separated by "/". Each name is that of the nearest named node above the next. A leading "/" ties the first
    /// name to the top of the scene. Names in a path may contain the wildcards of a shell: "*", "?" and "[...]". A
    /// backslash makes the next character literal.
    static std::vector<osg::NodePtr> findNodes(const std::string& text);

    /// The last argument of ktScenegraph::enableUpdate(); initially true.
    static bool isUpdateEnabled();
};
