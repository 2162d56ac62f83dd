// SPDX-License-Identifier: LGPL-2.1-or-later
// Gets and sets the names of containers, which an attachment holds.
#include "OSGSimpleAttachments.h"

#include "OSGAttachmentContainer.h"
#include "OSGLog.h"

OSG_BEGIN_NAMESPACE

template class SimpleAttachment<NameAttachmentDesc>;

namespace {

NamePtr findName(const AttachmentContainerPtr& container) {
    return NamePtr::dcast(container->findAttachment(Name::getClassType()));
}

} // namespace

const Char8* getName(const AttachmentContainerPtr container) {
    if (container == NullFC)
        return nullptr;
    const NamePtr name = findName(container);
    return name != NullFC ? name->getField().getValue().c_str() : nullptr;
}

void setName(const AttachmentContainerPtr container, const std::string& text) {
    if (container == NullFC) {
        logWarning("setName: there is no container to name \"%s\"", text.c_str());
        return;
    }
    NamePtr name = findName(container);
    if (name == NullFC) {
        name = Name::create();
        beginEditCP(container, AttachmentContainer::AttachmentsFieldMask);
        container->addAttachment(name);
        endEditCP(container, AttachmentContainer::AttachmentsFieldMask);
    }
    beginEditCP(name);
    name->getField().setValue(text);
    endEditCP(name);
}

void setName(const AttachmentContainerPtr container, const Char8* name) {
    if (name != nullptr) {
        setName(container, std::string(name));
    } else if (container != NullFC) {
        beginEditCP(container, AttachmentContainer::AttachmentsFieldMask);
        container->subAttachment(findName(container));
        endEditCP(container, AttachmentContainer::AttachmentsFieldMask);
    }
}

OSG_END_NAMESPACE
