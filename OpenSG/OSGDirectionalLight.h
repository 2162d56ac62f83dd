// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGDIRECTIONALLIGHT_H
#define OSGDIRECTIONALLIGHT_H

#include "OSGLight.h"
#include "OSGSFVecTypes.h"

OSG_BEGIN_NAMESPACE

class DirectionalLight;
typedef FCPtr<LightPtr, DirectionalLight> DirectionalLightPtr;
typedef RefPtr<DirectionalLightPtr> DirectionalLightRefPtr;

/// A light at infinite distance.
class DirectionalLight : public Light {
    typedef Light Inherited;

public:
    typedef DirectionalLightPtr Ptr;

    enum { DirectionFieldId = Inherited::NextFieldId, NextFieldId = DirectionFieldId + 1 };
    static const BitVector DirectionFieldMask;

    OSG_FIELD_CONTAINER_DECL(DirectionalLightPtr)

    /// Points towards the light, opposite to the light's travel. Must not be zero. (0, 0, 1) in a new light.
    OSG_SFIELD_ACCESS(Vec3f, Direction)
    void setDirection(Real32 x, Real32 y, Real32 z) { setDirection(Vec3f(x, y, z)); }

protected:
    DirectionalLight() : _sfDirection(Vec3f(0, 0, 1)) {}
    DirectionalLight(const DirectionalLight& source) : Inherited(source), _sfDirection(source._sfDirection) {}
    ~DirectionalLight() override = default;

    SFVec3f _sfDirection;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(DirectionalLight, DirectionalLightPtr)

OSG_END_NAMESPACE

#endif
