// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the core of nodes that only hold children.
#include "OSGGroup.h"

OSG_BEGIN_NAMESPACE

FieldContainerType Group::_type("Group", "NodeCore", nullptr,
                                []() -> FieldContainerPtr { return Group::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(Group, GroupPtr)

OSG_END_NAMESPACE
