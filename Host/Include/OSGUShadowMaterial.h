// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class UShadowMaterial;
typedef FCPtr<ChunkMaterialPtr, UShadowMaterial> UShadowMaterialPtr;

/// The material of a surface that shows nothing but the shadow on it, a ground plane for instance: black where it is
/// in shadow, invisible where it is open. It is always transparent.
class KT_HOST_EXPORT UShadowMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef UShadowMaterialPtr Ptr;

    enum { SourceIndexFieldId = Inherited::NextFieldId, NextFieldId = SourceIndexFieldId + 1 };
    static const BitVector SourceIndexFieldMask;

    OSG_FIELD_CONTAINER_DECL(UShadowMaterialPtr)

    /// Number of the material in the document that it came from; -1 for none.
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
