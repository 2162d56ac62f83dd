// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWideBvhLayout.h"

#include <cstdint>

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
    std::uint64_t liveTiles;   ///< tiles that have rays left
    std::uint32_t jobIndex;    ///< in the job
    std::uint32_t activeTiles; ///< tiles that the ray phase has something to do for
};

/// A tile of a vertex under way: its rays, and what the ray phase has left to do for it.
struct alignas(64) ktTileState {
    static constexpr std::uint32_t maxPending = 8;

    ktRayTask* stack;      ///< its own
    ktRayTask* top;        ///< behind the next task; equal to `stack` when there is none
    ktVertexState* vertex; ///< the vertex
    std::uint64_t bit;     ///< its bit among those of the vertex
    float origin[3];       ///< of the vertex
    std::uint32_t live;    ///< rays that have met nothing yet
    std::uint32_t index;   ///< among all slots
    std::uint32_t pendingCount, pendingNext;
    alignas(64) float reciprocal[3][16]; ///< one over the rays, finite; [axis][ray]
    float direction[3][16];              ///< world-space directions
    float center[3], halfExtent[3];      ///< middle and half extent of the directions
    ktRayTask pending[maxPending];       ///< where its rays start, nearest first

    // Nearest hits only, of each ray.
    alignas(64) float tFar[16]; ///< distance of the nearest hit so far, else the maximum distance; -1 for padding
    std::uint32_t hit[16];      ///< number of the triangle
    float u[16], v[16];         ///< weights of its second and third corner
    std::uint32_t backSide;     ///< bit i: ray i met the back of the surface
};

/// A leaf that some rays of a slot have come to.
struct ktLeafTask {
    ktWideBvhRef ref;
    ktTileState* tile;
    std::uint32_t rays;
};

/// Everything about the vertices under way that is computed once and used all the way down, and the stacks. Each vertex
/// has a run of slots, one for each of its tiles. One per thread: about 1.6 MB, nearly all of it stacks that are
/// touched only as deep as a tree is.
struct alignas(64) ktTraversalState {
    static constexpr std::uint32_t maxTiles = 128;
    static constexpr std::uint32_t maxVertices = 8; ///< vertices under way, at most
    static constexpr std::uint32_t stackSize = 7 * ktWideBvhLayout::maxDepth + 16;

    float minDistance, maxDistance;
    float minCosine;
    std::uint32_t bothSides;
    std::uint32_t tileShift; ///< a vertex has 1 << slotShift slots: 16, 32 or 64
    std::uint32_t fewTiles;  ///< at this many tiles or fewer, a node goes on ray by ray
    std::uint64_t activeCount;
    ktTileState* active[maxTiles]; ///< slots that have something left to do in the ray phase
    ktLeafTask leafTask[maxTiles];
    ktVertexState vertex[maxVertices];
    // Reciprocal intervals, [axis][slot]; see ktVertexSetup.h.
    alignas(64) float enterAbove[3][maxTiles];
    float enterBelow[3][maxTiles], leaveAbove[3][maxTiles], leaveBelow[3][maxTiles];
    float leaveFirst[3][maxTiles], leaveSecond[3][maxTiles];
    float tileTFar[maxTiles]; ///< nearest hits only: the largest reach of each slot's rays
    ktTileState tile[maxTiles];
    ktTileTask tileStack[stackSize];
    ktRayTask rayStack[maxTiles][stackSize];
};
