// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The tile phase: traces all tiles of one vertex together, whole tiles against boxes. Where few tiles are left, it
// hands the node over to the ray phase (ktRayPhase.h), which traces rays.
//
//    TILE PHASE, one vertex                       RAY PHASE, tiles of all vertices in flight
//
//    stack                                        active tiles     each has: pending     stack
//    +-------------------------+                  +---------+      +-------------+       +-------------+
//    | node  tiles 1111011011  |   few tiles      | tile 3  | ---> | node, rays  | ----> | node, rays  |
//    | node  tiles 0000000100  | ---------------> | tile 7  |      | leaf, rays  |       | node, rays  |
//    | leaf  tiles 1100010011  |   node, rays     | ...     |      +-------------+       +-------------+
//    +-------------------------+                  +---------+
//        | many tiles                                 | in rounds: each active tile takes one task
//        v                                            v
//    node: tiles x 8 boxes,                       node: rays x 8 boxes, push and prefetch the children hit
//          push the children hit                  leaf: tested at the end of the round: rays x triangles
//    leaf: tiles x triangles                      none: the tile is no longer active
//
// The tile phase pauses when 32 tiles are active or a tile has 8 pending tasks. Then the ray phase runs until no tile
// is active. Before the answers of a vertex are given out, it runs until that vertex has no active tile.

#include "ktRayPhase.h"

