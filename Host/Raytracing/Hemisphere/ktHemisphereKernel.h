// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHemisphereStructure.h"

#include <cstdint>

// The functions that are compiled once for each instruction set, and the plain data they work on. Nothing here may be
// an inline function.

struct ktHemisphereBatch;
struct ktRayLimits;
struct ktRayPacket;
struct ktRayVertex;

/// Work still to do for all tiles: a node or leaf, and which tiles go there.
struct ktHemisphereTileTask {
    ktHemisphereRef ref;
    std::uint64_t tiles;
    const float* box; ///< lowest x of its box in the parent's node; null for the root
    float distance;   ///< nothing in it is nearer to the vertex
};

/// Work still to do for one tile: a node or leaf, and which rays go there.
struct ktHemisphereRayTask {
    ktHemisphereRef ref;
    std::uint32_t rays;
    float distance; ///< none of them enters it before
};

/// Everything about one vertex that is computed once and used all the way down, and the stacks. One per thread: about
/// 800 KB, nearly all of it stacks that are touched only as deep as a tree is.
struct alignas(64) ktHemisphereWork {
    float ray[64][3][16];        ///< world-space directions, [tile][axis][ray]
    float reciprocal[64][3][16]; ///< one over them, finite
    // Reciprocal intervals, [axis][tile]; see ktHemisphereVertex.h.
    float enterAbove[3][64], enterBelow[3][64], leaveAbove[3][64], leaveBelow[3][64];
    float leaveFirst[3][64], leaveSecond[3][64];
    float middle[3][64], half[3][64]; ///< [axis][tile]: middle and half extent of its directions
    float origin[4], normal[4];
    float minDistance, maxDistance;
    float lowest;
    std::uint32_t bothSides;
    std::uint64_t liveTiles;
    std::uint32_t live[64]; ///< rays of each tile that have met nothing yet
    std::uint32_t fewTiles; ///< at this many tiles or fewer, a node goes on ray by ray
    static constexpr std::uint32_t stackSize = 7 * ktHemisphereLimits::depth + 16;
    static constexpr std::uint32_t mostWaiting = 8;
    ktHemisphereTileTask tileStack[stackSize];
    ktHemisphereRayTask rayStack[64][stackSize];
    ktHemisphereRayTask waiting[64][mostWaiting]; ///< [tile]: where its rays start, nearest first
    std::uint8_t waitingCount[64];
    std::uint8_t busy[64]; ///< tiles that have something waiting
    std::uint32_t busyCount;

    // Nearest hits only, [tile][ray].
    alignas(64) float reach[64][16]; ///< distance of the nearest hit so far, else the maximum distance; -1 for padding
    alignas(64) float tileReach[64]; ///< the largest of a tile
    std::uint32_t hit[64][16];       ///< number of the triangle
    alignas(64) float u[64][16];
    alignas(64) float v[64][16]; ///< weights of its second and third corner
    std::uint32_t back[64];      ///< bit i: ray i met the back of the surface
};

/// A ray of its own.
struct ktHemisphereRay {
    float origin[3], direction[3];
    float minDistance, maxDistance;
};

/// What it met first.
struct ktHemisphereHit {
    std::uint32_t triangle; ///< noTriangle: nothing
    float u, v, distance;
    bool back;
};

/// The kernel of one instruction set.
struct ktHemisphereKernel {
    static constexpr std::uint32_t noTriangle = 0xFFFFFFFFu;

    const char* name; ///< for messages and benchmarks
    std::uint32_t lanes;
    /// Which rays of a batch meet nothing within the limits; the answer is in work.live.
    void (*occlusion)(const ktHemisphereView&, const ktHemisphereBatch&, const ktRayVertex&, const ktRayLimits&,
                      ktHemisphereWork&);
    /// The nearest hit of every ray of a batch; the answer is in work.hit, reach, u, v and back.
    void (*nearest)(const ktHemisphereView&, const ktHemisphereBatch&, const ktRayVertex&, const ktRayLimits&,
                    ktHemisphereWork&);
    /// Whether one ray meets something.
    bool (*rayOccluded)(const ktHemisphereView&, const ktHemisphereRay&, bool bothSides);
    /// What one ray meets first.
    ktHemisphereHit (*rayNearest)(const ktHemisphereView&, const ktHemisphereRay&, bool bothSides);
};

extern const ktHemisphereKernel ktHemisphereKernelBase;
#ifdef KT_HEMISPHERE_X86
extern const ktHemisphereKernel ktHemisphereKernelAvx2;
extern const ktHemisphereKernel ktHemisphereKernelAvx512;
#endif
