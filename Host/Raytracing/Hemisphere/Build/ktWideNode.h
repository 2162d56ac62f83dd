// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktWideBvhLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

/// Makes a node without children.
inline void ktClearWideNode(ktWideBvhNode& node) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    constexpr std::size_t count = std::size_t(3) * ktWideBvhLayout::children;
    std::fill(&node.lower[0][0], &node.lower[0][0] + count, none);
    std::fill(&node.upper[0][0], &node.upper[0][0] + count, none);
    std::fill(node.child, node.child + ktWideBvhLayout::children, ktWideBvhRef(0));
}

/// Sets the box of a child, enlarged by a few units in the last place of its largest coordinate: rays along a face must
/// not miss it.
inline void ktSetWideChild(ktWideBvhNode& node, std::uint32_t child, const ktBvhBox& box, ktWideBvhRef ref) {
    float farthest = 0;
    for (int axis = 0; axis < 3; ++axis)
        farthest = std::max({farthest, std::fabs(box.lower[axis]), std::fabs(box.upper[axis])});
    const float margin = farthest * 2.5e-7f;
    for (int axis = 0; axis < 3; ++axis) {
        node.lower[axis][child] = box.lower[axis] - margin;
        node.upper[axis][child] = box.upper[axis] + margin;
    }
    node.child[child] = ref;
}
