// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Nearest hits: the same way down as for occlusion, but a hit shortens its ray's reach instead of ending it.

#include "ktHemisphereLeaves.h"

namespace KT_LANES {

KT_INLINE std::uint32_t idOf(const ktHemisphereBlock* block, std::uint32_t triangle) {
    return block[triangle / ktHemisphereLimits::blockTriangles].id[triangle % ktHemisphereLimits::blockTriangles];
}

// Of triangles at the same distance, as in two equal sheets, the one with the lowest number counts, so that the answer
// does not depend on the order in which they are met. What is nearer or farther than the reach by more than these
// shares is so without a doubt; distances in between are compared exactly, which is slow and rare.
constexpr float kSurelyNearer = 0.999999f;
constexpr float kSurelyFarther = 1.000001f;

/// Tests 16 rays against triangle `i` of a leaf and keeps hits within the rays' reach.
template <int N>
KT_INLINE void keepNearest(ktHemisphereWork& work, std::uint32_t slot, const ktHemisphereBlock* block,
                           const SeenTriangles<N>& seen, std::uint32_t i) {
    const Vector<16> d = loadVector<16>(work.ray[slot]);
    const auto along = [&](const float n[3][N]) {
        return mulAdd(d.x, Float16(n[0][i]), mulAdd(d.y, Float16(n[1][i]), d.z * Float16(n[2][i])));
    };
    const Float16 zero = 0.0f, height = seen.height[i], reach = Float16::load(work.reach[slot]);
    const Float16 a = along(seen.inner[0]), b = along(seen.inner[1]), c = along(seen.inner[2]),
                  toward = along(seen.normal);
    const Mask<16> inside = (zero <= a) & (zero <= b) & (zero <= c) & (toward * Float16(work.minDistance) < height);
    const Mask<16> nearer = inside & (height < toward * (reach * Float16(kSurelyNearer)));
    const std::uint32_t lanes = nearer.bits();
    const std::uint32_t doubtful = (inside & (height <= toward * (reach * Float16(kSurelyFarther)))).bits() & ~lanes;
    if (!(lanes | doubtful))
        return;
    const Float16 distance = height / toward, share = Float16(1.0f) / (a + b + c);
    const Float16 second = b * share, third = c * share, reached = select(nearer, distance, reach);
    reached.store(work.reach[slot]);
    select(nearer, second, Float16::load(work.u[slot])).store(work.u[slot]);
    select(nearer, third, Float16::load(work.v[slot])).store(work.v[slot]);
    const std::uint32_t id = idOf(block, i), backs = seen.front >> i & 1 ? 0 : ~0u;
    for (std::uint32_t left = lanes; left; left &= left - 1)
        work.hit[slot][__builtin_ctz(left)] = id;
    work.back[slot] = (work.back[slot] & ~lanes) | (backs & lanes);
    if (doubtful) {
        alignas(64) float far[16], lanesSecond[16], lanesThird[16];
        smaller(distance, work.maxDistance).store(far);
        second.store(lanesSecond);
        third.store(lanesThird);
        const std::uint32_t withinLimit = (height <= toward * Float16(work.maxDistance)).bits();
        for (std::uint32_t left = doubtful & withinLimit; left; left &= left - 1) {
            const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
            float& best = work.reach[slot][lane];
            if (far[lane] > best || (far[lane] == best && id >= work.hit[slot][lane]))
                continue;
            best = far[lane];
            work.u[slot][lane] = lanesSecond[lane];
            work.v[slot][lane] = lanesThird[lane];
            work.hit[slot][lane] = id;
            work.back[slot] = (work.back[slot] & ~(1u << lane)) | (backs & 1u << lane);
        }
    }
    work.tileReach[slot] = largestOf(reached); // a hair too large after doubt
}

/// A ray's nearest hit so far.
struct NearestHit {
    float distance; ///< the maximum distance when there is none
    std::uint32_t triangle;
    float u, v;
    bool back;
};

/// Tests one ray against four triangles or eight and keeps what is nearer than `hit`.
/// @return whether something was
template <int N>
KT_INLINE bool nearestOnRay(const ktHemisphereBlock* block, const SeenTriangles<N>& seen, const float* d,
                            float minDistance, float maxDistance, NearestHit& hit) {
    const auto along = [&](const float n[3][N]) {
        return mulAdd(Float<N>(d[0]), Float<N>::load(n[0]),
                      mulAdd(Float<N>(d[1]), Float<N>::load(n[1]), Float<N>(d[2]) * Float<N>::load(n[2])));
    };
    const Float<N> zero = 0.0f, height = Float<N>::load(seen.height);
    const Float<N> a = along(seen.inner[0]), b = along(seen.inner[1]), c = along(seen.inner[2]),
                   toward = along(seen.normal);
    const Mask<N> inside = (zero <= a) & (zero <= b) & (zero <= c) & (toward * Float<N>(minDistance) < height);
    std::uint32_t hits = (inside & (height <= toward * Float<N>(hit.distance * kSurelyFarther))).bits() & seen.usable;
    if (!hits)
        return false;
    const std::uint32_t nearer = (height < toward * Float<N>(hit.distance * kSurelyNearer)).bits();
    const std::uint32_t withinLimit = (height <= toward * Float<N>(maxDistance)).bits();
    alignas(64) float far[N], second[N], third[N];
    const Float<N> share = Float<N>(1.0f) / (a + b + c);
    smaller(height / toward, Float<N>(maxDistance)).store(far);
    (b * share).store(second);
    (c * share).store(third);
    const auto keep = [&](std::uint32_t i) {
        hit = {far[i], idOf(block, i), second[i], third[i], !(seen.front >> i & 1)};
    };
    if ((hits & (hits - 1)) == 0 && (hits & nearer)) {
        keep(static_cast<std::uint32_t>(__builtin_ctz(hits)));
        return true;
    }
    bool found = false;
    for (hits &= withinLimit; hits; hits &= hits - 1) {
        const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(hits));
        if (far[i] < hit.distance || (far[i] == hit.distance && idOf(block, i) < hit.triangle)) {
            keep(i);
            found = true;
        }
    }
    return found;
}

/// The same for one ray of a tile.
template <int N>
KT_INLINE void keepNearestOfRay(ktHemisphereWork& work, std::uint32_t slot, std::uint32_t lane,
                                const ktHemisphereBlock* block, const SeenTriangles<N>& seen) {
    const float d[3] = {work.ray[slot][0][lane], work.ray[slot][1][lane], work.ray[slot][2][lane]};
    NearestHit hit{work.reach[slot][lane], work.hit[slot][lane], 0, 0, false};
    if (!nearestOnRay(block, seen, d, work.minDistance, work.maxDistance, hit))
        return;
    work.reach[slot][lane] = hit.distance;
    work.hit[slot][lane] = hit.triangle;
    work.u[slot][lane] = hit.u;
    work.v[slot][lane] = hit.v;
    work.back[slot] = (work.back[slot] & ~(1u << lane)) | static_cast<std::uint32_t>(hit.back) << lane;
    work.tileReach[slot] = largestOf(Float16::load(work.reach[slot]));
}

} // namespace KT_LANES
