// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGROUP_H
#define OSGGROUP_H

#include "OSGNodeCore.h"

OSG_BEGIN_NAMESPACE

class Group;
typedef FCPtr<NodeCorePtr, Group> GroupPtr;
typedef RefPtr<GroupPtr> GroupRefPtr;

/// The core of nodes that only hold children.
class Group : public NodeCore {
    typedef NodeCore Inherited;

public:
    typedef GroupPtr Ptr;

    OSG_FIELD_CONTAINER_DECL(GroupPtr)

protected:
    Group() = default;
    Group(const Group& source) : Inherited(source) {}
    ~Group() override = default;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(Group, GroupPtr)

OSG_END_NAMESPACE

#endif
