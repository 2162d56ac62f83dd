// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells a node's name and whether it is a component; asks the scene's nodes if the node is a clone.
#include "ktNodeUtils.h"

#include "ktNodeMarkQuery.h"

#include <OpenSG/OSGSimpleAttachments.h>

const char* ktNodeUtils::getName(const osg::NodePtr& node) {
    const char* name = nullptr;
    ktForEachOriginal(node, [&](const osg::NodePtr& original) {
        name = osg::getName(original);
        if (name != nullptr && name[0] == '\0')
            name = nullptr;
        return name == nullptr;
    });
    return name;
}

bool ktNodeUtils::isGeometryComponent(const osg::NodePtr& node) {
    return ktHasMark(node, &osg::NodeMarksAttachment::getSFGeometryComponent);
}
