// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAnsweringNodes.h"
#include "OSGNodeMarksAttachment.h"

/// Whether one of the nodes that answer for `node` carries the mark, e.g. &osg::NodeMarksAttachment::getSFLocked.
inline bool ktHasMark(const osg::NodePtr& node, const osg::SFBool* (osg::NodeMarksAttachment::*mark)() const) {
    if (!osg::NodeMarksAttachment::exist())
        return false;
    bool isMarked = false;
    ktForEachAnsweringNode(node, [&](const osg::NodePtr& answering) {
        const auto marks =
            osg::NodeMarksAttachmentPtr::dcast(answering->findAttachment(osg::NodeMarksAttachment::getClassType()));
        isMarked = marks != osg::NullFC && (marks.getCPtr()->*mark)()->getValue();
        return !isMarked;
    });
    return isMarked;
}
