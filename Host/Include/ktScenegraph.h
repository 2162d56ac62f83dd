// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktNodePtr.h"

#include <vector>

/// The host's scene. Main thread only.
class KT_HOST_EXPORT ktScenegraph {
public:
    /// The selected nodes, without those below another selected node, in the order of selection.
    /// An entry is null when its node has left the scene since.
    static std::vector<ktNodePtr> getSelectedRootNodes();
    /// Root of the scene; null before a scene is open.
    static osg::NodePtr getRootNode();
    /// Lets the scene react to changes (true) or holds that back (false). Calls do not nest.
    static void enableUpdate(bool enable);
    /// Brings views and derived data up to date with the scene; nothing happens while updates are off.
    static void update(bool redraw);
};
