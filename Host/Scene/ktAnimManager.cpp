// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktAnimManager.h"

#include "ktNodeMarkQuery.h"

ktAnimManager* ktAnimManager::the() {
    static ktAnimManager instance;
    return &instance;
}

bool ktAnimManager::hasVertexAnimation(const osg::NodePtr& node) const {
    return ktHasMark(node, &osg::NodeMarksAttachment::getSFVertexAnimation);
}
