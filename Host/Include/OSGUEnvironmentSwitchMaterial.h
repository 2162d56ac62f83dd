// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "OSGUEnvironmentMaterial.h"

#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGMFFieldContainerPtr.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class UEnvironmentSwitchMaterial;
typedef FCPtr<ChunkMaterialPtr, UEnvironmentSwitchMaterial> UEnvironmentSwitchMaterialPtr;

/// Several environments, of which one is shown. References each of them.
class KT_HOST_EXPORT UEnvironmentSwitchMaterial : public ChunkMaterial {
    typedef ChunkMaterial Inherited;

public:
    typedef UEnvironmentSwitchMaterialPtr Ptr;

    enum {
        EnvironmentsFieldId = Inherited::NextFieldId,
        ChoiceFieldId = EnvironmentsFieldId + 1,
        NextFieldId = ChoiceFieldId + 1
    };
    static const BitVector EnvironmentsFieldMask;
    static const BitVector ChoiceFieldMask;

    OSG_FIELD_CONTAINER_DECL(UEnvironmentSwitchMaterialPtr)

    /// Index of the environment shown. An index out of range shows none. 0 in a new material.
    OSG_SFIELD_ACCESS(Int32, Choice)

    /// Adds an environment at the end. Ignores null.
    void addEnvironment(const UEnvironmentMaterialPtr& environment);
    /// Removes an environment; later ones move up. Does nothing if the index is out of range.
    void subEnvironment(UInt32 index);
    UInt32 getNEnvironments() const { return _mfEnvironments.getSize(); }
    /// `index` must be below getNEnvironments().
    UEnvironmentMaterialPtr getEnvironment(UInt32 index) const {
        return UEnvironmentMaterialPtr::dcast(_mfEnvironments[index]);
    }
    /// The environment shown, or null.
    UEnvironmentMaterialPtr getChosenEnvironment() const;

    /// Always false.
    bool isTransparent() const override;

protected:
    UEnvironmentSwitchMaterial();
    UEnvironmentSwitchMaterial(const UEnvironmentSwitchMaterial& source);
    ~UEnvironmentSwitchMaterial() override;

    // Reference the environments. A container may be copied once per thread, so constructors cannot.
    void onCreate(const UEnvironmentSwitchMaterial* source = nullptr);
    void onDestroy() override;

    MFFieldContainerPtr _mfEnvironments;
    SFInt32 _sfChoice;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(UEnvironmentSwitchMaterial, UEnvironmentSwitchMaterialPtr)

OSG_END_NAMESPACE
