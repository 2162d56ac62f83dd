// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGMATERIALGROUPS_H
#define OSGMATERIALGROUPS_H

// This header is ours, and compiles with OpenSG 1.8, too.
#include "OSGMaterialGroup.h"

OSG_BEGIN_NAMESPACE

template <class GroupT>
auto groupsExist(int) -> decltype(GroupT::exist()) {
    return GroupT::exist();
}
template <class GroupT>
bool groupsExist(...) {
    return true;
}

/// False if no group has a material, so that nobody must look for one. Always true with OpenSG 1.8, which cannot tell.
inline bool materialGroupsExist() {
    return groupsExist<MaterialGroup>(0);
}

OSG_END_NAMESPACE

#endif
