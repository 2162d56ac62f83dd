// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktImage.h"

#include <memory>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGSFBaseTypes.h>
#include <OpenSG/OSGSFSysTypes.h>
#include <OpenSG/OSGVector.h>

OSG_BEGIN_NAMESPACE

class UberMaterial;
typedef FCPtr<ChunkMaterialPtr, UberMaterial> UberMaterialPtr;

/// The picture that multiplies a material's base colour, and how it lies on the surface. A vertex's coordinates (u, v)
/// become, with s and c the sine and cosine of the rotation,
///   u' = offset.u + c * scale.u * u + s * scale.v * v
///   v' = offset.v - s * scale.u * u + c * scale.v * v
/// and (0, 0) is the outer corner of the picture's first pixel, (1, 1) that of its last: v grows downwards.
struct UberMaterialTexture {
    enum Wrap { Repeat = 0, ClampToEdge = 1, MirroredRepeat = 2 };

    std::shared_ptr<const ktImage> image; ///< sRGB colours, linear alpha; null when there is no picture
    Int32 texCoords = 0;                  ///< texture coordinate channel of the geometry, 0 to 7
    Vec2f offset = Vec2f(0.0f, 0.0f);
    Real32 rotation_rad = 0.0f;
    Vec2f scale = Vec2f(1.0f, 1.0f);
    Wrap wrapU = Repeat;    ///< what lies outside 0 to 1 along u'
    Wrap wrapV = Repeat;    ///< and along v'
    bool isFiltered = true; ///< interpolate between pixels; else take the nearest
};

/// The host's surface material: colour, transparency and glow of a surface, each with what a document says of it.
/// Colours are linear.
class KT_HOST_EXPORT UberMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef UberMaterialPtr Ptr;

    /// What the alpha of the base colour means.
    enum AlphaMode {
        Opaque = 0, ///< nothing
        Mask = 1,   ///< the surface is there where alpha reaches the cutoff
        Blend = 2   ///< share of the surface's colour over what lies behind
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
    /// Alpha from which on a masked surface is there; 0.5 in a new material.
    OSG_SFIELD_ACCESS(Real32, AlphaCutoff)
    /// Share of light that passes through the surface, 0 to 1.
    OSG_SFIELD_ACCESS(Real32, Transmission)
    /// Light that the surface sends out by itself; may exceed 1.
    OSG_SFIELD_ACCESS(Color3f, Emission)
    /// The surface is seen from its back, too.
    OSG_SFIELD_ACCESS(bool, DoubleSided)
    /// The geometry's vertex colours multiply the base colour; true in a new material.
    OSG_SFIELD_ACCESS(bool, VertexColors)
    /// Number of the material in the document that it came from; -1 for none.
    OSG_SFIELD_ACCESS(Int32, SourceIndex)

    /// The picture that multiplies the base colour and its alpha.
    const UberMaterialTexture& getTexture() const { return texture; }
    void setTexture(const UberMaterialTexture& newTexture) { texture = newTexture; }

    /// Whether something behind the surface may be seen through it: blended, or transmissive.
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
