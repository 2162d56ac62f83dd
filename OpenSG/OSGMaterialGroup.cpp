// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the core of nodes that set the material of everything below them.
#include "OSGMaterialGroup.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(MaterialGroup, MaterialField)

FieldContainerType MaterialGroup::_type("MaterialGroup", "Group", nullptr,
                                        []() -> FieldContainerPtr { return MaterialGroup::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(MaterialGroup, MaterialGroupPtr)

std::atomic<Int32> MaterialGroup::_withMaterial{0};

void MaterialGroup::setMaterial(const MaterialPtr& value) {
    _withMaterial += Int32(value != NullFC) - Int32(getMaterial() != NullFC);
    setRefdCP(_sfMaterial.getValue(), value);
}

OSG_END_NAMESPACE
