// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWideBvhLayout.h"

#include <cstdint>

// The plain data of a traversal: what is computed once for a vertex, and what is left to do. The kernels of all
// instruction sets use it, so nothing here may be an inline function.

/// Work left for the tiles of a vertex: a node or leaf, and the tiles that go there.
struct ktTileTask {
    ktWideBvhRef ref;
    std::uint64_t tiles;
    const float* box;          ///< lower x of its box in the parent node; null for the root
    float distance;            ///< lower bound of its distance to the vertex
    std::uint32_t boxInstance; ///< whose space the box is in; see ktTwoLevelLayout.h
};

/// Work left for one tile: a node or leaf, and the rays that go there.
struct ktRayTask {
    ktWideBvhRef ref;
    std::uint32_t rays;
    float distance; ///< lower bound of its distance along the rays
};

/// A vertex that is being traced.
struct alignas(64) ktVertexState {
    float origin[4], normal[4];
    std::uint64_t liveTiles;   ///< tiles with live rays
    std::uint32_t jobIndex;    ///< its index in ktKernelJob::vertices
    std::uint32_t activeTiles; ///< number of its tiles that have work left for the ray phase
};

/// A tile of such a vertex: its rays, and the work that the ray phase has left for them.
struct alignas(64) ktTileState {
    static constexpr std::uint32_t maxPending = 8;

    ktRayTask* stack;      ///< this tile's part of ktTraversalState::rayStack
    ktRayTask* top;        ///< one past the next task; equal to `stack` if there is none
    ktVertexState* vertex; ///< the tile's vertex
    std::uint64_t bit;     ///< the tile's bit in tile masks of the vertex
    float origin[3];       ///< of the vertex
    std::uint32_t live;    ///< bit i: ray i has hit nothing yet
    std::uint32_t index;   ///< in ktTraversalState::tile
    std::uint32_t pendingCount, pendingNext;
    alignas(64) float reciprocal[3][16]; ///< of the directions, finite; [axis][ray]
    float direction[3][16];              ///< world space, unit length
    float center[3], halfExtent[3];      ///< of the box around the directions
    ktRayTask pending[maxPending];       ///< subtrees that its rays start with, nearest first

    // For nearest hits only, per ray:
    alignas(64) float tFar[16]; ///< distance of the nearest hit so far, else the maximum distance; -1 for padding
    std::uint32_t hit[16];      ///< id of the triangle
    float u[16], v[16];         ///< barycentric: weights of its second and third corner
    std::uint32_t backSide;     ///< bit i: ray i hit the back side
};

/// The rays of a tile in the space of the instance that they visited last.
struct alignas(64) ktTileInInstance {
    float reciprocal[3][16]; ///< as ktTileState::reciprocal
    float belowOf[3];        ///< origin for lower sides of boxes: these get lower by the rounding of the rays
    float aboveOf[3];        ///< origin for upper sides
    std::uint32_t instance;  ///< 0: none
};

/// A leaf that some rays of a tile have reached.
struct ktLeafTask {
    ktWideBvhRef ref;
    ktTileState* tile;
    std::uint32_t rays;
};

/// All state of a traversal, and the stacks. Each vertex has a run of tile states. There is one object per thread. It
/// takes about 1.6 MB, nearly all of it stacks, of which a traversal touches only as much as the tree is deep.
struct alignas(64) ktTraversalState {
    static constexpr std::uint32_t maxTiles = 128;
    static constexpr std::uint32_t maxVertices = 8; ///< traced at a time
    static constexpr std::uint32_t stackSize = 7 * ktWideBvhLayout::maxDepth + 16;

    float minDistance, maxDistance;
    float minCosine;
    std::uint32_t bothSides;
    std::uint32_t tileShift; ///< a vertex has 1 << tileShift tile states: 16, 32 or 64
    std::uint32_t fewTiles;  ///< a node with at most this many tiles left goes to the ray phase
    std::uint64_t activeCount;
    ktTileState* active[maxTiles]; ///< tiles with work left for the ray phase
    ktLeafTask leafTask[maxTiles];
    ktVertexState vertex[maxVertices];
    // Reciprocals of the tiles' direction intervals, [axis][tile]; see ktVertexSetup.h.
    alignas(64) float enterAbove[3][maxTiles];
    float enterBelow[3][maxTiles], leaveAbove[3][maxTiles], leaveBelow[3][maxTiles];
    float leaveFirst[3][maxTiles], leaveSecond[3][maxTiles];
    float tileTFar[maxTiles]; ///< for nearest hits only: largest tFar of each tile
    ktTileState tile[maxTiles];
    ktTileTask tileStack[stackSize];
    ktRayTask rayStack[maxTiles][stackSize];
    ktTileInInstance tileInInstance[maxTiles]; ///< for two-level BVHs only
};
