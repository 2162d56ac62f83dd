// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The way down for some rays of one tile: the tile's intervals against eight boxes, then its rays against each box that
// is left; when only a few rays are left, each against eight boxes, and four triangles, at once.

#include "ktHemisphereNearest.h"

namespace KT_LANES {

// At this many rays or fewer, rays are tested one by one.
constexpr int kFewRays = 8;

KT_INLINE void endRays(ktHemisphereWork& work, ktHemispherePoint& point, std::uint32_t slot, std::uint32_t rays) {
    work.live[slot] &= ~rays;
    point.liveTiles &= ~(std::uint64_t(!work.live[slot]) << (slot & ((1u << work.slotShift) - 1)));
}

/// Some rays of a tile against the triangles of a leaf.
template <bool nearest>
KT_INLINE void leafRays(ktHemisphereWork& work, ktHemispherePoint& point, std::uint32_t slot, std::uint32_t rays,
                        ktHemisphereRef ref) {
    const float* planeNormal = work.lowest > 0 ? point.normal : nullptr;
    std::uint32_t hit = 0;
    const auto test = [&](const ktHemisphereBlock* block, const auto& seen) {
        constexpr int count = sizeof(seen.height) / sizeof(float);
        if (__builtin_popcount(rays) <= kFewRays) {
            for (std::uint32_t left = rays; left; left &= left - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
                if (nearest) {
                    keepNearestOfRay(work, slot, lane, block, seen);
                } else {
                    const float d[3] = {work.ray[slot][0][lane], work.ray[slot][1][lane], work.ray[slot][2][lane]};
                    const bool met = trianglesOnRay<count>(seen, d, work.minDistance, work.maxDistance);
                    hit |= static_cast<std::uint32_t>(met) << lane;
                }
            }
        } else {
            const Vector<16> d = loadVector<16>(work.ray[slot]);
            for (std::uint32_t left = trianglesInTile(seen, work, slot); left; left &= left - 1) {
                const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(left));
                if (nearest)
                    keepNearest(work, slot, block, seen, i);
                else
                    hit |= raysThroughTriangle(seen, i, d, work.minDistance, work.maxDistance);
            }
        }
        return true;
    };
    eachSeen(ref, point.origin, planeNormal, work.bothSides, test);
    if (!nearest)
        endRays(work, point, slot, hit & rays);
}

/// Works down the tasks of all slots, one step of each in turn: while one waits for memory, the others go on.
/// Returns when nothing is left, or nothing for `until`.
template <bool nearest>
inline void rayPhase(ktHemisphereWork& work, const ktHemispherePoint* until = nullptr) {
    for (std::uint32_t turn = 0; work.busyCount; turn = turn + 1 < work.busyCount ? turn + 1 : 0) {
        const std::uint32_t slot = work.busy[turn];
        ktHemispherePoint& point = work.point[slot >> work.slotShift];
        ktHemisphereRayTask* const stack = work.rayStack[slot];
        std::uint32_t top = work.stackTop[slot];
        ktHemisphereRayTask task;
        if (top) {
            task = stack[--top];
            work.stackTop[slot] = top;
        } else if (work.waitingNext[slot] < work.waitingCount[slot]) {
            task = work.waiting[slot][work.waitingNext[slot]++];
        } else {
            work.waitingCount[slot] = work.waitingNext[slot] = 0;
            work.busy[turn] = work.busy[--work.busyCount];
            --point.busy;
            if (&point == until && !point.busy)
                return;
            continue;
        }
        const ktHemisphereRef ref = task.ref;
        std::uint32_t rays = task.rays;
        if (nearest)
            rays &= (Float16(task.distance) <= Float16::load(work.reach[slot])).bits();
        else
            rays &= work.live[slot];
        if (!rays)
            continue;
        if (ref & ktHemisphereLimits::leafFlag) {
            leafRays<nearest>(work, point, slot, rays, ref);
            continue;
        }
        const ktHemisphereNode& node = nodeAt(ref);
        Float8 lower[3], upper[3];
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 o = point.origin[axis];
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
                Float8 leave = nearest ? work.reach[slot][lane] : work.maxDistance;
                enter = work.minDistance;
                for (int axis = 0; axis < 3; ++axis) {
                    const Float8 r = work.reciprocal[slot][axis][lane];
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
            Float8 leave = nearest ? work.tileReach[slot] : work.maxDistance;
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis].store(box[axis]);
                upper[axis].store(box[axis + 3]);
                enter = larger(enter, larger(lower[axis] * Float8(work.enterAbove[axis][slot]),
                                             upper[axis] * Float8(work.enterBelow[axis][slot])));
                leave = smaller(leave, larger(upper[axis] * Float8(work.leaveFirst[axis][slot]),
                                              lower[axis] * Float8(work.leaveSecond[axis][slot])));
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
            const ktHemisphereRef below = node.child[child];
            prefetch(below);
            stack[top + more - 1 - rankOf(key, hit, child)] = {below, mask[child], key[child]};
        }
        work.stackTop[slot] = top + more;
    }
}

} // namespace KT_LANES
