// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"
#include "ktWideBvhLayout.h"

#include <cstdint>
#include <vector>

/// Up to 1,024 directions of the local frame in 64 tiles of 16 neighbours. Plain data.
struct alignas(64) ktTileBatch {
    static constexpr std::uint32_t maxTiles = 64;
    static constexpr std::uint32_t tileRays = 16;

    float direction[64][3][16];      ///< [tile][axis][ray], unit vectors, z along the normal
    float transposed[4][16][3][16];  ///< the same as [group of 16 tiles][ray][axis][tile]
    std::uint16_t validRays[64];     ///< bit i: ray i of the tile is a ray, not padding
    std::uint32_t sourceRay[64][16]; ///< index of the ray in the caller's set
    std::uint32_t tileCount;         ///< 1 to 64; further tiles are copies of the first
    float minCosine;                 ///< least z of all rays: cosine of the largest angle to the normal
};

/// A direction set, divided into batches.
class ktTiledDirections : public ktPreparedDirections {
public:
    explicit ktTiledDirections(const ktDirectionSet& set);
    std::vector<ktTileBatch> batches;
};
