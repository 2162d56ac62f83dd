// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGMATERIALGROUP_H
#define OSGMATERIALGROUP_H

#include "OSGGroup.h"
#include "OSGMaterial.h"

#include <atomic>

OSG_BEGIN_NAMESPACE

class MaterialGroup;
typedef FCPtr<GroupPtr, MaterialGroup> MaterialGroupPtr;
typedef RefPtr<MaterialGroupPtr> MaterialGroupRefPtr;

/// The core of nodes that set the material of everything below them.
class MaterialGroup : public Group {
    typedef Group Inherited;

public:
    typedef MaterialGroupPtr Ptr;

    enum { MaterialFieldId = Inherited::NextFieldId, NextFieldId = MaterialFieldId + 1 };
    static const BitVector MaterialFieldMask;

    OSG_FIELD_CONTAINER_DECL(MaterialGroupPtr)

    /// The group references its material. Null in a new group.
    OSG_SFIELD_READ_ACCESS(MaterialPtr, Material)
    void setMaterial(const MaterialPtr& value);

    /// False if there is no group with a material, so that nobody has to look for one above a node.
    static bool exist() { return _withMaterial > 0; }

protected:
    MaterialGroup() = default;
    MaterialGroup(const MaterialGroup& source) : Inherited(source) { setMaterial(source.getMaterial()); }
    ~MaterialGroup() override { setMaterial(NullFC); }

    SFMaterialPtr _sfMaterial;
    static std::atomic<Int32> _withMaterial;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(MaterialGroup, MaterialGroupPtr)

OSG_END_NAMESPACE

#endif
