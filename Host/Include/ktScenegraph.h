// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktNodePtr.h"

#include <vector>

/// The host's scene. Main thread only.
class KT_HOST_EXPORT ktScenegraph {
public:
    /// The selected nodes without those below another selected node, in order of selection. The entry of a node that
    /// has left the scene is null.
    static std::vector<ktNodePtr> getSelectedRootNodes();
    /// Root of the scene; null if no scene is open.
    static osg::NodePtr getRootNode();
    /// Turns the scene's reaction to changes on or off. Calls do not nest.
    static void enableUpdate(bool enable);
    /// Updates views and derived data to the scene. Does nothing while updates are off.
    static void update(bool redraw);
};
