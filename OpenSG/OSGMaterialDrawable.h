// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGMATERIALDRAWABLE_H
#define OSGMATERIALDRAWABLE_H

#include "OSGDrawable.h"
#include "OSGMaterial.h"

OSG_BEGIN_NAMESPACE

class MaterialDrawable;
typedef FCPtr<DrawablePtr, MaterialDrawable> MaterialDrawablePtr;
typedef RefPtr<MaterialDrawablePtr> MaterialDrawableRefPtr;

/// A drawable that has a material. Abstract.
class MaterialDrawable : public Drawable {
    typedef Drawable Inherited;

public:
    typedef MaterialDrawablePtr Ptr;

    enum { MaterialFieldId = Inherited::NextFieldId, NextFieldId = MaterialFieldId + 1 };
    static const BitVector MaterialFieldMask;

    OSG_ABSTR_FIELD_CONTAINER_DECL(MaterialDrawablePtr)

    /// The drawable references its material. Null in a new drawable.
    OSG_SFIELD_READ_ACCESS(MaterialPtr, Material)
    void setMaterial(const MaterialPtr& value) { setRefdCP(_sfMaterial.getValue(), value); }

protected:
    MaterialDrawable() = default;
    MaterialDrawable(const MaterialDrawable& source) : Inherited(source) { setMaterial(source.getMaterial()); }
    ~MaterialDrawable() override { setMaterial(NullFC); }

    SFMaterialPtr _sfMaterial;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_ABSTR_FIELD_CONTAINER_INL_DEF(MaterialDrawable, MaterialDrawablePtr)

OSG_END_NAMESPACE

#endif
