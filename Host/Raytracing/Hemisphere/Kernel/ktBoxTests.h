// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Boxes as seen from a vertex: the eight children of a node, and one box against the rays of a tile.

#include "ktVertexSetup.h"

namespace KT_ISA {

// Distances become keys that order children: never zero (denormals compare equal), never infinite (the tag would make
// it no number), with the child's number in the lowest bits so that no two are equal.
KT_INLINE Float8 sortKey(Float8 distance) {
    alignas(32) static const std::uint32_t number[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    return mergeBits(min(distance + Float8(1e-30f), Float8(1e38f)), ~7u,
                     Float8::load(reinterpret_cast<const float*>(number)));
}

/// How many of the children in `among` come before `child`.
KT_INLINE std::uint32_t rankOf(const float* keys, std::uint32_t among, std::uint32_t child) {
    return static_cast<std::uint32_t>(__builtin_popcount((Float8::load(keys) < Float8(keys[child])).bits() & among));
}

KT_INLINE const ktWideBvhNode& nodeAt(ktWideBvhRef ref) {
    return *reinterpret_cast<const ktWideBvhNode*>(ref - ktWideBvhLayout::nodeFlags);
}

KT_INLINE void prefetch(ktWideBvhRef ref) {
    const char* at = reinterpret_cast<const char*>(ref & ktWideBvhLayout::addressMask);
    // The last line's begin: of points - 1 points and of a patch's end.
    const std::uint64_t points = ref >> ktWideBvhLayout::pointShift & (ktWideBvhLayout::patchPoints - 1);
    const std::uint64_t last = (points * 12 + 75) & ~std::uint64_t(63);
    __builtin_prefetch(at);
    __builtin_prefetch(at + 64);
    __builtin_prefetch(at + (last < 128 ? last : 128));
    __builtin_prefetch(at + last);
}

/// Which of a tile's 16 rays pass through a box (relative to the vertex) between the distances.
template <bool nearest>
KT_INLINE std::uint32_t raysThroughBox(const ktTraversalState& state, const ktTileState& tile, const float* lower,
                                       const float* upper, int stride) {
    Float16 enter = state.minDistance, leave = nearest ? Float16::load(tile.tFar) : Float16(state.maxDistance);
    for (int axis = 0; axis < 3; ++axis) {
        const Float16 r = Float16::load(tile.reciprocal[axis]);
        const Float16 a = Float16(lower[axis * stride]) * r, b = Float16(upper[axis * stride]) * r;
        enter = max(enter, min(a, b));
        leave = min(leave, max(a, b));
    }
    return (enter <= leave * Float16(kExitMargin)).bits();
}

} // namespace KT_ISA
