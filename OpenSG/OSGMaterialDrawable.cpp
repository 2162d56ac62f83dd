// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the abstract base classes of drawables, without and with a material.
#include "OSGMaterialDrawable.h"

OSG_BEGIN_NAMESPACE

FieldContainerType Drawable::_type("Drawable", "NodeCore");

OSG_ABSTR_FIELD_CONTAINER_DEF(Drawable, DrawablePtr)

OSG_FIELD_MASK_DEF(MaterialDrawable, MaterialField)

FieldContainerType MaterialDrawable::_type("MaterialDrawable", "Drawable");

OSG_ABSTR_FIELD_CONTAINER_DEF(MaterialDrawable, MaterialDrawablePtr)

OSG_END_NAMESPACE
