// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"
#include "ktWideBvhLayout.h"

#include <cstdint>
#include <vector>

/// Up to 1,024 directions of the local frame in 64 tiles of 16 neighbours, and the same tables by tile. Plain data.
struct alignas(64) ktTileBatch {
    static constexpr std::uint32_t maxTiles = 64;
    static constexpr std::uint32_t tileRays = 16;

    float direction[64][3][16];      ///< [tile][axis][ray], unit vectors, z along the normal
    float transposed[4][16][3][16];  ///< [group of 16 tiles][ray][axis][tile]: the same, transposed
    std::uint16_t validRays[64];     ///< bit i: ray i of the tile is a ray of its own, not padding
    std::uint32_t sourceRay[64][16]; ///< number of the ray in the caller's set
    std::uint32_t tileCount;         ///< 1 to 64; tiles beyond hold copies of the first
    float minCosine;                 ///< smallest z of all rays
};

/// A direction set cut into batches.
class ktTiledDirections : public ktPreparedDirections {
public:
    explicit ktTiledDirections(const ktDirectionSet& set);
    std::vector<ktTileBatch> batches;
};
