// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the material that references several environments and shows one of them.
#include "OSGUEnvironmentSwitchMaterial.h"

OSG_BEGIN_NAMESPACE

FieldContainerType UEnvironmentSwitchMaterial::_type("UEnvironmentSwitchMaterial", "ChunkMaterial", nullptr,
                                                     []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(UEnvironmentSwitchMaterial, UEnvironmentSwitchMaterialPtr)

OSG_FIELD_MASK_DEF(UEnvironmentSwitchMaterial, EnvironmentsField)
OSG_FIELD_MASK_DEF(UEnvironmentSwitchMaterial, ChoiceField)

UEnvironmentSwitchMaterial::UEnvironmentSwitchMaterial() : _sfChoice(0) {}

UEnvironmentSwitchMaterial::UEnvironmentSwitchMaterial(const UEnvironmentSwitchMaterial& source)
    : Inherited(source), _mfEnvironments(source._mfEnvironments), _sfChoice(source._sfChoice) {}
UEnvironmentSwitchMaterial::~UEnvironmentSwitchMaterial() = default;

void UEnvironmentSwitchMaterial::onCreate(const UEnvironmentSwitchMaterial* source) {
    Inherited::onCreate(source);
    for (UInt32 i = 0; i < getNEnvironments(); ++i)
        addRefCP(_mfEnvironments[i]);
}

void UEnvironmentSwitchMaterial::onDestroy() {
    for (UInt32 i = 0; i < getNEnvironments(); ++i)
        subRefCP(_mfEnvironments[i]);
    Inherited::onDestroy();
}

void UEnvironmentSwitchMaterial::addEnvironment(const UEnvironmentMaterialPtr& environment) {
    if (environment == NullFC)
        return;
    addRefCP(environment);
    _mfEnvironments.push_back(environment);
}

void UEnvironmentSwitchMaterial::subEnvironment(UInt32 index) {
    if (index >= getNEnvironments())
        return;
    const UEnvironmentMaterialPtr environment = getEnvironment(index);
    _mfEnvironments.erase(_mfEnvironments.begin() + index);
    subRefCP(environment);
}

UEnvironmentMaterialPtr UEnvironmentSwitchMaterial::getChosenEnvironment() const {
    const Int32 choice = getChoice();
    if (choice < 0 || static_cast<UInt32>(choice) >= getNEnvironments())
        return NullFC;
    return getEnvironment(static_cast<UInt32>(choice));
}

bool UEnvironmentSwitchMaterial::isTransparent() const {
    return false;
}

OSG_END_NAMESPACE
