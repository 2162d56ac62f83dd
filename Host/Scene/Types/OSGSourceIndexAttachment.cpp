// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the attachment that tells from which place in a document a node or geometry was read.
#include "OSGSourceIndexAttachment.h"

OSG_BEGIN_NAMESPACE

FieldContainerType SourceIndexAttachment::_type("SourceIndexAttachment", "Attachment", nullptr,
                                                []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(SourceIndexAttachment, SourceIndexAttachmentPtr)

OSG_FIELD_MASK_DEF(SourceIndexAttachment, NodeIndexField)
OSG_FIELD_MASK_DEF(SourceIndexAttachment, MeshIndexField)
OSG_FIELD_MASK_DEF(SourceIndexAttachment, PrimitiveIndexField)

SourceIndexAttachment::SourceIndexAttachment() : _sfNodeIndex(-1), _sfMeshIndex(-1), _sfPrimitiveIndex(-1) {}
SourceIndexAttachment::SourceIndexAttachment(const SourceIndexAttachment& source) = default;
SourceIndexAttachment::~SourceIndexAttachment() = default;

OSG_END_NAMESPACE
