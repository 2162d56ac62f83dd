// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Traces a single ray with any origin, for instance to a light: against eight boxes or eight triangles at a time.

#include "ktNearestHit.h"

namespace KT_ISA {

template <bool nearest, class Levels>
inline bool traceSingleRay(const Levels& levels, const ktKernelRay& ray, bool bothSides, ktKernelHit& found) {
    struct Task {
        ktWideBvhRef ref;
        float distance;
    };
    Task stack[ktTraversalState::stackSize];
    std::uint32_t top = 0;
    const float maxDistance = clampMaxDistance(ray.maxDistance);
    NearestHit hit{maxDistance, ktHemisphereKernel::noTriangle, 0, 0, false};
    float reciprocal[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float d = ray.direction[axis];
        reciprocal[axis] = 1.0f / (d < 1e-30f && d > -1e-30f ? (d < 0 ? -1e-30f : 1e-30f) : d);
    }
    if (levels.root)
        stack[top++] = {levels.root, 0.0f};
    while (top) {
        const Task task = stack[--top];
        if (nearest && task.distance > hit.distance)
            continue;
        if (task.ref & ktWideBvhLayout::leafFlag) {
            const auto test = [&](const std::uint32_t* ids, const PreparedTriangles& triangles) {
                if (!nearest)
                    return !trianglesOnRay(triangles, ray.direction, ray.minDistance, maxDistance);
                nearestOnRay(ids, triangles, ray.direction, ray.minDistance, maxDistance, hit);
                return true;
            };
            if (!forEachPrepared(levels, task.ref, ray.origin, nullptr, bothSides, test))
                return true;
            continue;
        }
        const ktWideBvhNode& node = levels.nodeAt(task.ref);
        const auto boxes = levels.boxesOf(task.ref, node, ray.origin);
        Float8 enter = ray.minDistance, leave = hit.distance;
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 r = reciprocal[axis];
            const Float8 a = boxes.lower(axis) * r, b = boxes.upper(axis) * r;
            enter = max(enter, min(a, b));
            leave = min(leave, max(a, b));
        }
        const std::uint32_t through = (enter <= leave * Float8(kExitMargin)).bits();
        alignas(32) float key[8];
        sortKey(enter * Float8(kEnterMargin)).store(key);
        const std::uint32_t hitCount = static_cast<std::uint32_t>(__builtin_popcount(through));
        for (std::uint32_t remaining = through; remaining; remaining &= remaining - 1) {
            const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(remaining));
            stack[top + hitCount - 1 - rankOf(key, through, child)] = {levels.childOf(task.ref, node, child),
                                                                       key[child]};
        }
        top += hitCount;
    }
    found = {hit.triangle, hit.u, hit.v, hit.distance, hit.backSide};
    return hit.triangle != ktHemisphereKernel::noTriangle;
}

} // namespace KT_ISA
