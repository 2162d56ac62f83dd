// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the base class of lights, and directional, point and spot lights.
#include "OSGLight.h"

#include "OSGDirectionalLight.h"
#include "OSGNode.h"
#include "OSGPointLight.h"
#include "OSGSpotLight.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(Light, AmbientField)
OSG_FIELD_MASK_DEF(Light, DiffuseField)
OSG_FIELD_MASK_DEF(Light, SpecularField)
OSG_FIELD_MASK_DEF(Light, BeaconField)
OSG_FIELD_MASK_DEF(Light, OnField)
OSG_FIELD_MASK_DEF(Light, ConstantAttenuationField)
OSG_FIELD_MASK_DEF(Light, LinearAttenuationField)
OSG_FIELD_MASK_DEF(Light, QuadraticAttenuationField)
OSG_FIELD_MASK_DEF(Light, ShadowIntensityField)
OSG_FIELD_MASK_DEF(Light, ShadowModeField)
OSG_FIELD_MASK_DEF(DirectionalLight, DirectionField)
OSG_FIELD_MASK_DEF(PointLight, PositionField)
OSG_FIELD_MASK_DEF(SpotLight, DirectionField)
OSG_FIELD_MASK_DEF(SpotLight, SpotExponentField)
OSG_FIELD_MASK_DEF(SpotLight, SpotCutOffField)

FieldContainerType Light::_type("Light", "Group");
FieldContainerType DirectionalLight::_type("DirectionalLight", "Light", nullptr,
                                           []() -> FieldContainerPtr { return DirectionalLight::createEmpty(); });
FieldContainerType PointLight::_type("PointLight", "Light", nullptr,
                                     []() -> FieldContainerPtr { return PointLight::createEmpty(); });
FieldContainerType SpotLight::_type("SpotLight", "PointLight", nullptr,
                                    []() -> FieldContainerPtr { return SpotLight::createEmpty(); });

OSG_ABSTR_FIELD_CONTAINER_DEF(Light, LightPtr)
OSG_FIELD_CONTAINER_DEF(DirectionalLight, DirectionalLightPtr)
OSG_FIELD_CONTAINER_DEF(PointLight, PointLightPtr)
OSG_FIELD_CONTAINER_DEF(SpotLight, SpotLightPtr)

Light::Light()
    : _sfAmbient(Color4f(0, 0, 0, 1)), _sfDiffuse(Color4f(1, 1, 1, 1)), _sfSpecular(Color4f(1, 1, 1, 1)), _sfOn(true),
      _sfConstantAttenuation(1.0f) {}

Light::Light(const Light& source)
    : Inherited(source), _sfAmbient(source._sfAmbient), _sfDiffuse(source._sfDiffuse), _sfSpecular(source._sfSpecular),
      _sfBeacon(source._sfBeacon), _sfOn(source._sfOn), _sfConstantAttenuation(source._sfConstantAttenuation),
      _sfLinearAttenuation(source._sfLinearAttenuation), _sfQuadraticAttenuation(source._sfQuadraticAttenuation),
      _sfShadowIntensity(source._sfShadowIntensity), _sfShadowMode(source._sfShadowMode) {}

OSG_END_NAMESPACE
