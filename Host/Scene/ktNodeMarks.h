// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// Sets what the host's services answer about one node. A null node is ignored. Main thread only.
class KT_HOST_EXPORT ktNodeMarks {
public:
    /// Locks the node and all below it against changes, or lets them be changed again as far as no node above is
    /// locked.
    static void setLocked(const osg::NodePtr& node, bool locked);
    /// Whether the node itself is locked; false for null. ktNodePermission also looks at the nodes above.
    static bool isLocked(const osg::NodePtr& node);
    /// A skin or a morph moves single vertices of the node's geometry.
    static void setVertexAnimation(const osg::NodePtr& node, bool animated);
    /// The node is a piece of one larger geometry and not an object of its own.
    static void setGeometryComponent(const osg::NodePtr& node, bool component);
    /// The node's light sends out the rays of a measured ray file.
    static void setRayFileLight(const osg::NodePtr& node, bool rayFile);
};
