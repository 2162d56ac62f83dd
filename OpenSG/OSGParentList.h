// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGPARENTLIST_H
#define OSGPARENTLIST_H

#include "OSGBaseFunctions.h"
#include "OSGMField.h"

OSG_BEGIN_NAMESPACE

namespace detail {

/// Index of parent in the list, or -1. Searches outwards from the position hint, because a list may be very long and
/// parents mostly leave in the order in which they came or in reverse order.
template <class PtrT>
inline Int32 findParent(const MField<PtrT>& parents, const PtrT& parent, const UInt32 hint) {
    const UInt32 count = parents.size();
    UInt32 above = osgMin(hint, count);
    UInt32 below = above;
    while (above < count || below > 0) {
        if (above < count && parents[above++] == parent)
            return Int32(above - 1);
        if (below > 0 && parents[--below] == parent)
            return Int32(below);
    }
    return -1;
}

/// Removes one entry of parent, if there is one. The last entry takes its place.
template <class PtrT>
inline void eraseParent(MField<PtrT>& parents, const PtrT& parent, UInt32& hint) {
    const Int32 index = findParent(parents, parent, hint);
    if (index < 0)
        return;
    parents[UInt32(index)] = parents.back();
    parents.erase(parents.end() - 1);
    hint = UInt32(index);
}

} // namespace detail

OSG_END_NAMESPACE

#endif
