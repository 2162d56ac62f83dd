// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Queries about light nodes. Main thread only.
class KT_HOST_EXPORT ktLights {
public:
    /// Whether the node's core is a light of any kind.
    static bool isLight(const osg::NodePtr& node);
    /// Whether the light's emission comes from a measured ray file.
    static bool isRayFileLight(const osg::NodePtr& node);
};
