// SPDX-License-Identifier: LGPL-2.1-or-later
// Sets and removes the marks of a node, such as the lock, without changing copies that share them.
#include "ktNodeMarks.h"

#include "ktNodeAttachments.h"
#include "OSGNodeMarksAttachment.h"

namespace {

using Marks = osg::NodeMarksAttachment;
using MarksPtr = osg::NodeMarksAttachmentPtr;

// Returns marks that only this node has: a copied node shares those of its original.
MarksPtr makeOwnMarks(const osg::NodePtr& node) {
    const MarksPtr found = ktFindAttachment<Marks>(node);
    if (found != osg::NullFC && found->getParents().size() == 1)
        return found;
    const MarksPtr own = found == osg::NullFC ? Marks::create() : MarksPtr::dcast(found->shallowCopy());
    ktAttach(node, own);
    return own;
}

bool isBare(const MarksPtr& marks) {
    return !marks->getLocked() && !marks->getVertexAnimation() && !marks->getGeometryComponent() &&
           !marks->getRayFileLight();
}

void setMark(const osg::NodePtr& node, osg::SFBool* (Marks::*edit)(), osg::BitVector field, bool value) {
    if (node == osg::NullFC)
        return;
    const MarksPtr old = ktFindAttachment<Marks>(node);
    if (value == (old != osg::NullFC && (old.getCPtr()->*edit)()->getValue()))
        return;
    const MarksPtr marks = makeOwnMarks(node);
    osg::beginEditCP(marks, field);
    (marks.getCPtr()->*edit)()->setValue(value);
    osg::endEditCP(marks, field);
    if (isBare(marks))
        ktDetach(node, marks);
}

} // namespace

void ktNodeMarks::setLocked(const osg::NodePtr& node, bool locked) {
    setMark(node, &Marks::editSFLocked, Marks::LockedFieldMask, locked);
}

bool ktNodeMarks::isLocked(const osg::NodePtr& node) {
    if (node == osg::NullFC)
        return false;
    const MarksPtr marks = ktFindAttachment<Marks>(node);
    return marks != osg::NullFC && marks->getLocked();
}

void ktNodeMarks::setVertexAnimation(const osg::NodePtr& node, bool animated) {
    setMark(node, &Marks::editSFVertexAnimation, Marks::VertexAnimationFieldMask, animated);
}

void ktNodeMarks::setGeometryComponent(const osg::NodePtr& node, bool component) {
    setMark(node, &Marks::editSFGeometryComponent, Marks::GeometryComponentFieldMask, component);
}

void ktNodeMarks::setRayFileLight(const osg::NodePtr& node, bool rayFile) {
    setMark(node, &Marks::editSFRayFileLight, Marks::RayFileLightFieldMask, rayFile);
}
