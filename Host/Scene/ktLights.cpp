// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells whether a node is a light, and whether a measured ray file describes its emission.
#include "ktLights.h"

#include "ktNodeMarkQuery.h"

#include <OpenSG/OSGLight.h>

bool ktLights::isLight(const osg::NodePtr& node) {
    return node != osg::NullFC && osg::LightPtr::dcast(node->getCore()) != osg::NullFC;
}

bool ktLights::isRayFileLight(const osg::NodePtr& node) {
    return isLight(node) && ktHasMark(node, &osg::NodeMarksAttachment::getSFRayFileLight);
}
