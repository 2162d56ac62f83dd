// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Sets what the host's services report about a node. Ignores a null node. Main thread only.
class KT_HOST_EXPORT ktNodeMarks {
public:
    /// Locks the node and everything below it against changes, or unlocks it. It stays locked while a node above it is
    /// locked.
    static void setLocked(const osg::NodePtr& node, bool locked);
    /// Whether the node itself is locked; false for null. ktNodePermission also looks at the nodes above.
    static bool isLocked(const osg::NodePtr& node);
    /// A skin or a morph moves single vertices of the node's geometry.
    static void setVertexAnimation(const osg::NodePtr& node, bool animated);
    /// The node is a piece of a larger geometry and not an object itself.
    static void setGeometryComponent(const osg::NodePtr& node, bool component);
    /// The node's light emits the rays of a measured ray file.
    static void setRayFileLight(const osg::NodePtr& node, bool rayFile);
};
