// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGLIGHT_H
#define OSGLIGHT_H

#include "OSGGroup.h"
#include "OSGSFBaseTypes.h"

OSG_BEGIN_NAMESPACE

class Light;
typedef FCPtr<GroupPtr, Light> LightPtr;
typedef RefPtr<LightPtr> LightRefPtr;

/// Base class of all lights. Abstract.
///
/// A light illuminates everything below its node. Its position and direction are in the space of the beacon, another
/// node, or without a beacon in the space of its node.
class Light : public Group {
    typedef Group Inherited;

public:
    typedef LightPtr Ptr;

    enum { CAST_SHADOW_AUTO = 0, CAST_SHADOW_ON = 1, CAST_SHADOW_OFF = 2 };

    enum {
        AmbientFieldId = Inherited::NextFieldId,
        DiffuseFieldId = AmbientFieldId + 1,
        SpecularFieldId = DiffuseFieldId + 1,
        BeaconFieldId = SpecularFieldId + 1,
        OnFieldId = BeaconFieldId + 1,
        ConstantAttenuationFieldId = OnFieldId + 1,
        LinearAttenuationFieldId = ConstantAttenuationFieldId + 1,
        QuadraticAttenuationFieldId = LinearAttenuationFieldId + 1,
        ShadowIntensityFieldId = QuadraticAttenuationFieldId + 1,
        ShadowModeFieldId = ShadowIntensityFieldId + 1,
        NextFieldId = ShadowModeFieldId + 1
    };
    static const BitVector AmbientFieldMask;
    static const BitVector DiffuseFieldMask;
    static const BitVector SpecularFieldMask;
    static const BitVector BeaconFieldMask;
    static const BitVector OnFieldMask;
    static const BitVector ConstantAttenuationFieldMask;
    static const BitVector LinearAttenuationFieldMask;
    static const BitVector QuadraticAttenuationFieldMask;
    static const BitVector ShadowIntensityFieldMask;
    static const BitVector ShadowModeFieldMask;

    OSG_ABSTR_FIELD_CONTAINER_DECL(LightPtr)

    // Colour times intensity, alpha 1. In a new light: black, white and white.
    OSG_SFIELD_ACCESS(Color4f, Ambient)
    OSG_SFIELD_ACCESS(Color4f, Diffuse)
    OSG_SFIELD_ACCESS(Color4f, Specular)
    void setAmbient(Real32 red, Real32 green, Real32 blue, Real32 alpha) {
        setAmbient(Color4f(red, green, blue, alpha));
    }
    void setDiffuse(Real32 red, Real32 green, Real32 blue, Real32 alpha) {
        setDiffuse(Color4f(red, green, blue, alpha));
    }
    void setSpecular(Real32 red, Real32 green, Real32 blue, Real32 alpha) {
        setSpecular(Color4f(red, green, blue, alpha));
    }

    /// The light does not reference its beacon, which must live as long as the light uses it. Null in a new light.
    OSG_SFIELD_ACCESS(NodePtr, Beacon)

    /// True in a new light.
    OSG_SFIELD_ACCESS(bool, On)

    // At distance d the light is divided by constant + linear * d + quadratic * d * d. 1, 0, 0 in a new light.
    OSG_SFIELD_ACCESS(Real32, ConstantAttenuation)
    OSG_SFIELD_ACCESS(Real32, LinearAttenuation)
    OSG_SFIELD_ACCESS(Real32, QuadraticAttenuation)

    OSG_SFIELD_ACCESS(Real32, ShadowIntensity)
    /// One of the CAST_SHADOW constants.
    OSG_SFIELD_ACCESS(UInt32, ShadowMode)

protected:
    Light();
    Light(const Light& source);
    ~Light() override = default;

    SFColor4f _sfAmbient;
    SFColor4f _sfDiffuse;
    SFColor4f _sfSpecular;
    SFNodePtr _sfBeacon;
    SFBool _sfOn;
    SFReal32 _sfConstantAttenuation;
    SFReal32 _sfLinearAttenuation;
    SFReal32 _sfQuadraticAttenuation;
    SFReal32 _sfShadowIntensity;
    SFUInt32 _sfShadowMode;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_ABSTR_FIELD_CONTAINER_INL_DEF(Light, LightPtr)

OSG_END_NAMESPACE

#endif
