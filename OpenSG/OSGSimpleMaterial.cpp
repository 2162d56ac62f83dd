// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the classic OpenGL material with ambient, diffuse, specular and emitted colour.
#include "OSGSimpleMaterial.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(SimpleMaterial, AmbientField)
OSG_FIELD_MASK_DEF(SimpleMaterial, DiffuseField)
OSG_FIELD_MASK_DEF(SimpleMaterial, SpecularField)
OSG_FIELD_MASK_DEF(SimpleMaterial, ShininessField)
OSG_FIELD_MASK_DEF(SimpleMaterial, EmissionField)
OSG_FIELD_MASK_DEF(SimpleMaterial, TransparencyField)
OSG_FIELD_MASK_DEF(SimpleMaterial, LitField)
OSG_FIELD_MASK_DEF(SimpleMaterial, ColorMaterialField)

FieldContainerType SimpleMaterial::_type("SimpleMaterial", "ChunkMaterial", nullptr,
                                         []() -> FieldContainerPtr { return SimpleMaterial::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(SimpleMaterial, SimpleMaterialPtr)

SimpleMaterial::SimpleMaterial()
    : _sfShininess(1.0f), _sfTransparency(0.0f), _sfLit(true), _sfColorMaterial(GL_DIFFUSE) {}

SimpleMaterial::SimpleMaterial(const SimpleMaterial& source)
    : Inherited(source), _sfAmbient(source._sfAmbient), _sfDiffuse(source._sfDiffuse), _sfSpecular(source._sfSpecular),
      _sfShininess(source._sfShininess), _sfEmission(source._sfEmission), _sfTransparency(source._sfTransparency),
      _sfLit(source._sfLit), _sfColorMaterial(source._sfColorMaterial) {}

bool SimpleMaterial::isTransparent() const {
    return getTransparency() > Eps || Inherited::isTransparent();
}

OSG_END_NAMESPACE
