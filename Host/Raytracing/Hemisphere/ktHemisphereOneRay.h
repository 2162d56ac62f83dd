// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// A ray of its own, with its own origin: for rays to lights and single questions. Eight boxes, four triangles at a
// time.

#include "ktHemisphereNearest.h"

namespace KT_LANES {

template <bool nearest>
inline bool traceOne(const ktHemisphereView& view, const ktHemisphereRay& ray, bool bothSides, ktHemisphereHit& hit) {
    struct Task {
        ktHemisphereRef ref;
        float distance;
    };
    Task stack[ktHemisphereWork::stackSize];
    std::uint32_t top = 0;
    float reach = withinReach(ray.maxDistance), over[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float d = ray.direction[axis];
        over[axis] = 1.0f / (d < 1e-30f && d > -1e-30f ? (d < 0 ? -1e-30f : 1e-30f) : d);
    }
    if (!view.empty)
        stack[top++] = {view.root, 0.0f};
    bool met = false;
    while (top) {
        const Task task = stack[--top];
        if (nearest && task.distance > reach)
            continue;
        if (task.ref & ktHemisphereLimits::leafFlag) {
            const ktHemisphereBlock* block = firstBlock(view, task.ref);
            const ktHemisphereBlock* const end = block + blockCount(task.ref);
            for (; block != end; ++block) {
                SeenBlock seen;
                seeBlock(*block, ray.origin, nullptr, bothSides, seen);
                if (!seen.usable)
                    continue;
                if (!nearest) {
                    if (trianglesOnRay(seen, ray.direction, ray.minDistance, reach))
                        return true;
                    continue;
                }
                const std::uint32_t i = nearestOnRay(seen, ray.direction, ray.minDistance, reach, hit.u, hit.v);
                if (i == 4)
                    continue;
                met = true;
                hit.triangle = block->id[i];
                hit.distance = reach;
                hit.back = !(seen.front >> i & 1);
            }
            continue;
        }
        const ktHemisphereNode& node = view.nodes[task.ref];
        Float8 enter = ray.minDistance, leave = reach;
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 o = ray.origin[axis], r = over[axis];
            const Float8 a = (Float8::load(node.lower[axis]) - o) * r, b = (Float8::load(node.upper[axis]) - o) * r;
            enter = larger(enter, smaller(a, b));
            leave = smaller(leave, larger(a, b));
        }
        const std::uint32_t through = (enter <= leave * Float8(kExitMargin)).bits();
        alignas(32) float key[8];
        orderKey(enter * Float8(kEnterMargin)).store(key);
        const std::uint32_t more = static_cast<std::uint32_t>(__builtin_popcount(through));
        for (std::uint32_t left = through; left; left &= left - 1) {
            const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(left));
            stack[top + more - 1 - rankOf(key, through, child)] = {refOf(node, child), key[child]};
        }
        top += more;
    }
    return met;
}

} // namespace KT_LANES
