// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGATTACHMENTCONTAINER_H
#define OSGATTACHMENTCONTAINER_H

#include "OSGAttachment.h"
#include "OSGAttachmentContainerPtr.h"

OSG_BEGIN_NAMESPACE

using SFAttachmentMap = SField<AttachmentMap>;

/// A container that can carry attachments: one per attachment group and binding.
class AttachmentContainer : public FieldContainer {
    typedef FieldContainer Inherited;

public:
    typedef AttachmentContainerPtr Ptr;

    enum { AttachmentsFieldId = Inherited::NextFieldId, NextFieldId = AttachmentsFieldId + 1 };
    static const BitVector AttachmentsFieldMask;

    OSG_ABSTR_FIELD_CONTAINER_DECL(AttachmentContainerPtr)

    /// Attaches it and references it. Releases the attachment that its group had at this binding. Ignores null.
    void addAttachment(const AttachmentPtr& attachment, UInt16 binding = 0);
    /// Removes the attachment that its group has at this binding. Does nothing for null or if there is none.
    void subAttachment(const AttachmentPtr& attachment, UInt16 binding = 0);
    /// Null if there is none.
    AttachmentPtr findAttachment(UInt32 groupId, UInt16 binding = 0);
    /// Finds by the group of the type.
    AttachmentPtr findAttachment(const FieldContainerType& type, UInt16 binding = 0);

    SFAttachmentMap* getSFAttachments() { return &_attachmentMap; }
    const SFAttachmentMap* getSFAttachments() const { return &_attachmentMap; }

protected:
    AttachmentContainer() = default;
    /// The copy shares the attachments.
    AttachmentContainer(const AttachmentContainer& source);
    ~AttachmentContainer() override;

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    void attach(UInt32 key, const AttachmentPtr& attachment);

    SFAttachmentMap _attachmentMap;
};

OSG_ABSTR_FIELD_CONTAINER_INL_DEF(AttachmentContainer, AttachmentContainerPtr)

OSG_END_NAMESPACE

#endif
