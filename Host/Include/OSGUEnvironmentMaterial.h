// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class UEnvironmentMaterial;
typedef FCPtr<ChunkMaterialPtr, UEnvironmentMaterial> UEnvironmentMaterialPtr;

/// The material of surroundings such as a sky dome. It emits light and receives none.
class KT_HOST_EXPORT UEnvironmentMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef UEnvironmentMaterialPtr Ptr;

    enum {
        RadianceFieldId = Inherited::NextFieldId,
        SourceIndexFieldId = RadianceFieldId + 1,
        NextFieldId = SourceIndexFieldId + 1
    };
    static const BitVector RadianceFieldMask;
    static const BitVector SourceIndexFieldMask;

    OSG_FIELD_CONTAINER_DECL(UEnvironmentMaterialPtr)

    /// Emitted light, linear red, green, blue; may exceed 1. White in a new material.
    OSG_SFIELD_ACCESS(Color3f, Radiance)
    /// Index of the material in the document that it was read from; -1 for none.
    OSG_SFIELD_ACCESS(Int32, SourceIndex)

    /// Always false.
    bool isTransparent() const override;

protected:
    UEnvironmentMaterial();
    UEnvironmentMaterial(const UEnvironmentMaterial& source);
    ~UEnvironmentMaterial() override;

    SFColor3f _sfRadiance;
    SFInt32 _sfSourceIndex;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(UEnvironmentMaterial, UEnvironmentMaterialPtr)

OSG_END_NAMESPACE
