// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktNodePermission.h"

#include "ktAnsweringNodes.h"
#include "ktNodeMarks.h"
#include "OSGNodeMarksAttachment.h"

namespace {

bool isLockedHereOrAbove(osg::NodePtr node) {
    while (node != osg::NullFC) {
        if (ktNodeMarks::isLocked(node))
            return true;
        node = node->getParent();
    }
    return false;
}

} // namespace

// A lock forbids every action, so the action makes no difference.
bool ktNodePermission::allows(const osg::NodePtr& node, ktNodeAction /*action*/) {
    if (node == osg::NullFC || !osg::NodeMarksAttachment::exist())
        return true;
    bool isAllowed = false;
    visitAnsweringNodes(node, [&](const osg::NodePtr& answering) {
        isAllowed = !isLockedHereOrAbove(answering);
        return !isAllowed;
    });
    return isAllowed;
}
