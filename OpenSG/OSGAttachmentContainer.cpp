// SPDX-License-Identifier: LGPL-2.1-or-later
// Base class of containers that carry attachments: adds, replaces, finds and releases them.
#include "OSGAttachmentContainer.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(AttachmentContainer, AttachmentsField)

FieldContainerType AttachmentContainer::_type("AttachmentContainer", "FieldContainer");

OSG_ABSTR_FIELD_CONTAINER_DEF(AttachmentContainer, AttachmentContainerPtr)

namespace {

UInt32 attachmentKey(const UInt32 groupId, const UInt16 binding) {
    return (groupId << 16) | binding;
}

// Takes a copy of the pointer: the caller's may be destroyed with the parent.
void release(const AttachmentPtr attachment, const FieldContainerPtr& parent) {
    beginEditCP(attachment, Attachment::ParentsFieldMask);
    attachment->subParent(parent);
    endEditCP(attachment, Attachment::ParentsFieldMask);
    subRefCP(attachment);
}

} // namespace

AttachmentContainer::AttachmentContainer(const AttachmentContainer& source) : Inherited(source) {
    for (const auto& entry : source._attachmentMap.getValue())
        attach(entry.first, entry.second);
}

AttachmentContainer::~AttachmentContainer() {
    for (const auto& entry : _attachmentMap.getValue())
        release(entry.second, FieldContainerPtr(this));
}

void AttachmentContainer::attach(const UInt32 key, const AttachmentPtr& attachment) {
    addRefCP(attachment);
    beginEditCP(attachment, Attachment::ParentsFieldMask);
    attachment->addParent(FieldContainerPtr(this));
    endEditCP(attachment, Attachment::ParentsFieldMask);

    AttachmentPtr& place = _attachmentMap.getValue()[key];
    const AttachmentPtr previous = place;
    place = attachment;
    if (previous != NullFC)
        release(previous, FieldContainerPtr(this));
}

void AttachmentContainer::addAttachment(const AttachmentPtr& attachment, const UInt16 binding) {
    if (attachment != NullFC)
        attach(attachmentKey(attachment->getGroupId(), binding), attachment);
}

void AttachmentContainer::subAttachment(const AttachmentPtr& attachment, const UInt16 binding) {
    if (attachment == NullFC)
        return;
    AttachmentMap& map = _attachmentMap.getValue();
    const auto found = map.find(attachmentKey(attachment->getGroupId(), binding));
    if (found == map.end())
        return;
    const AttachmentPtr previous = found->second;
    map.erase(found);
    release(previous, FieldContainerPtr(this));
}

AttachmentPtr AttachmentContainer::findAttachment(const UInt32 groupId, const UInt16 binding) {
    const AttachmentMap& map = _attachmentMap.getValue();
    const auto found = map.find(attachmentKey(groupId, binding));
    return found != map.end() ? found->second : AttachmentPtr();
}

AttachmentPtr AttachmentContainer::findAttachment(const FieldContainerType& type, const UInt16 binding) {
    return findAttachment(type.getGroupId(), binding);
}

OSG_END_NAMESPACE
