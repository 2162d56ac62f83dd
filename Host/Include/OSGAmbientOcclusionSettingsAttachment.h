// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class AmbientOcclusionSettingsAttachment;
typedef FCPtr<AttachmentPtr, AmbientOcclusionSettingsAttachment> AmbientOcclusionSettingsAttachmentPtr;

/// The settings that a node's ambient occlusion was calculated with. One attachment may hang on many nodes; a node
/// holds at most one. A new attachment holds the settings of a fresh ambient occlusion controller.
class KT_HOST_EXPORT AmbientOcclusionSettingsAttachment : public Attachment {
    typedef Attachment Inherited;

public:
    typedef AmbientOcclusionSettingsAttachmentPtr Ptr;

    enum {
        ModeFieldId = Inherited::NextFieldId,
        ShadowQualityFieldId = ModeFieldId + 1,
        MinDistanceFieldId = ShadowQualityFieldId + 1,
        MaxDistanceFieldId = MinDistanceFieldId + 1,
        IndirectIlluminationFieldId = MaxDistanceFieldId + 1,
        GatherQualityFieldId = IndirectIlluminationFieldId + 1,
        NumIndirectionsFieldId = GatherQualityFieldId + 1,
        ColorBleedingFieldId = NumIndirectionsFieldId + 1,
        OverrideMaterialColorFieldId = ColorBleedingFieldId + 1,
        MaterialColorFieldId = OverrideMaterialColorFieldId + 1,
        SubdivideFieldId = MaterialColorFieldId + 1,
        SubdivisionQualityFieldId = SubdivideFieldId + 1,
        MinEdgeLengthFieldId = SubdivisionQualityFieldId + 1,
        IntensityThresholdFieldId = MinEdgeLengthFieldId + 1,
        NextFieldId = IntensityThresholdFieldId + 1
    };

    static const BitVector ModeFieldMask;
    static const BitVector ShadowQualityFieldMask;
    static const BitVector MinDistanceFieldMask;
    static const BitVector MaxDistanceFieldMask;
    static const BitVector IndirectIlluminationFieldMask;
    static const BitVector GatherQualityFieldMask;
    static const BitVector NumIndirectionsFieldMask;
    static const BitVector ColorBleedingFieldMask;
    static const BitVector OverrideMaterialColorFieldMask;
    static const BitVector MaterialColorFieldMask;
    static const BitVector SubdivideFieldMask;
    static const BitVector SubdivisionQualityFieldMask;
    static const BitVector MinEdgeLengthFieldMask;
    static const BitVector IntensityThresholdFieldMask;

    OSG_FIELD_CONTAINER_DECL(AmbientOcclusionSettingsAttachmentPtr)

    /// Direct-light mode: 0 classic, 1 shadows, 2 light and shadows.
    OSG_SFIELD_ACCESS(Int32, Mode)
    /// 0 to 5.
    OSG_SFIELD_ACCESS(Int32, ShadowQuality)
    /// World units.
    OSG_SFIELD_ACCESS(Real32, MinDistance)
    /// World units.
    OSG_SFIELD_ACCESS(Real32, MaxDistance)
    OSG_SFIELD_ACCESS(bool, IndirectIllumination)
    /// 0 to 4.
    OSG_SFIELD_ACCESS(Int32, GatherQuality)
    /// Number of bounces.
    OSG_SFIELD_ACCESS(Int32, NumIndirections)
    OSG_SFIELD_ACCESS(bool, ColorBleeding)
    OSG_SFIELD_ACCESS(bool, OverrideMaterialColor)
    /// Linear red, green, blue, 0 to 1.
    OSG_SFIELD_ACCESS(Color3f, MaterialColor)
    OSG_SFIELD_ACCESS(bool, Subdivide)
    /// 0 to 2.
    OSG_SFIELD_ACCESS(Int32, SubdivisionQuality)
    /// World units.
    OSG_SFIELD_ACCESS(Real32, MinEdgeLength)
    /// Difference of illumination across an edge.
    OSG_SFIELD_ACCESS(Real32, IntensityThreshold)

protected:
    AmbientOcclusionSettingsAttachment();
    AmbientOcclusionSettingsAttachment(const AmbientOcclusionSettingsAttachment& source);
    ~AmbientOcclusionSettingsAttachment() override;

    SFInt32 _sfMode;
    SFInt32 _sfShadowQuality;
    SFReal32 _sfMinDistance;
    SFReal32 _sfMaxDistance;
    SFBool _sfIndirectIllumination;
    SFInt32 _sfGatherQuality;
    SFInt32 _sfNumIndirections;
    SFBool _sfColorBleeding;
    SFBool _sfOverrideMaterialColor;
    SFColor3f _sfMaterialColor;
    SFBool _sfSubdivide;
    SFInt32 _sfSubdivisionQuality;
    SFReal32 _sfMinEdgeLength;
    SFReal32 _sfIntensityThreshold;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(AmbientOcclusionSettingsAttachment, AmbientOcclusionSettingsAttachmentPtr)

OSG_END_NAMESPACE
