// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWideBvhLayout.h"

#include <cstdint>

// The functions that are compiled once for each instruction set, and the plain data they work on. Nothing here may be
// an inline function.

struct ktTileBatch;
struct ktRayLimits;
struct ktRayPacket;
struct ktRayVertex;

/// Work still to do for all tiles of a vertex: a node or leaf, and which tiles go there.
struct ktTileTask {
    ktWideBvhRef ref;
    std::uint64_t tiles;
    const float* box; ///< lowest x of its box in the parent's node; null for the root
    float distance;   ///< nothing in it is nearer to the vertex
};

/// Work still to do for one tile: a node or leaf, and which rays go there.
struct ktRayTask {
    ktWideBvhRef ref;
    std::uint32_t rays;
    float distance; ///< none of them enters it before
};

/// A vertex under way.
struct alignas(64) ktVertexState {
    float origin[4], normal[4];
    std::uint64_t liveTiles; ///< tiles that have rays left
    std::uint32_t number;    ///< in the job
    std::uint32_t busy;      ///< tiles that the ray phase has something to do for
};

/// A tile of a vertex under way: its rays, and what the ray phase has left to do for it.
struct alignas(64) ktTileState {
    static constexpr std::uint32_t mostWaiting = 8;

    ktRayTask* stack;     ///< its own
    ktRayTask* top;       ///< behind the next task; equal to `stack` when there is none
    ktVertexState* point; ///< the vertex
    std::uint64_t tile;   ///< its bit among those of the vertex
    float origin[3];      ///< of the vertex
    std::uint32_t live;   ///< rays that have met nothing yet
    std::uint32_t number; ///< among all slots
    std::uint32_t waitingCount, waitingNext;
    alignas(64) float reciprocal[3][16]; ///< one over the rays, finite; [axis][ray]
    float ray[3][16];                    ///< world-space directions
    float middle[3], half[3];            ///< middle and half extent of the directions
    ktRayTask waiting[mostWaiting];      ///< where its rays start, nearest first

    // Nearest hits only, of each ray.
    alignas(64) float reach[16]; ///< distance of the nearest hit so far, else the maximum distance; -1 for padding
    std::uint32_t hit[16];       ///< number of the triangle
    float u[16], v[16];          ///< weights of its second and third corner
    std::uint32_t back;          ///< bit i: ray i met the back of the surface
};

/// A leaf that some rays of a slot have come to.
struct ktLeafTask {
    ktWideBvhRef ref;
    ktTileState* slot;
    std::uint32_t rays;
};

/// Everything about the vertices under way that is computed once and used all the way down, and the stacks. Each vertex
/// has a run of slots, one for each of its tiles. One per thread: about 1.6 MB, nearly all of it stacks that are
/// touched only as deep as a tree is.
struct alignas(64) ktTraversalState {
    static constexpr std::uint32_t slots = 128;
    static constexpr std::uint32_t points = 8; ///< vertices under way, at most
    static constexpr std::uint32_t stackSize = 7 * ktWideBvhLayout::depth + 16;

    float minDistance, maxDistance;
    float lowest;
    std::uint32_t bothSides;
    std::uint32_t slotShift; ///< a vertex has 1 << slotShift slots: 16, 32 or 64
    std::uint32_t fewTiles;  ///< at this many tiles or fewer, a node goes on ray by ray
    std::uint64_t busyCount;
    ktTileState* busy[slots]; ///< slots that have something left to do in the ray phase
    ktLeafTask leafTask[slots];
    ktVertexState point[points];
    // Reciprocal intervals, [axis][slot]; see ktVertexSetup.h.
    alignas(64) float enterAbove[3][slots];
    float enterBelow[3][slots], leaveAbove[3][slots], leaveBelow[3][slots];
    float leaveFirst[3][slots], leaveSecond[3][slots];
    float tileReach[slots]; ///< nearest hits only: the largest reach of each slot's rays
    ktTileState slot[slots];
    ktTileTask tileStack[stackSize];
    ktRayTask rayStack[slots][stackSize];
};

/// Vertices that send the same batch of directions.
struct ktKernelJob {
    const ktTileBatch* batch;
    const ktRayVertex* const* vertices;
    std::uint32_t count;
    const ktRayLimits* limits;
    /// Called for each vertex when all its rays are done, in ascending order: the answers stand in the slots from
    /// `firstSlot` on. Must not trace.
    void (*finished)(void* receiver, std::uint32_t vertex, const ktTraversalState& work, std::uint32_t firstSlot);
    void* receiver;
};

/// A ray of its own.
struct ktKernelRay {
    float origin[3], direction[3];
    float minDistance, maxDistance;
};

/// What it met first.
struct ktKernelHit {
    std::uint32_t triangle; ///< noTriangle: nothing
    float u, v, distance;
    bool back;
};

/// The kernel of one instruction set.
struct ktHemisphereKernel {
    static constexpr std::uint32_t noTriangle = 0xFFFFFFFFu;

    const char* name; ///< for messages and benchmarks
    std::uint32_t lanes;
    /// Which rays meet nothing within the limits; the answers are in the slots' `live`.
    void (*occlusion)(ktWideBvhRef root, const ktKernelJob&, ktTraversalState&);
    /// The nearest hit of every ray; the answers are in the slots' `hit`, `reach`, `u`, `v` and `back`.
    void (*nearest)(ktWideBvhRef root, const ktKernelJob&, ktTraversalState&);
    /// Whether one ray meets something.
    bool (*rayOccluded)(ktWideBvhRef, const ktKernelRay&, bool bothSides);
    /// What one ray meets first.
    ktKernelHit (*rayNearest)(ktWideBvhRef, const ktKernelRay&, bool bothSides);
};

extern const ktHemisphereKernel ktHemisphereKernelBase;
#ifdef KT_HEMISPHERE_X86
extern const ktHemisphereKernel ktHemisphereKernelAvx2;
extern const ktHemisphereKernel ktHemisphereKernelAvx512;
#endif
