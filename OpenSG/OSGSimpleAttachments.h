// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGSIMPLEATTACHMENTS_H
#define OSGSIMPLEATTACHMENTS_H

#include "OSGAttachment.h"
#include "OSGAttachmentContainerPtr.h"
#include "OSGSFBaseTypes.h"

#include <string>

OSG_BEGIN_NAMESPACE

struct NameAttachmentDesc {
    typedef SFString FieldTypeT;

    static const Char8* getTypeName() { return "Name"; }
    static const Char8* getParentTypeName() { return "Attachment"; }
    static const Char8* getGroupName() { return "name"; }
};

/// The attachment that holds a container's name.
typedef SimpleAttachment<NameAttachmentDesc> Name;
typedef FCPtr<AttachmentPtr, Name> NamePtr;

extern template class SimpleAttachment<NameAttachmentDesc>;

/// The container's name; nullptr if it has none or is null. The text lives until the name changes.
const Char8* getName(AttachmentContainerPtr container);
/// Sets the container's name. A nullptr name removes it. Ignores a null container with a warning.
void setName(AttachmentContainerPtr container, const std::string& name);
void setName(AttachmentContainerPtr container, const Char8* name);

OSG_END_NAMESPACE

#endif
