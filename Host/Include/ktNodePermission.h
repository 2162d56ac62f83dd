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

    /// Whether `action` may be done to `node`: false when the node, or one above it, is locked. A node of a cloned
    /// tree answers like the scene nodes that share its core: false when all of them are locked. A null node allows
    /// everything.
    static bool allows(const osg::NodePtr& node, ktNodeAction action);
};
