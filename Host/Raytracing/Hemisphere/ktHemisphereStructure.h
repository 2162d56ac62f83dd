// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

// What rays are traced against: a tree with eight children a node, whose leaves are runs of blocks of four triangles.
// Plain data, shared by the kernels of all instruction sets: nothing here may be an inline function.

/// Points to a node or to a leaf: its address (of a leaf: of its first block), which is a multiple of 32, and below
/// that leafFlag and the number of a leaf's blocks less 1.
using ktHemisphereRef = std::uint64_t;

struct ktHemisphereLimits {
    static constexpr std::uint32_t children = 8; ///< of a node
    static constexpr std::uint32_t blockTriangles = 4;
    static constexpr std::uint32_t leafBlocks = 2; ///< at most, of a leaf
    static constexpr std::uint32_t depth = 96;     ///< of the tree, at most
    static constexpr std::uint32_t tiles = 64;     ///< of 16 rays, traced together
    static constexpr std::uint32_t tileRays = 16;
    static constexpr ktHemisphereRef leafFlag = 1;
    static constexpr std::uint32_t leafCountShift = 1;
    static constexpr std::uint32_t addressShift = 5;
    static constexpr ktHemisphereRef addressMask = ~((ktHemisphereRef(1) << addressShift) - 1);
};

/// Eight children's boxes, axis by axis, world space, widened by a few units in the last place. Lanes without a child
/// hold NaN, which fails every comparison. Four cache lines.
struct alignas(64) ktHemisphereNode {
    float lower[3][8];
    float upper[3][8];
    ktHemisphereRef child[8]; ///< 0 for lanes without a child
};
static_assert(sizeof(ktHemisphereNode) == 256, "four cache lines");

/// Four triangles: corners a, b, c, axis by axis, world space, and each triangle's number over all meshes. Empty lanes
/// are all zero: a triangle without area is never hit.
struct alignas(32) ktHemisphereBlock {
    float corner[3][3][4]; ///< [corner][axis][triangle]
    std::uint32_t id[4];
};
static_assert(sizeof(ktHemisphereBlock) == 160, "forty bytes a triangle");
