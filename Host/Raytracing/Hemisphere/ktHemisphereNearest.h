// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Nearest hits: the same way down as for occlusion, but a hit shortens its ray's reach instead of ending it.

#include "ktHemisphereLeaves.h"

namespace KT_LANES {

/// Tests 16 rays against triangle `i` of a block and keeps hits within the rays' reach.
KT_INLINE void keepNearest(ktHemisphereWork& work, std::uint32_t tile, const ktHemisphereBlock& block,
                           const SeenBlock& seen, std::uint32_t i) {
    const Vector<16> d = loadVector<16>(work.ray[tile]);
    const auto along = [&](const float n[3][4]) {
        return mulAdd(d.x, Float16(n[0][i]), mulAdd(d.y, Float16(n[1][i]), d.z * Float16(n[2][i])));
    };
    const Float16 zero = 0.0f, height = seen.height[i], reach = Float16::load(work.reach[tile]);
    const Float16 a = along(seen.inner[0]), b = along(seen.inner[1]), c = along(seen.inner[2]),
                  toward = along(seen.normal);
    const Mask<16> hit = (zero <= a) & (zero <= b) & (zero <= c) & (toward * Float16(work.minDistance) < height) &
                         (height <= toward * reach);
    const std::uint32_t lanes = hit.bits();
    if (!lanes)
        return;
    const Float16 share = Float16(1.0f) / (a + b + c);
    const Float16 distance = select(hit, height / toward, reach);
    distance.store(work.reach[tile]);
    select(hit, b * share, Float16::load(work.u[tile])).store(work.u[tile]);
    select(hit, c * share, Float16::load(work.v[tile])).store(work.v[tile]);
    for (std::uint32_t left = lanes; left; left &= left - 1)
        work.hit[tile][__builtin_ctz(left)] = block.id[i];
    work.back[tile] = (work.back[tile] & ~lanes) | (seen.front >> i & 1 ? 0 : lanes);
    work.tileReach[tile] = largestOf(distance);
}

/// Tests one ray against the four triangles of a block. `distance` is the ray's reach, and becomes shorter with a hit.
/// @return the triangle that is hit first, or 4
KT_INLINE std::uint32_t nearestOnRay(const SeenBlock& seen, const float* d, float minDistance, float& distance,
                                     float& u, float& v) {
    const auto along = [&](const float n[3][4]) {
        return mulAdd(Float4(d[0]), Float4::load(n[0]),
                      mulAdd(Float4(d[1]), Float4::load(n[1]), Float4(d[2]) * Float4::load(n[2])));
    };
    const Float4 zero = 0.0f, height = Float4::load(seen.height);
    const Float4 a = along(seen.inner[0]), b = along(seen.inner[1]), c = along(seen.inner[2]),
                 toward = along(seen.normal);
    std::uint32_t hits = ((zero <= a) & (zero <= b) & (zero <= c) & (toward * Float4(minDistance) < height) &
                          (height <= toward * Float4(distance)))
                             .bits() &
                         seen.usable;
    if (!hits)
        return 4;
    alignas(16) float far[4], second[4], third[4];
    const Float4 share = Float4(1.0f) / (a + b + c);
    (height / toward).store(far);
    (b * share).store(second);
    (c * share).store(third);
    std::uint32_t first = static_cast<std::uint32_t>(__builtin_ctz(hits));
    while (hits &= hits - 1) {
        const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(hits));
        if (far[i] < far[first])
            first = i;
    }
    distance = far[first];
    u = second[first];
    v = third[first];
    return first;
}

/// The same for one ray of a tile.
KT_INLINE void keepNearestOfRay(ktHemisphereWork& work, std::uint32_t tile, std::uint32_t lane,
                                const ktHemisphereBlock& block, const SeenBlock& seen) {
    const float d[3] = {work.ray[tile][0][lane], work.ray[tile][1][lane], work.ray[tile][2][lane]};
    const std::uint32_t i =
        nearestOnRay(seen, d, work.minDistance, work.reach[tile][lane], work.u[tile][lane], work.v[tile][lane]);
    if (i == 4)
        return;
    work.hit[tile][lane] = block.id[i];
    work.back[tile] = (work.back[tile] & ~(1u << lane)) | static_cast<std::uint32_t>(!(seen.front >> i & 1)) << lane;
    work.tileReach[tile] = largestOf(Float16::load(work.reach[tile]));
}

} // namespace KT_LANES
