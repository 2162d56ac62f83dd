// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The way down for some rays of one tile: the tile's intervals against eight boxes, then its rays against each box that
// is left; when only a few rays are left, each against eight boxes, and eight triangles, at once.

#include "ktNearestHit.h"

namespace KT_ISA {

// At this many rays or fewer, rays are tested one by one.
constexpr int kFewRays = 8;

KT_INLINE void endRays(ktTileState& slot, std::uint32_t rays) {
    slot.live &= ~rays;
    slot.point->liveTiles &= ~(slot.live ? 0 : slot.tile);
}

/// Some rays of a tile against the triangles of a leaf.
template <bool nearest>
KT_INLINE void leafRays(ktTraversalState& work, ktTileState& slot, std::uint32_t rays, ktWideBvhRef ref) {
    const float* planeNormal = work.lowest > 0 ? slot.point->normal : nullptr;
    std::uint32_t hit = 0;
    const auto test = [&](const std::uint32_t* ids, const SeenTriangles& seen) {
        if (__builtin_popcount(rays) <= kFewRays) {
            for (std::uint32_t left = rays; left; left &= left - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
                if (nearest) {
                    keepNearestOfRay(work, slot, lane, ids, seen);
                } else {
                    const float d[3] = {slot.ray[0][lane], slot.ray[1][lane], slot.ray[2][lane]};
                    const bool met = trianglesOnRay(seen, d, work.minDistance, work.maxDistance);
                    hit |= static_cast<std::uint32_t>(met) << lane;
                }
            }
        } else {
            const Vector<16> d = loadVector<16>(slot.ray);
            for (std::uint32_t left = trianglesInTile(seen, slot); left; left &= left - 1) {
                const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(left));
                if (nearest)
                    keepNearest(work, slot, ids, seen, i);
                else
                    hit |= raysThroughTriangle(seen, i, d, work.minDistance, work.maxDistance);
            }
        }
        return true;
    };
    eachSeen(ref, slot.origin, planeNormal, work.bothSides, test);
    if (!nearest)
        endRays(slot, hit & rays);
}

/// The leaves that slots have come to in a round of the ray phase. A function of its own, and not inlined: together
/// with the way down it needs so many registers that compilers keep loop variables in memory.
template <bool nearest>
__attribute__((noinline)) void leafPhase(ktTraversalState& work, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        const ktLeafTask& task = work.leafTask[i];
        leafRays<nearest>(work, *task.slot, task.rays, task.ref);
    }
}

/// Works down the tasks of all slots, one step of each in a round: while one waits for memory, the others go on.
/// Returns when nothing is left, or nothing for `until`.
template <bool nearest>
inline void rayPhase(ktTraversalState& work, const ktVertexState* until = nullptr) {
    std::uint64_t leaves = 0;
    for (std::uint64_t turn = 0; work.busyCount; ++turn) {
        if (turn >= work.busyCount) {
            leafPhase<nearest>(work, leaves);
            turn = leaves = 0;
        }
        ktTileState& slot = *work.busy[turn];
        ktRayTask *top = slot.top, *const stack = slot.stack;
        ktWideBvhRef ref = 0;
        std::uint32_t rays = 0;
        // Takes a task; whether some of its rays go on.
        const auto take = [&](const ktRayTask& task) {
            ref = task.ref;
            rays = task.rays & (nearest ? (Float16(task.distance) <= Float16::load(slot.reach)).bits() : slot.live);
            return rays != 0;
        };
        while (top != stack && !take(*--top))
            ;
        slot.top = top;
        if (!rays && slot.waitingNext < slot.waitingCount) {
            if (!take(slot.waiting[slot.waitingNext++]))
                continue;
        } else if (!rays) {
            slot.waitingCount = slot.waitingNext = 0;
            work.busy[turn] = work.busy[--work.busyCount];
            if (!--slot.point->busy && slot.point == until)
                break;
            continue;
        }
        if (ref & ktWideBvhLayout::leafFlag) {
            work.leafTask[leaves++] = {ref, &slot, rays};
            continue;
        }
        const ktWideBvhNode& node = nodeAt(ref);
        Float8 lower[3], upper[3];
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 o = slot.origin[axis];
            lower[axis] = Float8::load(node.lower[axis]) - o;
            upper[axis] = Float8::load(node.upper[axis]) - o;
        }
        std::uint32_t hit = 0;
        alignas(32) std::uint32_t mask[8];
        Float8 enter = work.minDistance, first = kHuge;
        if (__builtin_popcount(rays) <= kFewRays) {
            Float8 bits = 0.0f;
            for (std::uint32_t left = rays; left; left &= left - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
                Float8 leave = nearest ? slot.reach[lane] : work.maxDistance;
                enter = work.minDistance;
                for (int axis = 0; axis < 3; ++axis) {
                    const Float8 r = slot.reciprocal[axis][lane];
                    const Float8 a = lower[axis] * r, b = upper[axis] * r;
                    enter = larger(enter, smaller(a, b));
                    leave = smaller(leave, larger(a, b));
                }
                const Mask<8> through = enter <= leave * Float8(kExitMargin);
                hit |= through.bits();
                bits = withBits(bits, through, 1u << lane);
                first = smaller(first, enter);
            }
            enter = first;
            bits.store(reinterpret_cast<float*>(mask));
        } else {
            alignas(32) float box[6][8];
            Float8 leave = nearest ? work.tileReach[slot.number] : work.maxDistance;
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis].store(box[axis]);
                upper[axis].store(box[axis + 3]);
                enter = larger(enter, larger(lower[axis] * Float8(work.enterAbove[axis][slot.number]),
                                             upper[axis] * Float8(work.enterBelow[axis][slot.number])));
                leave = smaller(leave, larger(upper[axis] * Float8(work.leaveFirst[axis][slot.number]),
                                              lower[axis] * Float8(work.leaveSecond[axis][slot.number])));
            }
            for (std::uint32_t left = (enter <= leave * Float8(kExitMargin)).bits(); left; left &= left - 1) {
                const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(left));
                mask[child] = rays & raysThroughBox<nearest>(work, slot, &box[0][child], &box[3][child], 8);
                hit |= static_cast<std::uint32_t>(mask[child] != 0) << child;
            }
        }
        if (!hit)
            continue;
        alignas(32) float key[8];
        orderKey(enter * Float8(kEnterMargin)).store(key);
        const std::uint32_t more = static_cast<std::uint32_t>(__builtin_popcount(hit));
        for (std::uint32_t left = hit; left; left &= left - 1) {
            const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(left));
            const ktWideBvhRef below = node.child[child];
            prefetch(below);
            top[more - 1 - rankOf(key, hit, child)] = {below, mask[child], key[child]};
        }
        slot.top = top + more;
    }
    leafPhase<nearest>(work, leaves);
}

} // namespace KT_ISA
