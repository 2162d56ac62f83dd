// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>

/// The host's animations. Main thread only.
class KT_HOST_EXPORT ktAnimManager {
public:
    static ktAnimManager* the();
    /// Whether an animation (a skin or a morph) moves single vertices of the node's geometry. For a node of a cloned
    /// tree, the scene nodes that share its core decide.
    bool hasVertexAnimation(const osg::NodePtr& node) const;
};
