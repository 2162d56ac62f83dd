// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class UShadowMaterial;
typedef FCPtr<ChunkMaterialPtr, UShadowMaterial> UShadowMaterialPtr;

/// The material of a surface that shows only the shadow on it, such as a ground plane: black in the shadow, invisible
/// in the open. Always transparent.
class KT_HOST_EXPORT UShadowMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef UShadowMaterialPtr Ptr;

    enum { SourceIndexFieldId = Inherited::NextFieldId, NextFieldId = SourceIndexFieldId + 1 };
    static const BitVector SourceIndexFieldMask;

    OSG_FIELD_CONTAINER_DECL(UShadowMaterialPtr)

    /// Index of the material in the document that it was read from; -1 for none.
    OSG_SFIELD_ACCESS(Int32, SourceIndex)

    /// Always true.
    bool isTransparent() const override;

protected:
    UShadowMaterial();
    UShadowMaterial(const UShadowMaterial& source);
    ~UShadowMaterial() override;

    SFInt32 _sfSourceIndex;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(UShadowMaterial, UShadowMaterialPtr)

OSG_END_NAMESPACE
