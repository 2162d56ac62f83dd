// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodeAttachments.h"
#include "ktOriginalNodes.h"
#include "OSGNodeMarksAttachment.h"

/// Whether an original of `node` (ktOriginalNodes.h) has the mark, such as &osg::NodeMarksAttachment::getSFLocked.
inline bool ktHasMark(const osg::NodePtr& node, const osg::SFBool* (osg::NodeMarksAttachment::*mark)() const) {
    if (!osg::NodeMarksAttachment::exist())
        return false;
    bool isMarked = false;
    ktForEachOriginal(node, [&](const osg::NodePtr& original) {
        const auto marks = ktFindAttachment<osg::NodeMarksAttachment>(original);
        isMarked = marks != osg::NullFC && (marks.getCPtr()->*mark)()->getValue();
        return !isMarked;
    });
    return isMarked;
}
