// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the material of ordinary surfaces: colour, transparency, texture.
#include "OSGUberMaterial.h"

OSG_BEGIN_NAMESPACE

FieldContainerType UberMaterial::_type("UberMaterial", "ChunkMaterial", nullptr,
                                       []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(UberMaterial, UberMaterialPtr)

OSG_FIELD_MASK_DEF(UberMaterial, ColorField)
OSG_FIELD_MASK_DEF(UberMaterial, AlphaField)
OSG_FIELD_MASK_DEF(UberMaterial, AlphaModeField)
OSG_FIELD_MASK_DEF(UberMaterial, AlphaCutoffField)
OSG_FIELD_MASK_DEF(UberMaterial, TransmissionField)
OSG_FIELD_MASK_DEF(UberMaterial, EmissionField)
OSG_FIELD_MASK_DEF(UberMaterial, DoubleSidedField)
OSG_FIELD_MASK_DEF(UberMaterial, VertexColorsField)
OSG_FIELD_MASK_DEF(UberMaterial, SourceIndexField)
OSG_FIELD_MASK_DEF(UberMaterial, TextureField)

UberMaterial::UberMaterial()
    : _sfColor(Color3f(1.0f, 1.0f, 1.0f)), _sfAlpha(1.0f), _sfAlphaMode(Opaque), _sfAlphaCutoff(0.5f),
      _sfTransmission(0.0f), _sfEmission(Color3f(0.0f, 0.0f, 0.0f)), _sfDoubleSided(false), _sfVertexColors(true),
      _sfSourceIndex(-1) {}

UberMaterial::UberMaterial(const UberMaterial& source) = default;
UberMaterial::~UberMaterial() = default;

bool UberMaterial::isTransparent() const {
    return getAlphaMode() == Blend || getTransmission() > 0.0f;
}

OSG_END_NAMESPACE
