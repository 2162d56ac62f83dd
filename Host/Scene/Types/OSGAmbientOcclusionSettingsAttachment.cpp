// SPDX-License-Identifier: LGPL-2.1-or-later
#include "OSGAmbientOcclusionSettingsAttachment.h"

OSG_BEGIN_NAMESPACE

FieldContainerType AmbientOcclusionSettingsAttachment::_type("AmbientOcclusionSettingsAttachment", "Attachment",
                                                             nullptr,
                                                             []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(AmbientOcclusionSettingsAttachment, AmbientOcclusionSettingsAttachmentPtr)

OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, ModeField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, ShadowQualityField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, MinDistanceField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, MaxDistanceField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, IndirectIlluminationField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, GatherQualityField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, NumIndirectionsField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, ColorBleedingField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, OverrideMaterialColorField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, MaterialColorField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, SubdivideField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, SubdivisionQualityField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, MinEdgeLengthField)
OSG_FIELD_MASK_DEF(AmbientOcclusionSettingsAttachment, IntensityThresholdField)

AmbientOcclusionSettingsAttachment::AmbientOcclusionSettingsAttachment()
    : _sfMode(0), _sfShadowQuality(2), _sfMinDistance(1.0f), _sfMaxDistance(3000.0f), _sfIndirectIllumination(true),
      _sfGatherQuality(2), _sfNumIndirections(1), _sfColorBleeding(false), _sfOverrideMaterialColor(true),
      _sfMaterialColor(Color3f(0.7f, 0.7f, 0.7f)), _sfSubdivide(false), _sfSubdivisionQuality(0),
      _sfMinEdgeLength(1.0f), _sfIntensityThreshold(0.05f) {}

AmbientOcclusionSettingsAttachment::AmbientOcclusionSettingsAttachment(
    const AmbientOcclusionSettingsAttachment& source) = default;

AmbientOcclusionSettingsAttachment::~AmbientOcclusionSettingsAttachment() = default;

OSG_END_NAMESPACE
