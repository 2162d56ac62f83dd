// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the material of a surface that shows only the shadow on it, such as a ground plane.
#include "OSGUShadowMaterial.h"

OSG_BEGIN_NAMESPACE

FieldContainerType UShadowMaterial::_type("UShadowMaterial", "ChunkMaterial", nullptr,
                                          []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(UShadowMaterial, UShadowMaterialPtr)

OSG_FIELD_MASK_DEF(UShadowMaterial, SourceIndexField)

UShadowMaterial::UShadowMaterial() : _sfSourceIndex(-1) {}
UShadowMaterial::UShadowMaterial(const UShadowMaterial& source) = default;
UShadowMaterial::~UShadowMaterial() = default;

bool UShadowMaterial::isTransparent() const {
    return true;
}

OSG_END_NAMESPACE
