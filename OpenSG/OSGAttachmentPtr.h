// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGATTACHMENTPTR_H
#define OSGATTACHMENTPTR_H

#include "OSGRefPtr.h"

OSG_BEGIN_NAMESPACE

class Attachment;

/// A pointer to an attachment.
class AttachmentPtr : public FCPtr<FieldContainerPtr, Attachment> {
public:
    using ObjectType = AttachmentPtr;
    using Inherited = FieldContainerPtr;

    constexpr AttachmentPtr() = default;
    using FCPtr::FCPtr;

    template <class OtherPtrT>
    static AttachmentPtr dcast(const OtherPtrT& other) {
        return AttachmentPtr(FCPtr::dcast(other));
    }

private:
    explicit AttachmentPtr(const FCPtr& pointer) : FCPtr(pointer) {}
};

using AttachmentRefPtr = RefPtr<AttachmentPtr>;

OSG_END_NAMESPACE

#endif
