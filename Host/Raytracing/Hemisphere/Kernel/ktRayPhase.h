// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The ray phase: traces rays of the tiles that the tile phase handed over (ktTilePhase.h draws this). With many rays,
// the tile's intervals are tested against eight boxes, then its rays against each box left. With few rays, each ray is
// tested against eight boxes or eight triangles at once.

#include "ktNearestHit.h"

namespace KT_ISA {

// Up to this many rays are tested one by one.
constexpr int kFewRays = 8;

KT_INLINE void endRays(ktTileState& tile, std::uint32_t rays) {
    tile.live &= ~rays;
    tile.vertex->liveTiles &= ~(tile.live ? 0 : tile.bit);
}

/// Tests some rays of a tile against the triangles of a leaf.
template <bool nearest, class Levels>
KT_INLINE void leafRays(const Levels& levels, ktTraversalState& state, ktTileState& tile, std::uint32_t rays,
                        ktWideBvhRef ref) {
    const float* planeNormal = state.minCosine > 0 ? tile.vertex->normal : nullptr;
    std::uint32_t hit = 0;
    const auto test = [&](const std::uint32_t* ids, const PreparedTriangles& triangles) {
        if (__builtin_popcount(rays) <= kFewRays) {
            for (std::uint32_t remaining = rays; remaining; remaining &= remaining - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(remaining));
                if (nearest) {
                    updateNearestOfRay(state, tile, lane, ids, triangles);
                } else {
                    const float d[3] = {tile.direction[0][lane], tile.direction[1][lane], tile.direction[2][lane]};
                    const bool met = trianglesOnRay(triangles, d, state.minDistance, state.maxDistance);
                    hit |= static_cast<std::uint32_t>(met) << lane;
                }
            }
        } else {
            const Vector<16> d = loadVector<16>(tile.direction);
            for (std::uint32_t remaining = trianglesInTile(triangles, tile); remaining; remaining &= remaining - 1) {
                const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(remaining));
                if (nearest)
                    updateNearest(state, tile, ids, triangles, i);
                else
                    hit |= raysThroughTriangle(triangles, i, d, state.minDistance, state.maxDistance);
            }
        }
        return true;
    };
    forEachPrepared(levels, ref, tile.origin, planeNormal, state.bothSides, test);
    if (!nearest)
        endRays(tile, hit & rays);
}

/// Tests the leaves that tiles reached in a round. Not inlined: inside rayPhase() it needs so many registers that
/// compilers keep loop variables in memory.
template <bool nearest, class Levels>
__attribute__((noinline)) void leafPhase(Levels levels, ktTraversalState& state, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        const ktLeafTask& task = state.leafTask[i];
        leafRays<nearest>(levels, state, *task.tile, task.rays, task.ref);
    }
}

/// Processes the tasks of all active tiles in rounds, one task per tile: while a tile waits for memory, others advance.
/// @param stopVertex returns when this vertex has no active tile; null: when no tile is active
template <bool nearest, class Levels>
inline void rayPhase(const Levels& levels, ktTraversalState& state, const ktVertexState* stopVertex = nullptr) {
    std::uint64_t leafCount = 0;
    for (std::uint64_t activeIndex = 0; state.activeCount; ++activeIndex) {
        if (activeIndex >= state.activeCount) {
            leafPhase<nearest>(levels, state, leafCount);
            activeIndex = leafCount = 0;
        }
        ktTileState& tile = *state.active[activeIndex];
        ktRayTask *top = tile.top, *const stack = tile.stack;
        ktWideBvhRef ref = 0;
        std::uint32_t rays = 0;
        // Takes a task; returns whether some of its rays can still hit.
        const auto take = [&](const ktRayTask& task) {
            ref = task.ref;
            rays = task.rays & (nearest ? (Float16(task.distance) <= Float16::load(tile.tFar)).bits() : tile.live);
            return rays != 0;
        };
        while (top != stack && !take(*--top))
            ;
        tile.top = top;
        if (!rays && tile.pendingNext < tile.pendingCount) {
            if (!take(tile.pending[tile.pendingNext++]))
                continue;
        } else if (!rays) {
            tile.pendingCount = tile.pendingNext = 0;
            state.active[activeIndex] = state.active[--state.activeCount];
            if (!--tile.vertex->activeTiles && tile.vertex == stopVertex)
                break;
            continue;
        }
        if (ref & ktWideBvhLayout::leafFlag) {
            state.leafTask[leafCount++] = {ref, &tile, rays};
            continue;
        }
        const ktWideBvhNode& node = levels.nodeAt(ref);
        Float8 lower[3], upper[3];
        const float(*const reciprocal)[16] = levels.boxesForRays(state, tile, ref, node, lower, upper);
        std::uint32_t hit = 0;
        alignas(32) std::uint32_t mask[8];
        Float8 enter = state.minDistance, first = kHuge;
        if (__builtin_popcount(rays) <= kFewRays) {
            Float8 bits = 0.0f;
            for (std::uint32_t remaining = rays; remaining; remaining &= remaining - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(remaining));
                Float8 leave = nearest ? tile.tFar[lane] : state.maxDistance;
                enter = state.minDistance;
                for (int axis = 0; axis < 3; ++axis) {
                    const Float8 r = reciprocal[axis][lane];
                    const Float8 a = lower[axis] * r, b = upper[axis] * r;
                    enter = max(enter, min(a, b));
                    leave = min(leave, max(a, b));
                }
                const Mask<8> through = enter <= leave * Float8(kExitMargin);
                hit |= through.bits();
                bits = orBits(bits, through, 1u << lane);
                first = min(first, enter);
            }
            enter = first;
            bits.store(reinterpret_cast<float*>(mask));
        } else {
            alignas(32) float box[6][8];
            Float8 leave = nearest ? state.tileTFar[tile.index] : state.maxDistance;
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis].store(box[axis]);
                upper[axis].store(box[axis + 3]);
            }
            levels.boxesForTile(tile, ref, node, lower, upper);
            for (int axis = 0; axis < 3; ++axis) {
                enter = max(enter, max(lower[axis] * Float8(state.enterAbove[axis][tile.index]),
                                       upper[axis] * Float8(state.enterBelow[axis][tile.index])));
                leave = min(leave, max(upper[axis] * Float8(state.leaveFirst[axis][tile.index]),
                                       lower[axis] * Float8(state.leaveSecond[axis][tile.index])));
            }
            for (std::uint32_t remaining = (enter <= leave * Float8(kExitMargin)).bits(); remaining;
                 remaining &= remaining - 1) {
                const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(remaining));
                mask[child] =
                    rays & raysThroughBox<nearest>(state, tile, reciprocal, &box[0][child], &box[3][child], 8);
                hit |= static_cast<std::uint32_t>(mask[child] != 0) << child;
            }
        }
        if (!hit)
            continue;
        alignas(32) float key[8];
        sortKey(enter * Float8(kEnterMargin)).store(key);
        const std::uint32_t hitCount = static_cast<std::uint32_t>(__builtin_popcount(hit));
        for (std::uint32_t remaining = hit; remaining; remaining &= remaining - 1) {
            const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(remaining));
            const ktWideBvhRef childRef = levels.childOf(ref, node, child);
            prefetch(levels, childRef);
            top[hitCount - 1 - rankOf(key, hit, child)] = {childRef, mask[child], key[child]};
        }
        tile.top = top + hitCount;
    }
    leafPhase<nearest>(levels, state, leafCount);
}

} // namespace KT_ISA
