// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells from a node's marks whether an animation moves single vertices of its geometry.
#include "ktAnimManager.h"

#include "ktNodeMarkQuery.h"

ktAnimManager* ktAnimManager::the() {
    static ktAnimManager instance;
    return &instance;
}

bool ktAnimManager::hasVertexAnimation(const osg::NodePtr& node) const {
    return ktHasMark(node, &osg::NodeMarksAttachment::getSFVertexAnimation);
}
