// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktImage.h"

#include <memory>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGSFSysTypes.h>
#include <OpenSG/OSGVector.h>

OSG_BEGIN_NAMESPACE

class UberMaterial;
typedef FCPtr<ChunkMaterialPtr, UberMaterial> UberMaterialPtr;

/// The picture that multiplies a material's base colour, and its mapping to the surface. With s and c the sine and
/// cosine of the rotation, texture coordinates (u, v) become
///   u' = offset.u + c * scale.u * u + s * scale.v * v
///   v' = offset.v - s * scale.u * u + c * scale.v * v
/// where (0, 0) is the outer corner of the first pixel and (1, 1) that of the last. v grows downwards.
struct UberMaterialTexture {
    enum Wrap { Repeat = 0, ClampToEdge = 1, MirroredRepeat = 2 };

    std::shared_ptr<const ktImage> image; ///< sRGB colours, linear alpha; null when there is no picture
    Int32 texCoords = 0;                  ///< texture coordinate channel of the geometry, 0 to 7
    Vec2f offset = Vec2f(0.0f, 0.0f);
    Real32 rotation_rad = 0.0f;
    Vec2f scale = Vec2f(1.0f, 1.0f);
    Wrap wrapU = Repeat;    ///< how u' outside 0 to 1 is treated
    Wrap wrapV = Repeat;    ///< the same for v'
    bool isFiltered = true; ///< interpolate between pixels; else use the nearest one
};

/// The host's surface material: colour, transparency and emission of a surface, as read from a document. Colours are
/// linear.
class KT_HOST_EXPORT UberMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef UberMaterialPtr Ptr;

    /// How the alpha of the base colour is used.
    enum AlphaMode {
        Opaque = 0, ///< ignored
        Mask = 1,   ///< the surface is visible where alpha is at least the cutoff
        Blend = 2   ///< opacity of the surface
    };

    enum {
        ColorFieldId = Inherited::NextFieldId,
        AlphaFieldId = ColorFieldId + 1,
        AlphaModeFieldId = AlphaFieldId + 1,
        AlphaCutoffFieldId = AlphaModeFieldId + 1,
        TransmissionFieldId = AlphaCutoffFieldId + 1,
        EmissionFieldId = TransmissionFieldId + 1,
        DoubleSidedFieldId = EmissionFieldId + 1,
        VertexColorsFieldId = DoubleSidedFieldId + 1,
        SourceIndexFieldId = VertexColorsFieldId + 1,
        TextureFieldId = SourceIndexFieldId + 1,
        NextFieldId = TextureFieldId + 1
    };
    static const BitVector ColorFieldMask;
    static const BitVector AlphaFieldMask;
    static const BitVector AlphaModeFieldMask;
    static const BitVector AlphaCutoffFieldMask;
    static const BitVector TransmissionFieldMask;
    static const BitVector EmissionFieldMask;
    static const BitVector DoubleSidedFieldMask;
    static const BitVector VertexColorsFieldMask;
    static const BitVector SourceIndexFieldMask;
    static const BitVector TextureFieldMask;

    OSG_FIELD_CONTAINER_DECL(UberMaterialPtr)

    /// Base colour, 0 to 1; white in a new material.
    OSG_SFIELD_ACCESS(Color3f, Color)
    /// Alpha of the base colour, 0 to 1; 1 in a new material.
    OSG_SFIELD_ACCESS(Real32, Alpha)
    /// One of AlphaMode.
    OSG_SFIELD_ACCESS(Int32, AlphaMode)
    /// With Mask, the surface is visible from this alpha on; 0.5 in a new material.
    OSG_SFIELD_ACCESS(Real32, AlphaCutoff)
    /// Fraction of light that passes through the surface, 0 to 1.
    OSG_SFIELD_ACCESS(Real32, Transmission)
    /// Light that the surface emits; may exceed 1.
    OSG_SFIELD_ACCESS(Color3f, Emission)
    /// Whether the surface is visible from the back too.
    OSG_SFIELD_ACCESS(bool, DoubleSided)
    /// Whether the geometry's vertex colours multiply the base colour; true in a new material.
    OSG_SFIELD_ACCESS(bool, VertexColors)
    /// Index of the material in the document that it was read from; -1 for none.
    OSG_SFIELD_ACCESS(Int32, SourceIndex)

    /// The picture that multiplies the base colour and its alpha.
    const UberMaterialTexture& getTexture() const { return texture; }
    void setTexture(const UberMaterialTexture& newTexture) { texture = newTexture; }

    /// Whether something behind the surface may be visible through it: blended or transmissive.
    bool isTransparent() const override;

protected:
    UberMaterial();
    UberMaterial(const UberMaterial& source);
    ~UberMaterial() override;

    SFColor3f _sfColor;
    SFReal32 _sfAlpha;
    SFInt32 _sfAlphaMode;
    SFReal32 _sfAlphaCutoff;
    SFReal32 _sfTransmission;
    SFColor3f _sfEmission;
    SFBool _sfDoubleSided;
    SFBool _sfVertexColors;
    SFInt32 _sfSourceIndex;

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    UberMaterialTexture texture;
};

OSG_FIELD_CONTAINER_INL_DEF(UberMaterial, UberMaterialPtr)

OSG_END_NAMESPACE
