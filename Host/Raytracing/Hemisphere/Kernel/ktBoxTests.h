// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Box tests that both phases and single rays share: the sort order of a node's children, prefetching, and one box
// against the 16 rays of a tile.

#include "ktBvhLevels.h"
#include "ktVertexSetup.h"

#include <cstddef>

namespace KT_ISA {

// Keys that sort the children of a node by distance. A key is never zero, because denormals compare equal. It is never
// infinite, because the index would make it NaN. Its lowest bits hold the child's index, so that no two keys are equal.
KT_INLINE Float8 sortKey(Float8 distance) {
    alignas(32) static const std::uint32_t number[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    return mergeBits(min(distance + Float8(1e-30f), Float8(1e38f)), ~7u,
                     Float8::load(reinterpret_cast<const float*>(number)));
}

/// How many of the children in `among` are nearer than `child`.
KT_INLINE std::uint32_t rankOf(const float* keys, std::uint32_t among, std::uint32_t child) {
    return static_cast<std::uint32_t>(__builtin_popcount((Float8::load(keys) < Float8(keys[child])).bits() & among));
}

template <class Levels>
KT_INLINE void prefetch(const Levels& levels, ktWideBvhRef ref) {
    const char* at = levels.address(ref);
    // Start of the last cache line: `points` + 1 points of 12 bytes each, and the footer.
    const std::uint64_t points = ref >> ktWideBvhLayout::pointShift & (ktWideBvhLayout::patchPoints - 1);
    const std::uint64_t last = (points * 12 + 75) & ~std::uint64_t(63);
    __builtin_prefetch(at);
    __builtin_prefetch(at + 64);
    __builtin_prefetch(at + (last < 128 ? last : 128));
    __builtin_prefetch(at + last);
}

/// Which of a tile's 16 rays pass through a box between the distances. The box is relative to the vertex.
/// @param reciprocal of the tile's directions, in the space of the box
template <bool nearest>
KT_INLINE std::uint32_t raysThroughBox(const ktTraversalState& state, const ktTileState& tile,
                                       const float (*reciprocal)[16], const float* lower, const float* upper,
                                       std::ptrdiff_t stride) {
    Float16 enter = state.minDistance, leave = nearest ? Float16::load(tile.tFar) : Float16(state.maxDistance);
    for (int axis = 0; axis < 3; ++axis) {
        const Float16 r = Float16::load(reciprocal[axis]);
        const std::ptrdiff_t at = axis * stride;
        const Float16 a = Float16(lower[at]) * r, b = Float16(upper[at]) * r;
        enter = max(enter, min(a, b));
        leave = min(leave, max(a, b));
    }
    return (enter <= leave * Float16(kExitMargin)).bits();
}

} // namespace KT_ISA
