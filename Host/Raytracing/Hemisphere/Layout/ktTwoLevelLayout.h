// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWideBvhLayout.h"

#include <cstdint>

// The memory layout of a two-level BVH: the upper level holds instances of parts, and triangles that are no part's, in
// world space; below it, each part has one tree in object space. Nodes and leaves are those of ktWideBvhLayout.h. All
// are in one block of memory. Plain data that the kernels of all instruction sets read, so nothing here may be an
// inline function.
//
// A reference (ktWideBvhRef) has the place in this block instead of an address, and the instance:
//
//    bits 63 to 40     39 to 6                5 to 0
//    instance          cache line of memory   as in a wide BVH
//
// Instance 0 is world space. A node of a part does not name the instance: who visits a child adds that of the parent.

struct ktTwoLevelLayout {
    static constexpr std::uint32_t instanceShift = 40;
    static constexpr ktWideBvhRef instanceMask = ~((ktWideBvhRef(1) << instanceShift) - 1);
    static constexpr ktWideBvhRef offsetMask = ktWideBvhLayout::addressMask & ~instanceMask; ///< in bytes
    static constexpr std::uint32_t maxInstances = (1u << (64 - instanceShift)) - 1;
};

/// One use of a part, in the form that rays need.
struct alignas(64) ktBvhInstance {
    /// [row]: half of the row of the matrix, then its translation. So centre + translation of a box in world space is
    /// this times (lower + upper).
    float center[3][4];
    /// [row]: absolute values of the same, then what a box is enlarged by against all rounding. So half the extent of
    /// the world-space box around a box is this times (upper - lower).
    float extent[3][4];
    double toWorld[3][4];        ///< row by row
    float inverse[3][3];         ///< row by row: directions to object space
    float reach[3];              ///< largest terms that are added up to a world coordinate of the part, [axis]
    std::uint32_t hasInverse;    ///< 0: `inverse` is not accurate enough to be used
    std::uint32_t firstTriangle; ///< id over all meshes of the part's triangle 0
};

/// A BVH as kernels see it.
struct ktBvhView {
    ktWideBvhRef root;              ///< 0 if there are no triangles
    const unsigned char* memory;    ///< of a two-level BVH; null otherwise
    const ktBvhInstance* instances; ///< likewise; from instance 1 on
};
