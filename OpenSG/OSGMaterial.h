// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGMATERIAL_H
#define OSGMATERIAL_H

#include "OSGAttachmentContainer.h"
#include "OSGSFSysTypes.h"

OSG_BEGIN_NAMESPACE

class Material;
typedef FCPtr<AttachmentContainerPtr, Material> MaterialPtr;
typedef RefPtr<MaterialPtr> MaterialRefPtr;
using SFMaterialPtr = SField<MaterialPtr>;
using MFMaterialPtr = MField<MaterialPtr>;

/// Describes how a surface looks. Abstract. The scene graph draws nothing itself.
class Material : public AttachmentContainer {
    typedef AttachmentContainer Inherited;

public:
    typedef MaterialPtr Ptr;

    static const Int32 NoStateSorting;
    static const Int32 TransparencyAutoDetection;
    static const Int32 TransparencyForceTransparent;
    static const Int32 TransparencyForceOpaque;

    enum {
        SortKeyFieldId = Inherited::NextFieldId,
        TransparencyModeFieldId = SortKeyFieldId + 1,
        NextFieldId = TransparencyModeFieldId + 1
    };
    static const BitVector SortKeyFieldMask;
    static const BitVector TransparencyModeFieldMask;

    OSG_ABSTR_FIELD_CONTAINER_DECL(MaterialPtr)

    /// Drawing order of transparent surfaces, or NoStateSorting. 0 in a new material.
    OSG_SFIELD_ACCESS(Int32, SortKey)
    /// One of the Transparency constants; TransparencyAutoDetection in a new material.
    OSG_SFIELD_ACCESS(Int32, TransparencyMode)

    /// Whether light passes through the surface.
    virtual bool isTransparent() const = 0;

protected:
    Material();
    Material(const Material& source);
    ~Material() override = default;

    SFInt32 _sfSortKey;
    SFInt32 _sfTransparencyMode;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_ABSTR_FIELD_CONTAINER_INL_DEF(Material, MaterialPtr)

OSG_END_NAMESPACE

#endif