namespace KT_ISA {

/// The children of a node, prepared for tests of whole tiles. Coordinates are relative to the vertex.
struct alignas(32) ChildBoxes {
    float nearest[3][8];      ///< coordinate of the box nearest to the vertex; 0 if the vertex is inside the slab
    float upper[3][8];        ///< huge if the box is below the vertex
    float lower[3][8];        ///< minus huge if the box is above the vertex
    float key[8];             ///< sorts by distance
    std::uint32_t below[3];   ///< bit i: child i is below the vertex on this axis
    std::uint32_t candidates; ///< bit i: a ray of some tile can hit child i
};

template <class Boxes>
KT_INLINE void prepareChildren(const Boxes& children, const ktTraversalState& state, const ktVertexState& vertex,
                               ChildBoxes& boxes) {
    const Float8 zero = 0.0f, huge = kHuge, minusHuge = -kHuge;
    Float8 nearSquared = zero, farSquared = zero, elevation = zero, size = zero;
    for (int axis = 0; axis < 3; ++axis) {
        const Float8 n = vertex.normal[axis];
        const Float8 lower = children.lower(axis), upper = children.upper(axis);
        const Mask<8> below = upper <= zero, above = zero <= lower;
        boxes.below[axis] = below.bits();
        select(below, huge, upper).store(boxes.upper[axis]);
        select(above, minusHuge, lower).store(boxes.lower[axis]);
        // A NaN as second argument stays NaN.
        const Float8 nearest = max(zero, lower) + min(zero, upper);
        nearest.store(boxes.nearest[axis]);
        nearSquared = mulAdd(nearest, nearest, nearSquared);
        const Float8 farthest = max(zero - lower, upper);
        farSquared = mulAdd(farthest, farthest, farSquared);
        elevation = elevation + max(lower * n, upper * n);
        size = size + farthest;
    }
    sortKey(nearSquared).store(boxes.key);
    // A ray rises by at least `minCosine` per unit of length; nothing in the box is higher than `elevation`.
    const Float8 margin = size * Float8(1e-6f);
    const Float8 top = max(zero, elevation + margin);
    const Float8 minCosine = state.minCosine;
    const Float8 maxDistance = state.maxDistance, minDistance = state.minDistance;
    boxes.candidates = ((minCosine * minCosine * nearSquared <= top * top * Float8(1.00001f)) &
                        (zero < elevation + margin) & (nearSquared <= maxDistance * maxDistance * Float8(1.00001f)) &
                        (minDistance * minDistance <= farSquared * Float8(1.00001f)))
                           .bits();
}

/// Which of 16 tiles can have a ray through the child's box. Conservative.
template <bool nearest>
KT_INLINE std::uint32_t tilesThroughBox(const ktTraversalState& state, const ChildBoxes& boxes, std::uint32_t child,
                                        std::uint32_t firstTile) {
    Float16 enter = state.minDistance;
    Float16 leave = nearest ? Float16::load(&state.tileTFar[firstTile]) : Float16(state.maxDistance);
    for (int axis = 0; axis < 3; ++axis) {
        const float* scale = (boxes.below[axis] >> child & 1 ? state.enterBelow : state.enterAbove)[axis];
        enter = max(enter, Float16(boxes.nearest[axis][child]) * Float16::load(scale + firstTile));
        leave = min(leave, Float16(boxes.upper[axis][child]) * Float16::load(&state.leaveAbove[axis][firstTile]));
        leave = min(leave, Float16(boxes.lower[axis][child]) * Float16::load(&state.leaveBelow[axis][firstTile]));
    }
    return (enter <= leave * Float16(kExitMargin)).bits();
}

// For each set of four triangles, their indices in steps of 16 bits.
constexpr std::uint64_t kTriangleLists[16] = {
    0, 0,       1,       0x10000,        2,       0x20000,        0x20001,        0x200010000ull,
    3, 0x30000, 0x30001, 0x300010000ull, 0x30002, 0x300020000ull, 0x300020001ull, 0x3000200010000ull};

/// Tests several tiles against the triangles of a leaf.
template <bool nearest, class Levels>
inline void leafTiles(const Levels& levels, ktTraversalState& state, ktVertexState& vertex, std::uint32_t firstTile,
                      std::uint64_t tiles, ktWideBvhRef ref) {
    const float* planeNormal = state.minCosine > 0 ? vertex.normal : nullptr;
    const auto test = [&](const std::uint32_t* ids, const PreparedTriangles& triangles) {
        constexpr std::uint32_t count = kLeafTriangles;
        // First lists all pairs of tile and triangle that can meet, then tests them: fewer branches than nested loops.
        std::uint16_t pair[64 * count + 4];
        std::uint32_t pairs = 0;
        for (std::uint64_t remaining = tiles; remaining; remaining &= remaining - 1) {
            const std::uint32_t t = static_cast<std::uint32_t>(__builtin_ctzll(remaining));
            const std::uint32_t candidates = trianglesInTile(triangles, state.tile[firstTile + t]);
            for (std::uint32_t from = 0; from < count; from += 4) {
                const std::uint32_t four = candidates >> from & 15;
                const std::uint64_t list = kTriangleLists[four] + (t * count + from) * 0x0001000100010001ull;
                std::memcpy(pair + pairs, &list, sizeof list);
                pairs += static_cast<std::uint32_t>(__builtin_popcount(four));
            }
        }
        for (std::uint32_t i = 0; i < pairs; ++i) {
            ktTileState& tile = state.tile[firstTile + pair[i] / count];
            const std::uint32_t triangle = pair[i] % count;
            if (nearest)
                updateNearest(state, tile, ids, triangles, triangle);
            else
                tile.live &= ~raysThroughTriangle(triangles, triangle, loadVector<16>(tile.direction),
                                                  state.minDistance, state.maxDistance);
        }
        return true;
    };
    forEachPrepared(levels, ref, vertex.origin, planeNormal, state.bothSides, test);
    if (nearest)
        return;
    for (std::uint64_t remaining = tiles; remaining; remaining &= remaining - 1) {
        const std::uint32_t t = static_cast<std::uint32_t>(__builtin_ctzll(remaining));
        vertex.liveTiles &= ~(std::uint64_t(!state.tile[firstTile + t].live) << t);
    }
}

// With this many active tiles, the ray phase starts: they hide the latency of memory.
constexpr std::uint32_t kEnoughActive = 32;
constexpr std::uint32_t kFewLeafTiles = 2;

/// Which tiles still have a ray with a tFar of at least `distance`.
KT_INLINE std::uint64_t tilesBeyond(const ktTraversalState& state, std::uint32_t firstTile, float distance) {
    std::uint64_t tiles = 0;
    for (std::uint32_t first = 0; first >> state.tileShift == 0; first += 16)
        tiles |= std::uint64_t((Float16(distance) <= Float16::load(&state.tileTFar[firstTile + first])).bits())
                 << first;
    return tiles;
}

template <bool nearest, class Levels>
inline void tilePhase(const Levels& levels, ktTraversalState& state, std::uint32_t vertexIndex) {
    ktVertexState& vertex = state.vertex[vertexIndex];
    const std::uint32_t firstTile = vertexIndex << state.tileShift;
    ktTileTask* const stack = state.tileStack;
    std::uint32_t top = 1;
    stack[0] = {levels.root, vertex.liveTiles, nullptr, 0.0f, 0};
    while (top) {
        --top;
        const ktWideBvhRef ref = stack[top].ref;
        std::uint64_t tiles = stack[top].tiles & vertex.liveTiles;
        if (nearest && stack[top].distance > 0)
            tiles &= tilesBeyond(state, firstTile, stack[top].distance);
        if (!tiles)
            continue;
        const bool leaf = ref & ktWideBvhLayout::leafFlag;
        if (static_cast<std::uint32_t>(__builtin_popcountll(tiles)) <=
            (leaf ? kFewLeafTiles : levels.fewTiles(ref, state.fewTiles))) {
            float lower[3] = {-kHuge, -kHuge, -kHuge}, upper[3] = {kHuge, kHuge, kHuge};
            const float* const box = stack[top].box;
            const std::uint32_t boxInstance = stack[top].boxInstance;
            if (box)
                levels.relativeBox(box, vertex.origin, lower, upper);
            bool full = false;
            for (std::uint64_t remaining = tiles; remaining; remaining &= remaining - 1) {
                ktTileState& tile = state.tile[firstTile + static_cast<std::uint32_t>(__builtin_ctzll(remaining))];
                const float(*const reciprocal)[16] = levels.boxForRays(state, tile, boxInstance, box, lower, upper);
                const std::uint32_t rays =
                    tile.live & raysThroughBox<nearest>(state, tile, reciprocal, lower, upper, 1);
                const std::uint32_t next = tile.pendingCount;
                tile.pending[next] = {ref, rays, 0.0f};
                state.active[state.activeCount] = &tile;
                const bool becomesActive = (rays != 0) & (next == 0);
                state.activeCount += becomesActive;
                vertex.activeTiles += becomesActive;
                tile.pendingCount = next + (rays != 0);
                full |= next + 1 >= ktTileState::maxPending;
            }
            if (full || state.activeCount >= kEnoughActive)
                rayPhase<nearest>(levels, state);
            continue;
        }
        if (leaf) {
            leafTiles<nearest>(levels, state, vertex, firstTile, tiles, ref);
            continue;
        }
        const ktWideBvhNode& node = levels.nodeAt(ref);
        ChildBoxes boxes;
        prepareChildren(levels.boxesOf(ref, node, vertex.origin), state, vertex, boxes);
        std::uint64_t mask[8];
        std::uint16_t part[8][4] = {};
        for (std::uint32_t group = 0; group < 4; ++group) {
            if (!(tiles >> 16 * group & 0xFFFF))
                continue;
            for (std::uint32_t remaining = boxes.candidates; remaining; remaining &= remaining - 1) {
                const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(remaining));
                part[child][group] =
                    static_cast<std::uint16_t>(tilesThroughBox<nearest>(state, boxes, child, firstTile + 16 * group));
            }
        }
        std::memcpy(mask, part, sizeof mask);
        std::uint32_t hit = 0;
        for (std::uint32_t child = 0; child < 8; ++child) {
            mask[child] &= tiles;
            hit |= static_cast<std::uint32_t>(mask[child] != 0) << child;
        }
        const std::uint32_t count = static_cast<std::uint32_t>(__builtin_popcount(hit));
        for (std::uint32_t remaining = hit; remaining; remaining &= remaining - 1) {
            const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(remaining));
            const ktWideBvhRef childRef = levels.childOf(ref, node, child);
            prefetch(levels, childRef);
            stack[top + count - 1 - rankOf(boxes.key, hit, child)] = {
                childRef, mask[child], &node.lower[0][child],
                nearest ? squareRoot(boxes.key[child]) * kEnterMargin : 0.0f, levels.instanceOf(ref)};
        }
        top += count;
    }
}

} // namespace KT_ISA
