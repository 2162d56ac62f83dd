// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the material of surroundings such as a sky dome, which emit light and receive none.
#include "OSGUEnvironmentMaterial.h"

OSG_BEGIN_NAMESPACE

FieldContainerType UEnvironmentMaterial::_type("UEnvironmentMaterial", "ChunkMaterial", nullptr,
                                               []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(UEnvironmentMaterial, UEnvironmentMaterialPtr)

OSG_FIELD_MASK_DEF(UEnvironmentMaterial, RadianceField)
OSG_FIELD_MASK_DEF(UEnvironmentMaterial, SourceIndexField)

UEnvironmentMaterial::UEnvironmentMaterial() : _sfRadiance(Color3f(1.0f, 1.0f, 1.0f)), _sfSourceIndex(-1) {}
UEnvironmentMaterial::UEnvironmentMaterial(const UEnvironmentMaterial& source) = default;
UEnvironmentMaterial::~UEnvironmentMaterial() = default;

bool UEnvironmentMaterial::isTransparent() const {
    return false;
}

OSG_END_NAMESPACE
