// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Nearest hits: the same way down as for occlusion, but a hit shortens its ray's reach instead of ending it.

#include "ktTriangleTests.h"

namespace KT_ISA {

// Of triangles at the same distance, as in two equal sheets, the one with the lowest number counts, so that the answer
// does not depend on the order in which they are met. What is nearer or farther than the reach by more than these
// shares is so without a doubt; distances in between are compared exactly, which is slow and rare.
constexpr float kSurelyNearer = 0.999999f;
constexpr float kSurelyFarther = 1.000001f;

/// Tests 16 rays against triangle `i` of a patch and keeps hits within the rays' reach.
KT_INLINE void keepNearest(ktTraversalState& work, ktTileState& slot, const std::uint32_t* ids,
                           const SeenTriangles& seen, std::uint32_t i) {
    const Vector<16> d = loadVector<16>(slot.ray);
    const auto along = [&](const float n[3][kPatch]) {
        return mulAdd(d.x, Float16(n[0][i]), mulAdd(d.y, Float16(n[1][i]), d.z * Float16(n[2][i])));
    };
    const Float16 zero = 0.0f, height = seen.height[i], reach = Float16::load(slot.reach);
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
    reached.store(slot.reach);
    select(nearer, second, Float16::load(slot.u)).store(slot.u);
    select(nearer, third, Float16::load(slot.v)).store(slot.v);
    const std::uint32_t id = ids[i], backs = seen.front >> i & 1 ? 0 : ~0u;
    for (std::uint32_t left = lanes; left; left &= left - 1)
        slot.hit[__builtin_ctz(left)] = id;
    slot.back = (slot.back & ~lanes) | (backs & lanes);
    if (doubtful) {
        alignas(64) float far[16], lanesSecond[16], lanesThird[16];
        smaller(distance, work.maxDistance).store(far);
        second.store(lanesSecond);
        third.store(lanesThird);
        const std::uint32_t withinLimit = (height <= toward * Float16(work.maxDistance)).bits();
        for (std::uint32_t left = doubtful & withinLimit; left; left &= left - 1) {
            const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
            float& best = slot.reach[lane];
            if (far[lane] > best || (far[lane] == best && id >= slot.hit[lane]))
                continue;
            best = far[lane];
            slot.u[lane] = lanesSecond[lane];
            slot.v[lane] = lanesThird[lane];
            slot.hit[lane] = id;
            slot.back = (slot.back & ~(1u << lane)) | (backs & 1u << lane);
        }
    }
    work.tileReach[slot.number] = largestOf(reached); // a hair too large after doubt
}

/// A ray's nearest hit so far.
struct NearestHit {
    float distance; ///< the maximum distance when there is none
    std::uint32_t triangle;
    float u, v;
    bool back;
};

/// Tests one ray against the triangles of a patch and keeps what is nearer than `hit`.
/// @return whether something was
KT_INLINE bool nearestOnRay(const std::uint32_t* ids, const SeenTriangles& seen, const float* d, float minDistance,
                            float maxDistance, NearestHit& hit) {
    const auto along = [&](const float n[3][kPatch]) {
        return mulAdd(Float8(d[0]), Float8::load(n[0]),
                      mulAdd(Float8(d[1]), Float8::load(n[1]), Float8(d[2]) * Float8::load(n[2])));
    };
    const Float8 zero = 0.0f, height = Float8::load(seen.height);
    const Float8 a = along(seen.inner[0]), b = along(seen.inner[1]), c = along(seen.inner[2]),
                 toward = along(seen.normal);
    const Mask<8> inside = (zero <= a) & (zero <= b) & (zero <= c) & (toward * Float8(minDistance) < height);
    std::uint32_t hits = (inside & (height <= toward * Float8(hit.distance * kSurelyFarther))).bits() & seen.usable;
    if (!hits)
        return false;
    const std::uint32_t nearer = (height < toward * Float8(hit.distance * kSurelyNearer)).bits();
    const std::uint32_t withinLimit = (height <= toward * Float8(maxDistance)).bits();
    alignas(64) float far[kPatch], second[kPatch], third[kPatch];
    const Float8 share = Float8(1.0f) / (a + b + c);
    smaller(height / toward, Float8(maxDistance)).store(far);
    (b * share).store(second);
    (c * share).store(third);
    const auto keep = [&](std::uint32_t i) { hit = {far[i], ids[i], second[i], third[i], !(seen.front >> i & 1)}; };
    if ((hits & (hits - 1)) == 0 && (hits & nearer)) {
        keep(static_cast<std::uint32_t>(__builtin_ctz(hits)));
        return true;
    }
    bool found = false;
    for (hits &= withinLimit; hits; hits &= hits - 1) {
        const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(hits));
        if (far[i] < hit.distance || (far[i] == hit.distance && ids[i] < hit.triangle)) {
            keep(i);
            found = true;
        }
    }
    return found;
}

/// The same for one ray of a tile.
KT_INLINE void keepNearestOfRay(ktTraversalState& work, ktTileState& slot, std::uint32_t lane, const std::uint32_t* ids,
                                const SeenTriangles& seen) {
    const float d[3] = {slot.ray[0][lane], slot.ray[1][lane], slot.ray[2][lane]};
    NearestHit hit{slot.reach[lane], slot.hit[lane], 0, 0, false};
    if (!nearestOnRay(ids, seen, d, work.minDistance, work.maxDistance, hit))
        return;
    slot.reach[lane] = hit.distance;
    slot.hit[lane] = hit.triangle;
    slot.u[lane] = hit.u;
    slot.v[lane] = hit.v;
    slot.back = (slot.back & ~(1u << lane)) | static_cast<std::uint32_t>(hit.back) << lane;
    work.tileReach[slot.number] = largestOf(Float16::load(slot.reach));
}

} // namespace KT_ISA
