// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the attachment that stores a node's ambient occlusion settings.
#include "OSGAmbientOcclusionSettingsAttachment.h"

OSG_BEGIN_NAMESPACE

FieldContainerType AmbientOcclusionSettingsAttachment::_type("AmbientOcclusionSettingsAttachment", "Attachment",
                                                             nullptr,
                                                             []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(AmbientOcclusionSettingsAttachment, AmbientOcclusionSettingsAttachmentPtr)

AmbientOcclusionSettingsAttachment::AmbientOcclusionSettingsAttachment() = default;

AmbientOcclusionSettingsAttachment::AmbientOcclusionSettingsAttachment(
    const AmbientOcclusionSettingsAttachment& source) = default;

AmbientOcclusionSettingsAttachment::~AmbientOcclusionSettingsAttachment() = default;

OSG_END_NAMESPACE
