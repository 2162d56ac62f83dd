// SPDX-License-Identifier: LGPL-2.1-or-later
// Base class of the data attached to containers: keeps the list of its parents.
#include "OSGAttachment.h"

#include "OSGParentList.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(Attachment, ParentsField)
OSG_FIELD_MASK_DEF(Attachment, InternalField)

FieldContainerType Attachment::_type("Attachment", "FieldContainer");

OSG_FIELD_CONTAINER_DEF(Attachment, AttachmentPtr)

Attachment::Attachment(const Attachment& source) : Inherited(source), _sfInternal(source._sfInternal) {}

void Attachment::addParent(const FieldContainerPtr parent) {
    _parents.push_back(parent);
}

void Attachment::subParent(const FieldContainerPtr parent) {
    detail::eraseParent(_parents, parent, _parentHint);
}

Int32 Attachment::findParent(const FieldContainerPtr parent) const {
    return detail::findParent(_parents, parent, 0);
}

OSG_END_NAMESPACE
