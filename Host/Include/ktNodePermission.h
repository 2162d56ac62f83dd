// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Which changes a node allows. Main thread only.
class KT_HOST_EXPORT ktNodePermission {
public:
    enum ktNodeAction {
        ChangeIllumination = 25, ///< baked light and the settings it was calculated with
    };

    /// Whether `action` may be done to `node`: false if the node or one above it is locked. For a node of a
    /// cloned tree, the scene nodes that share its core decide: false if all of them are locked. True for a null
    /// node.
    static bool allows(const osg::NodePtr& node, ktNodeAction action);
};
