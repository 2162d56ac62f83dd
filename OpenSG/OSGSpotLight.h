// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGSPOTLIGHT_H
#define OSGSPOTLIGHT_H

#include "OSGPointLight.h"

OSG_BEGIN_NAMESPACE

class SpotLight;
typedef FCPtr<PointLightPtr, SpotLight> SpotLightPtr;
typedef RefPtr<SpotLightPtr> SpotLightRefPtr;

/// A point light that shines into a cone.
class SpotLight : public PointLight {
    typedef PointLight Inherited;

public:
    typedef SpotLightPtr Ptr;

    enum {
        DirectionFieldId = Inherited::NextFieldId,
        SpotExponentFieldId = DirectionFieldId + 1,
        SpotCutOffFieldId = SpotExponentFieldId + 1,
        NextFieldId = SpotCutOffFieldId + 1
    };
    static const BitVector DirectionFieldMask;
    static const BitVector SpotExponentFieldMask;
    static const BitVector SpotCutOffFieldMask;

    OSG_FIELD_CONTAINER_DECL(SpotLightPtr)

    /// Direction in which the light travels along the cone's axis. Must not be zero. (0, 0, 1) in a new light.
    OSG_SFIELD_ACCESS(Vec3f, Direction)
    void setSpotDirection(Real32 x, Real32 y, Real32 z) { setDirection(Vec3f(x, y, z)); }
    /// The light is multiplied by the cosine of the angle to the axis, raised to this power. 0 in a new light.
    OSG_SFIELD_ACCESS(Real32, SpotExponent)
    /// Half the opening angle of the cone, in radians. 0 in a new light.
    OSG_SFIELD_ACCESS(Real32, SpotCutOff)
    void setSpotCutOffDeg(Real32 degrees) { setSpotCutOff(osgdegree2rad(degrees)); }
    Real32 getSpotCutOffDeg() const { return osgrad2degree(getSpotCutOff()); }

protected:
    SpotLight() : _sfDirection(Vec3f(0, 0, 1)) {}
    SpotLight(const SpotLight& source)
        : Inherited(source), _sfDirection(source._sfDirection), _sfSpotExponent(source._sfSpotExponent),
          _sfSpotCutOff(source._sfSpotCutOff) {}
    ~SpotLight() override = default;

    SFVec3f _sfDirection;
    SFReal32 _sfSpotExponent;
    SFReal32 _sfSpotCutOff;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(SpotLight, SpotLightPtr)

OSG_END_NAMESPACE

#endif
