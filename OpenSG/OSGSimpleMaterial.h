// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGSIMPLEMATERIAL_H
#define OSGSIMPLEMATERIAL_H

#include "OSGChunkMaterial.h"
#include "OSGGL.h"
#include "OSGSFBaseTypes.h"

OSG_BEGIN_NAMESPACE

class SimpleMaterial;
typedef FCPtr<ChunkMaterialPtr, SimpleMaterial> SimpleMaterialPtr;
typedef RefPtr<SimpleMaterialPtr> SimpleMaterialRefPtr;
using SFGLenum = SField<GLenum>;

/// The classic OpenGL material.
class SimpleMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef SimpleMaterialPtr Ptr;

    enum {
        AmbientFieldId = Inherited::NextFieldId,
        DiffuseFieldId = AmbientFieldId + 1,
        SpecularFieldId = DiffuseFieldId + 1,
        ShininessFieldId = SpecularFieldId + 1,
        EmissionFieldId = ShininessFieldId + 1,
        TransparencyFieldId = EmissionFieldId + 1,
        LitFieldId = TransparencyFieldId + 1,
        ColorMaterialFieldId = LitFieldId + 1,
        NextFieldId = ColorMaterialFieldId + 1
    };
    static const BitVector AmbientFieldMask;
    static const BitVector DiffuseFieldMask;
    static const BitVector SpecularFieldMask;
    static const BitVector ShininessFieldMask;
    static const BitVector EmissionFieldMask;
    static const BitVector TransparencyFieldMask;
    static const BitVector LitFieldMask;
    static const BitVector ColorMaterialFieldMask;

    OSG_FIELD_CONTAINER_DECL(SimpleMaterialPtr)

    // Black in a new material.
    OSG_SFIELD_ACCESS(Color3f, Ambient)
    OSG_SFIELD_ACCESS(Color3f, Diffuse)
    OSG_SFIELD_ACCESS(Color3f, Specular)
    OSG_SFIELD_ACCESS(Color3f, Emission)
    /// Exponent of the specular highlight; 1 in a new material.
    OSG_SFIELD_ACCESS(Real32, Shininess)
    /// From 0 (opaque, in a new material) to 1 (invisible).
    OSG_SFIELD_ACCESS(Real32, Transparency)
    /// Whether lights affect the surface; true in a new material.
    OSG_SFIELD_ACCESS(bool, Lit)
    /// What vertex colours replace: an OpenGL code; GL_DIFFUSE in a new material.
    OSG_SFIELD_ACCESS(GLenum, ColorMaterial)

    /// True if the transparency is above Eps, in any transparency mode, or if the mode says so.
    bool isTransparent() const override;

protected:
    SimpleMaterial();
    SimpleMaterial(const SimpleMaterial& source);
    ~SimpleMaterial() override = default;

    SFColor3f _sfAmbient;
    SFColor3f _sfDiffuse;
    SFColor3f _sfSpecular;
    SFReal32 _sfShininess;
    SFColor3f _sfEmission;
    SFReal32 _sfTransparency;
    SFBool _sfLit;
    SFGLenum _sfColorMaterial;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(SimpleMaterial, SimpleMaterialPtr)

OSG_END_NAMESPACE

#endif
