// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

// What rays are traced against: a tree with eight children a node, whose leaves have up to eight triangles. There are
// two kinds of leaves: wide ones, quicker to read, and patches, three fifths as long.
// Plain data, shared by the kernels of all instruction sets: nothing here may be an inline function.

/// Points to a node or to a leaf: the address of the node, of the wide leaf, or of the leaf's first patch, all at the
/// begin of a cache line, and below it leafFlag, wideFlag and the number of the patch's points less 1. References of
/// nodes and of wide leaves have 15 there: a patch of 16 points is as long as a node.
using ktWideBvhRef = std::uint64_t;

struct ktWideBvhLayout {
    static constexpr std::uint32_t children = 8; ///< of a node
    static constexpr std::uint32_t leafTriangles = 8;
    static constexpr std::uint32_t patchPoints = 16;
    static constexpr std::uint32_t maxDepth = 96; ///< of the tree, at most
    static constexpr ktWideBvhRef leafFlag = 1;
    static constexpr std::uint32_t pointShift = 1;
    static constexpr ktWideBvhRef nodeFlags = (patchPoints - 1) << pointShift;
    static constexpr ktWideBvhRef unindexedFlag = 32;
    static constexpr std::uint32_t addressShift = 6;
    static constexpr ktWideBvhRef addressMask = ~((ktWideBvhRef(1) << addressShift) - 1);
};

/// Eight children's boxes, axis by axis, world space, widened by a few units in the last place. Lanes without a child
/// hold NaN, which fails every comparison. Four cache lines.
struct alignas(64) ktWideBvhNode {
    float lower[3][8];
    float upper[3][8];
    ktWideBvhRef child[8]; ///< 0 for lanes without a child
};
static_assert(sizeof(ktWideBvhNode) == 256, "four cache lines");

/// What leaves are made of.
struct alignas(64) ktCacheLine {
    unsigned char byte[64];
};

/// A leaf with each triangle's corners side by side, world space. Lanes without a triangle are all zero: a triangle
/// without area is never hit. Five cache lines.
struct alignas(64) ktUnindexedLeaf {
    float corner[3][3][8]; ///< [corner][axis][triangle]
    std::uint32_t id[8];   ///< numbers of the triangles over all meshes
};
static_assert(sizeof(ktUnindexedLeaf) == 320, "forty bytes a triangle");

/// The end of a patch: triangles that share points. Before it stand the points' coordinates, world space: x of all, y
/// of all, z of all. Sharing makes a patch of eight triangles three cache lines long instead of five.
struct ktPatchFooter {
    std::uint32_t nextPointCount; ///< of another patch of the leaf, which begins at the next cache line; 0 for the last
    std::uint32_t count;          ///< triangles
    std::uint8_t corner[3][8];    ///< [corner][triangle]: which point. Lanes without a triangle have none with an area
    std::uint32_t id[8];          ///< numbers of the triangles over all meshes
};
static_assert(sizeof(ktPatchFooter) == 64 && alignof(ktPatchFooter) == 4, "a line's length, behind any point");
