// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

// The memory layout of the wide BVH that rays are traced against: nodes have eight children, leaves up to eight
// triangles. There are two kinds of leaves. Unindexed leaves are faster to read; patches take three fifths of the
// memory. Plain data that the kernels of all instruction sets read, so nothing here may be an inline function.

/// A reference to a node or leaf: the address of the node, of the unindexed leaf or of the leaf's first patch. All
/// start at a cache line. The low bits hold leafFlag, unindexedFlag and the patch's number of points less 1. References
/// to nodes and unindexed leaves have 15 there, because a patch of 16 points is as long as a node.
using ktWideBvhRef = std::uint64_t;

struct ktWideBvhLayout {
    static constexpr std::uint32_t children = 8; ///< per node
    static constexpr std::uint32_t leafTriangles = 8;
    static constexpr std::uint32_t patchPoints = 16;
    static constexpr std::uint32_t maxDepth = 96; ///< levels of the tree
    static constexpr ktWideBvhRef leafFlag = 1;
    static constexpr std::uint32_t pointShift = 1;
    static constexpr ktWideBvhRef nodeFlags = (patchPoints - 1) << pointShift;
    static constexpr ktWideBvhRef unindexedFlag = 32;
    static constexpr std::uint32_t addressShift = 6;
    static constexpr ktWideBvhRef addressMask = ~((ktWideBvhRef(1) << addressShift) - 1);
};

/// The boxes of eight children, axis by axis, in world space, enlarged by a few units in the last place. Lanes without
/// a child hold NaN, which fails every comparison.
struct alignas(64) ktWideBvhNode {
    float lower[3][8];
    float upper[3][8];
    ktWideBvhRef child[8]; ///< 0 for lanes without a child
};
static_assert(sizeof(ktWideBvhNode) == 256, "four cache lines");

/// Leaves are stored in arrays of these.
struct alignas(64) ktCacheLine {
    unsigned char byte[64];
};

/// A leaf that stores three corners per triangle, in world space. Lanes without a triangle are zero: a triangle without
/// area is never hit.
struct alignas(64) ktUnindexedLeaf {
    float corner[3][3][8]; ///< [corner][axis][triangle]
    std::uint32_t id[8];   ///< of the triangles, over all meshes
};
static_assert(sizeof(ktUnindexedLeaf) == 320, "five cache lines");

/// The end of a patch, that is of up to eight triangles that share points. The coordinates of its points come before
/// it, in world space: all x, all y, all z. A patch of eight triangles usually takes three cache lines instead of five.
struct ktPatchFooter {
    std::uint32_t nextPointCount; ///< of the leaf's next patch, from the next cache line on; 0 for the last patch
    std::uint32_t count;          ///< number of triangles
    std::uint8_t corner[3][8];    ///< [corner][triangle]: index of a point; unused lanes form triangles without area
    std::uint32_t id[8];          ///< of the triangles, over all meshes
};
static_assert(sizeof(ktPatchFooter) == 64 && alignof(ktPatchFooter) == 4, "one cache line, after any number of points");
