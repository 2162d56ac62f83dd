// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGATTACHMENTCONTAINERPTR_H
#define OSGATTACHMENTCONTAINERPTR_H

#include "OSGRefPtr.h"

OSG_BEGIN_NAMESPACE

class AttachmentContainer;

/// A pointer to a container that can have attachments.
class AttachmentContainerPtr : public FCPtr<FieldContainerPtr, AttachmentContainer> {
public:
    using ObjectType = AttachmentContainerPtr;
    using Inherited = FieldContainerPtr;

    constexpr AttachmentContainerPtr() = default;
    using FCPtr::FCPtr;

    template <class OtherPtrT>
    static AttachmentContainerPtr dcast(const OtherPtrT& other) {
        return AttachmentContainerPtr(FCPtr::dcast(other));
    }

private:
    explicit AttachmentContainerPtr(const FCPtr& pointer) : FCPtr(pointer) {}
};

using AttachmentContainerRefPtr = RefPtr<AttachmentContainerPtr>;

OSG_END_NAMESPACE

#endif
