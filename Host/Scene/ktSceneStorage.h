// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <vector>

/// What ktScenegraph and ktSceneState keep.
struct ktSceneStorage {
    osg::NodePtr root;                    ///< referenced
    std::vector<osg::UInt32> selectedIds; ///< container numbers, which are never used twice
    bool isUpdateEnabled = true;
    bool isUpdating = false;

    static ktSceneStorage& the();
};
