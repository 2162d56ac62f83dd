// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGCHUNKMATERIAL_H
#define OSGCHUNKMATERIAL_H

#include "OSGMaterial.h"

OSG_BEGIN_NAMESPACE

class ChunkMaterial;
typedef FCPtr<MaterialPtr, ChunkMaterial> ChunkMaterialPtr;
typedef RefPtr<ChunkMaterialPtr> ChunkMaterialRefPtr;

/// The simplest material that can be created. Programs derive their own materials from it.
class ChunkMaterial : public Material {
    typedef Material Inherited;

public:
    typedef ChunkMaterialPtr Ptr;

    /// OpenSG 1.8 has two fields for drawing here. Their ids are kept, so that those of derived classes are the same.
    enum { ChunksFieldId = Inherited::NextFieldId, SlotsFieldId = ChunksFieldId + 1, NextFieldId = SlotsFieldId + 1 };

    OSG_FIELD_CONTAINER_DECL(ChunkMaterialPtr)

    /// True if the transparency mode says so.
    bool isTransparent() const override;

protected:
    ChunkMaterial() = default;
    ChunkMaterial(const ChunkMaterial& source) : Inherited(source) {}
    ~ChunkMaterial() override = default;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(ChunkMaterial, ChunkMaterialPtr)

OSG_END_NAMESPACE

#endif
