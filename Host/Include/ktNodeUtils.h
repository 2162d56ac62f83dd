// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Questions about nodes. A node of a cloned tree, which carries no attachments, answers like the scene nodes that
/// share its core. Main thread only.
class KT_HOST_EXPORT ktNodeUtils {
public:
    /// The node's name; null when it has none. Valid until the name changes or the node dies.
    static const char* getName(const osg::NodePtr& node);
    /// Whether the node is a part of one larger geometry (a patch or a piece of it) and not an object of its own.
    static bool isGeometryComponent(const osg::NodePtr& node);
};

using NodeUtils = ktNodeUtils;
