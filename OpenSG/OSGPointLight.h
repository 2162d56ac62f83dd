// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGPOINTLIGHT_H
#define OSGPOINTLIGHT_H

#include "OSGLight.h"
#include "OSGSFVecTypes.h"

OSG_BEGIN_NAMESPACE

class PointLight;
typedef FCPtr<LightPtr, PointLight> PointLightPtr;
typedef RefPtr<PointLightPtr> PointLightRefPtr;

/// A light that shines from a point in all directions.
class PointLight : public Light {
    typedef Light Inherited;

public:
    typedef PointLightPtr Ptr;

    enum { PositionFieldId = Inherited::NextFieldId, NextFieldId = PositionFieldId + 1 };
    static const BitVector PositionFieldMask;

    OSG_FIELD_CONTAINER_DECL(PointLightPtr)

    /// (0, 0, 0) in a new light.
    OSG_SFIELD_ACCESS(Pnt3f, Position)
    void setPosition(Real32 x, Real32 y, Real32 z) { setPosition(Pnt3f(x, y, z)); }

protected:
    PointLight() = default;
    PointLight(const PointLight& source) : Inherited(source), _sfPosition(source._sfPosition) {}
    ~PointLight() override = default;

    SFPnt3f _sfPosition;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(PointLight, PointLightPtr)

OSG_END_NAMESPACE

#endif
