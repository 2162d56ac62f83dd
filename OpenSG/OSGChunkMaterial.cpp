// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the plainest material, from which programs derive their own materials.
#include "OSGChunkMaterial.h"

OSG_BEGIN_NAMESPACE

FieldContainerType ChunkMaterial::_type("ChunkMaterial", "Material", nullptr,
                                        []() -> FieldContainerPtr { return ChunkMaterial::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(ChunkMaterial, ChunkMaterialPtr)

bool ChunkMaterial::isTransparent() const {
    return getTransparencyMode() == TransparencyForceTransparent;
}

OSG_END_NAMESPACE
