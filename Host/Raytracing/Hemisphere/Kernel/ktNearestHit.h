// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Nearest hits: a hit shortens its ray instead of ending it. The traversal is the same as for occlusion.

#include "ktTriangleTests.h"

namespace KT_ISA {

// Of triangles at the same distance, for instance in two equal sheets, the one with the lowest id counts. So the result
// does not depend on the order of the tests. Beyond these factors of tFar, a hit is surely nearer or farther. Distances
// between them are compared exactly, which is slow and rare.
constexpr float kSurelyNearer = 0.999999f;
constexpr float kSurelyFarther = 1.000001f;

/// Tests 16 rays against triangle `i` and keeps the hits that are nearer than tFar.
KT_INLINE void updateNearest(ktTraversalState& state, ktTileState& tile, const std::uint32_t* ids,
                             const PreparedTriangles& triangles, std::uint32_t i) {
    const Vector<16> d = loadVector<16>(tile.direction);
    const auto dirDot = [&](const float n[3][kLeafTriangles]) {
        return mulAdd(d.x, Float16(n[0][i]), mulAdd(d.y, Float16(n[1][i]), d.z * Float16(n[2][i])));
    };
    const Float16 zero = 0.0f, height = triangles.height[i], tFar = Float16::load(tile.tFar);
    const Float16 a = dirDot(triangles.edgeNormal[0]), b = dirDot(triangles.edgeNormal[1]),
                  c = dirDot(triangles.edgeNormal[2]), dirDotNormal = dirDot(triangles.normal);
    const Mask<16> inside =
        (zero <= a) & (zero <= b) & (zero <= c) & (dirDotNormal * Float16(state.minDistance) < height);
    const Mask<16> nearer = inside & (height < dirDotNormal * (tFar * Float16(kSurelyNearer)));
    const std::uint32_t lanes = nearer.bits();
    const std::uint32_t doubtful =
        (inside & (height <= dirDotNormal * (tFar * Float16(kSurelyFarther)))).bits() & ~lanes;
    if (!(lanes | doubtful))
        return;
    const Float16 distance = height / dirDotNormal, inverseSum = Float16(1.0f) / (a + b + c);
    const Float16 u = b * inverseSum, v = c * inverseSum, newTFar = select(nearer, distance, tFar);
    newTFar.store(tile.tFar);
    select(nearer, u, Float16::load(tile.u)).store(tile.u);
    select(nearer, v, Float16::load(tile.v)).store(tile.v);
    const std::uint32_t id = ids[i], backMask = triangles.front >> i & 1 ? 0 : ~0u;
    for (std::uint32_t remaining = lanes; remaining; remaining &= remaining - 1)
        tile.hit[__builtin_ctz(remaining)] = id;
    tile.backSide = (tile.backSide & ~lanes) | (backMask & lanes);
    if (doubtful) {
        alignas(64) float distances[16], laneU[16], laneV[16];
        min(distance, state.maxDistance).store(distances);
        u.store(laneU);
        v.store(laneV);
        const std::uint32_t withinLimit = (height <= dirDotNormal * Float16(state.maxDistance)).bits();
        for (std::uint32_t remaining = doubtful & withinLimit; remaining; remaining &= remaining - 1) {
            const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(remaining));
            float& best = tile.tFar[lane];
            if (distances[lane] > best || (distances[lane] == best && id >= tile.hit[lane]))
                continue;
            best = distances[lane];
            tile.u[lane] = laneU[lane];
            tile.v[lane] = laneV[lane];
            tile.hit[lane] = id;
            tile.backSide = (tile.backSide & ~(1u << lane)) | (backMask & 1u << lane);
        }
    }
    state.tileTFar[tile.index] = reduceMax(newTFar); // may be slightly too large after doubtful hits
}

/// The nearest hit of a ray so far.
struct NearestHit {
    float distance; ///< the maximum distance if there is none
    std::uint32_t triangle;
    float u, v;
    bool backSide;
};

/// Tests one ray against eight triangles and keeps what is nearer than `hit`.
/// @return whether `hit` changed
KT_INLINE bool nearestOnRay(const std::uint32_t* ids, const PreparedTriangles& triangles, const float* d,
                            float minDistance, float maxDistance, NearestHit& hit) {
    const auto dirDot = [&](const float n[3][kLeafTriangles]) {
        return mulAdd(Float8(d[0]), Float8::load(n[0]),
                      mulAdd(Float8(d[1]), Float8::load(n[1]), Float8(d[2]) * Float8::load(n[2])));
    };
    const Float8 zero = 0.0f, height = Float8::load(triangles.height);
    const Float8 a = dirDot(triangles.edgeNormal[0]), b = dirDot(triangles.edgeNormal[1]),
                 c = dirDot(triangles.edgeNormal[2]), dirDotNormal = dirDot(triangles.normal);
    const Mask<8> inside = (zero <= a) & (zero <= b) & (zero <= c) & (dirDotNormal * Float8(minDistance) < height);
    std::uint32_t hits =
        (inside & (height <= dirDotNormal * Float8(hit.distance * kSurelyFarther))).bits() & triangles.usable;
    if (!hits)
        return false;
    const std::uint32_t nearer = (height < dirDotNormal * Float8(hit.distance * kSurelyNearer)).bits();
    const std::uint32_t withinLimit = (height <= dirDotNormal * Float8(maxDistance)).bits();
    alignas(64) float distances[kLeafTriangles], u[kLeafTriangles], v[kLeafTriangles];
    const Float8 inverseSum = Float8(1.0f) / (a + b + c);
    min(height / dirDotNormal, Float8(maxDistance)).store(distances);
    (b * inverseSum).store(u);
    (c * inverseSum).store(v);
    const auto keep = [&](std::uint32_t i) { hit = {distances[i], ids[i], u[i], v[i], !(triangles.front >> i & 1)}; };
    if ((hits & (hits - 1)) == 0 && (hits & nearer)) {
        keep(static_cast<std::uint32_t>(__builtin_ctz(hits)));
        return true;
    }
    bool found = false;
    for (hits &= withinLimit; hits; hits &= hits - 1) {
        const std::uint32_t i = static_cast<std::uint32_t>(__builtin_ctz(hits));
        if (distances[i] < hit.distance || (distances[i] == hit.distance && ids[i] < hit.triangle)) {
            keep(i);
            found = true;
        }
    }
    return found;
}

/// The same for one ray of a tile.
KT_INLINE void updateNearestOfRay(ktTraversalState& state, ktTileState& tile, std::uint32_t lane,
                                  const std::uint32_t* ids, const PreparedTriangles& triangles) {
    const float d[3] = {tile.direction[0][lane], tile.direction[1][lane], tile.direction[2][lane]};
    NearestHit hit{tile.tFar[lane], tile.hit[lane], 0, 0, false};
    if (!nearestOnRay(ids, triangles, d, state.minDistance, state.maxDistance, hit))
        return;
    tile.tFar[lane] = hit.distance;
    tile.hit[lane] = hit.triangle;
    tile.u[lane] = hit.u;
    tile.v[lane] = hit.v;
    tile.backSide = (tile.backSide & ~(1u << lane)) | static_cast<std::uint32_t>(hit.backSide) << lane;
    state.tileTFar[tile.index] = reduceMax(Float16::load(tile.tFar));
}

} // namespace KT_ISA
