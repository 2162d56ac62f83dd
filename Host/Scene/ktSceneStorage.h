// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <vector>

/// Data of ktScenegraph and ktSceneState.
struct ktSceneStorage {
    osg::NodePtr root;                    ///< referenced
    std::vector<osg::UInt32> selectedIds; ///< container ids, which are never reused
    bool isUpdateEnabled = true;
    bool isUpdating = false;

    static ktSceneStorage& the();
};
