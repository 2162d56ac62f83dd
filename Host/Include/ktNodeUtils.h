// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Queries about nodes. A node of a cloned tree has no attachments, so the scene nodes that share its core decide. Main
/// thread only.
class KT_HOST_EXPORT ktNodeUtils {
public:
    /// The node's name, or null. Valid until the name changes or the node is destroyed.
    static const char* getName(const osg::NodePtr& node);
    /// Whether the node is a part of a larger geometry (a patch or a piece of it) and not an object itself.
    static bool isGeometryComponent(const osg::NodePtr& node);
};

using NodeUtils = ktNodeUtils;
