// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the core of nodes that show one child, all children or none.
#include "OSGSwitch.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(Switch, ChoiceField)

FieldContainerType Switch::_type("Switch", "Group", nullptr,
                                 []() -> FieldContainerPtr { return Switch::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(Switch, SwitchPtr)

OSG_END_NAMESPACE
