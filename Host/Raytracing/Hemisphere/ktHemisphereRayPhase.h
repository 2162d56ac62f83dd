// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The way down for some rays of one tile: the tile's intervals against eight boxes, then its rays against each box that
// is left; when only a few rays are left, each against eight boxes, and four triangles, at once.

#include "ktHemisphereNearest.h"

namespace KT_LANES {

// At this many rays or fewer, rays are tested one by one.
constexpr int kFewRays = 5;

KT_INLINE void endRays(ktHemisphereWork& work, std::uint32_t tile, std::uint32_t rays) {
    work.live[tile] &= ~rays;
    work.liveTiles &= ~(std::uint64_t(!work.live[tile]) << tile);
}

/// Some rays of a tile against the triangles of a leaf.
template <bool nearest>
KT_INLINE void leafRays(const ktHemisphereView& view, ktHemisphereWork& work, std::uint32_t tile, std::uint32_t rays,
                        ktHemisphereRef ref) {
    const float* planeNormal = work.lowest > 0 ? work.normal : nullptr;
    std::uint32_t hit = 0;
    const ktHemisphereBlock* block = firstBlock(view, ref);
    const ktHemisphereBlock* const end = block + blockCount(ref);
    for (; block != end; ++block) {
        SeenBlock seen;
        seeBlock(*block, work.origin, planeNormal, work.bothSides, seen);
        if (!seen.usable)
            continue;
        if (__builtin_popcount(rays) <= kFewRays) {
            for (std::uint32_t left = rays; left; left &= left - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
                if (nearest) {
                    keepNearestOfRay(work, tile, lane, *block, seen);
                } else {
                    const float d[3] = {work.ray[tile][0][lane], work.ray[tile][1][lane], work.ray[tile][2][lane]};
                    const bool met = trianglesOnRay(seen, d, work.minDistance, work.maxDistance);
                    hit |= static_cast<std::uint32_t>(met) << lane;
                }
            }
        } else {
            const Vector<16> d = loadVector<16>(work.ray[tile]);
            for (std::uint32_t left = trianglesInTile(seen, work, tile); left; left &= left - 1) {
                const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(left));
                if (nearest)
                    keepNearest(work, tile, *block, seen, i);
                else
                    hit |= raysThroughTriangle(seen, i, d, work.minDistance, work.maxDistance);
            }
        }
    }
    if (!nearest)
        endRays(work, tile, hit & rays);
}

/// Works down the tasks of all waiting tiles, one step of each in turn: while one waits for memory, the others go on.
template <bool nearest>
inline void rayPhase(const ktHemisphereView& view, ktHemisphereWork& work) {
    std::uint32_t count = work.busyCount;
    std::uint32_t tops[64], next[64];
    for (std::uint32_t i = 0; i < count; ++i)
        tops[i] = next[i] = 0;
    for (std::uint32_t turn = 0; count; turn = turn + 1 < count ? turn + 1 : 0) {
        const std::uint32_t tile = work.busy[turn];
        ktHemisphereRayTask* const stack = work.rayStack[tile];
        std::uint32_t top = tops[turn];
        ktHemisphereRayTask task;
        if (top) {
            task = stack[--top];
            tops[turn] = top;
        } else if (next[turn] < work.waitingCount[tile]) {
            task = work.waiting[tile][next[turn]++];
        } else {
            work.waitingCount[tile] = 0;
            --count;
            work.busy[turn] = work.busy[count];
            tops[turn] = tops[count];
            next[turn] = next[count];
            continue;
        }
        const ktHemisphereRef ref = task.ref;
        std::uint32_t rays = task.rays;
        if (nearest)
            rays &= (Float16(task.distance) <= Float16::load(work.reach[tile])).bits();
        else
            rays &= work.live[tile];
        if (!rays)
            continue;
        if (ref & ktHemisphereLimits::leafFlag) {
            leafRays<nearest>(view, work, tile, rays, ref);
            continue;
        }
        const ktHemisphereNode& node = view.nodes[ref];
        Float8 lower[3], upper[3];
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 o = work.origin[axis];
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
                Float8 leave = nearest ? work.reach[tile][lane] : work.maxDistance;
                enter = work.minDistance;
                for (int axis = 0; axis < 3; ++axis) {
                    const Float8 r = work.reciprocal[tile][axis][lane];
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
            Float8 leave = nearest ? work.tileReach[tile] : work.maxDistance;
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis].store(box[axis]);
                upper[axis].store(box[axis + 3]);
                enter = larger(enter, larger(lower[axis] * Float8(work.enterAbove[axis][tile]),
                                             upper[axis] * Float8(work.enterBelow[axis][tile])));
                leave = smaller(leave, larger(upper[axis] * Float8(work.leaveFirst[axis][tile]),
                                              lower[axis] * Float8(work.leaveSecond[axis][tile])));
            }
            for (std::uint32_t left = (enter <= leave * Float8(kExitMargin)).bits(); left; left &= left - 1) {
                const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(left));
                mask[child] = rays & raysThroughBox<nearest>(work, tile, &box[0][child], &box[3][child], 8);
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
            const ktHemisphereRef below = refOf(node, child);
            prefetch(view, below);
            stack[top + more - 1 - rankOf(key, hit, child)] = {below, mask[child], key[child]};
        }
        tops[turn] = top + more;
    }
    work.busyCount = 0;
}

} // namespace KT_LANES
