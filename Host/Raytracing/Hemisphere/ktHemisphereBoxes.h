// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Boxes as seen from a vertex: the eight children of a node, and one box against the rays of a tile.

#include "ktHemisphereVertex.h"

namespace KT_LANES {

/// The children of a node, moved so that the vertex is the origin.
struct alignas(32) Children {
    float lower[3][8], upper[3][8];
};

// Distances become keys that order children: never zero (denormals compare equal), never infinite (the tag would make
// it no number), with the child's number in the lowest bits so that no two are equal.
KT_INLINE Float8 orderKey(Float8 distance) {
    alignas(32) static const std::uint32_t number[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    return tagged(smaller(distance + Float8(1e-30f), Float8(1e38f)), ~7u,
                  Float8::load(reinterpret_cast<const float*>(number)));
}

/// How many of the children in `among` come before `child`.
KT_INLINE std::uint32_t rankOf(const float* keys, std::uint32_t among, std::uint32_t child) {
    return static_cast<std::uint32_t>(__builtin_popcount((Float8::load(keys) < Float8(keys[child])).bits() & among));
}

KT_INLINE ktHemisphereRef refOf(const ktHemisphereNode& node, std::uint32_t child) {
    const std::uint32_t word = node.child[child];
    const ktHemisphereRef count = (word & ~ktHemisphereLimits::childLeafFlag) >> ktHemisphereLimits::childCountShift;
    const ktHemisphereRef leaf = ktHemisphereLimits::leafFlag | count << ktHemisphereLimits::leafCountShift |
                                 (node.firstBlock + (word & ktHemisphereLimits::childBlockMask));
    return word & ktHemisphereLimits::childLeafFlag ? leaf : word;
}

KT_INLINE const ktHemisphereBlock* firstBlock(const ktHemisphereView& view, ktHemisphereRef leaf) {
    return view.blocks + (leaf & ktHemisphereLimits::leafBlockMask);
}

KT_INLINE std::uint64_t blockCount(ktHemisphereRef leaf) {
    return ((leaf & ~ktHemisphereLimits::leafFlag) >> ktHemisphereLimits::leafCountShift) + 1;
}

KT_INLINE void prefetch(const ktHemisphereView& view, ktHemisphereRef ref) {
    const char* at = ref & ktHemisphereLimits::leafFlag ? reinterpret_cast<const char*>(firstBlock(view, ref))
                                                        : reinterpret_cast<const char*>(view.nodes + ref);
    __builtin_prefetch(at);
    __builtin_prefetch(at + 64);
    __builtin_prefetch(at + 128);
    __builtin_prefetch(at + 192);
}

/// Which of a tile's 16 rays pass through a box (relative to the vertex) between the distances.
template <bool nearest>
KT_INLINE std::uint32_t raysThroughBox(const ktHemisphereWork& work, std::uint32_t tile, const float* lower,
                                       const float* upper, int stride) {
    Float16 enter = work.minDistance, leave = nearest ? Float16::load(work.reach[tile]) : Float16(work.maxDistance);
    for (int axis = 0; axis < 3; ++axis) {
        const Float16 r = Float16::load(work.reciprocal[tile][axis]);
        const Float16 a = Float16(lower[axis * stride]) * r, b = Float16(upper[axis * stride]) * r;
        enter = larger(enter, smaller(a, b));
        leave = smaller(leave, larger(a, b));
    }
    return (enter <= leave * Float16(kExitMargin)).bits();
}

} // namespace KT_LANES
