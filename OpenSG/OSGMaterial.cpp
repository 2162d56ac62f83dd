// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the abstract base class of materials: drawing order and transparency mode.
#include "OSGMaterial.h"

OSG_BEGIN_NAMESPACE

const Int32 Material::NoStateSorting = 0x7fffffff;
const Int32 Material::TransparencyAutoDetection = 0;
const Int32 Material::TransparencyForceTransparent = 1;
const Int32 Material::TransparencyForceOpaque = 2;

OSG_FIELD_MASK_DEF(Material, SortKeyField)
OSG_FIELD_MASK_DEF(Material, TransparencyModeField)

FieldContainerType Material::_type("Material", "AttachmentContainer");

OSG_ABSTR_FIELD_CONTAINER_DEF(Material, MaterialPtr)

Material::Material() : _sfSortKey(0), _sfTransparencyMode(TransparencyAutoDetection) {}

Material::Material(const Material& source)
    : Inherited(source), _sfSortKey(source._sfSortKey), _sfTransparencyMode(source._sfTransparencyMode) {}

OSG_END_NAMESPACE
