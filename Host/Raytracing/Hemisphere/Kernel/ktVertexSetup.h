// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// What is computed once for a vertex: its rays in world space, their reciprocals, and for each tile the intervals of
// its directions, with which a whole tile is tested against a box.

#include "ktHemisphereKernel.h"
#include "ktSimd.h"
#include "ktTiledDirections.h"

namespace KT_ISA {

// Used as infinity. It is finite, so that zero times it is not NaN.
constexpr float kHuge = 3.0e38f;

// Enlarges the intervals of tile directions. It covers the rounding of all tests that use them.
constexpr float kDirectionMargin = 1e-6f;

// No hit is farther, because no coordinate exceeds 1.8e18. If a tile points away from a box, the entry and exit
// distances are both huge. This limit rejects such a box.
constexpr float kFarthest = 1e19f;

KT_INLINE float clampMaxDistance(float maxDistance) {
    return maxDistance > kFarthest ? kFarthest : maxDistance; // NaN stays NaN; then nothing is hit
}

// Exit distances are enlarged by this factor because reciprocals and products are rounded ("Robust BVH Ray Traversal",
// Thiago Ize, 2013).
constexpr float kExitMargin = 1.000001f;
constexpr float kEnterMargin = 0.999999f;

// Rotates 16 directions to one world axis. No fused operations, and the order of ktTileRotation.h: all tracers use
// the same rays to the last bit, on every processor.
KT_INLINE Float16 rotated(const float local[3][16], float t, float b, float n) {
    return Float16::load(local[0]) * Float16(t) + Float16::load(local[1]) * Float16(b) +
           Float16::load(local[2]) * Float16(n);
}

KT_INLINE Float16 finiteReciprocal(Float16 d) {
    const Float16 tiny = 1e-30f;
    const Mask<16> small = (d < tiny) & (Float16(-1e-30f) < d);
    const Float16 nearZero = flipSign(tiny, signBit(d));
    return Float16(1.0f) / select(small, nearZero, d);
}

// The directions of a tile along an axis are in [minDir, maxDir]. A box is in [low, high] along this axis, relative to
// the vertex.
//   low > 0:  rays enter at low * enterAbove or later, and leave at high * leaveAbove or earlier;
//   high < 0: rays enter at high * enterBelow or later, and leave at low * leaveBelow or earlier;
//   else rays start inside, and leave at min(high * leaveAbove, low * leaveBelow) or earlier.
// leaveFirst and leaveSecond give the exit as one maximum: huge if the directions have both signs.
KT_INLINE void setIntervals(ktTraversalState& state, int axis, std::uint32_t firstTile, Float16 minDir,
                            Float16 maxDir) {
    const Float16 zero = 0.0f, one = 1.0f, huge = kHuge, minusHuge = -kHuge;
    minDir = minDir - Float16(kDirectionMargin);
    maxDir = maxDir + Float16(kDirectionMargin);
    alignas(64) float center[16], halfExtent[16];
    ((minDir + maxDir) * Float16(0.5f)).store(center);
    ((maxDir - minDir) * Float16(0.5f)).store(halfExtent);
    for (std::uint32_t i = 0; i < 16; ++i) {
        state.tile[firstTile + i].center[axis] = center[i];
        state.tile[firstTile + i].halfExtent[axis] = halfExtent[i];
    }
    const Float16 inverseMin = one / minDir, inverseMax = one / maxDir;
    select(zero < maxDir, inverseMax, huge).store(&state.enterAbove[axis][firstTile]);
    select(minDir < zero, inverseMin, minusHuge).store(&state.enterBelow[axis][firstTile]);
    select(zero < minDir, inverseMin, huge).store(&state.leaveAbove[axis][firstTile]);
    select(maxDir < zero, inverseMax, minusHuge).store(&state.leaveBelow[axis][firstTile]);
    const Float16 sameSign = select(zero < minDir, inverseMin, inverseMax);
    const Mask<16> spansZero = (minDir <= zero) & (zero <= maxDir);
    select(spansZero, huge, sameSign).store(&state.leaveFirst[axis][firstTile]);
    select(spansZero, minusHuge, sameSign).store(&state.leaveSecond[axis][firstTile]);
}

KT_INLINE void prepareJob(const ktKernelJob& job, ktTraversalState& state) {
    const std::uint32_t tiles = job.batch->tileCount;
    state.tileShift = tiles <= 16 ? 4 : tiles <= 32 ? 5 : 6;
    state.minDistance = job.limits->minDistance;
    state.maxDistance = clampMaxDistance(job.limits->maxDistance);
    state.bothSides = job.limits->bothSides;
    state.minCosine = job.batch->minCosine;
    state.fewTiles = tiles >= 12 ? 6 : 4;
    state.activeCount = 0;
}

/// @param nearest also prepares for nearest hits
template <bool nearest>
KT_INLINE void prepareVertex(const ktTileBatch& batch, const ktRayVertex& rayVertex, std::uint32_t jobIndex,
                             std::uint32_t vertexIndex, ktTraversalState& state) {
    ktVertexState& vertex = state.vertex[vertexIndex];
    const std::uint32_t firstTile = vertexIndex << state.tileShift;
    for (int axis = 0; axis < 3; ++axis) {
        vertex.origin[axis] = rayVertex.origin[axis];
        vertex.normal[axis] = rayVertex.normal[axis];
    }
    vertex.jobIndex = jobIndex;
    vertex.activeTiles = 0;
    vertex.liveTiles = batch.tileCount < 64 ? (std::uint64_t(1) << batch.tileCount) - 1 : ~std::uint64_t(0);
    for (std::uint32_t t = 0; t < batch.tileCount; ++t) {
        const std::uint32_t index = firstTile + t;
        ktTileState& tile = state.tile[index];
        tile.stack = tile.top = state.rayStack[index];
        tile.vertex = &vertex;
        tile.bit = std::uint64_t(1) << t;
        tile.live = batch.validRays[t];
        tile.index = index;
        tile.pendingCount = tile.pendingNext = 0;
        if (nearest) {
            state.tileTFar[index] = state.maxDistance;
            tile.backSide = 0;
            for (std::uint32_t lane = 0; lane < 16; ++lane) {
                tile.tFar[lane] = batch.validRays[t] >> lane & 1 ? state.maxDistance : -1.0f;
                tile.hit[lane] = ktHemisphereKernel::noTriangle;
            }
        }
        for (int axis = 0; axis < 3; ++axis) {
            tile.origin[axis] = rayVertex.origin[axis];
            const Float16 d =
                rotated(batch.direction[t], rayVertex.tangent[axis], rayVertex.bitangent[axis], rayVertex.normal[axis]);
            d.store(tile.direction[axis]);
            finiteReciprocal(d).store(tile.reciprocal[axis]);
        }
    }
    for (std::uint32_t group = 0; 16 * group < batch.tileCount; ++group) {
        Float16 minDir[3], maxDir[3];
        for (int axis = 0; axis < 3; ++axis)
            minDir[axis] = maxDir[axis] = rotated(batch.transposed[group][0], rayVertex.tangent[axis],
                                                  rayVertex.bitangent[axis], rayVertex.normal[axis]);
        for (int ray = 1; ray < 16; ++ray) {
            for (int axis = 0; axis < 3; ++axis) {
                const Float16 d = rotated(batch.transposed[group][ray], rayVertex.tangent[axis],
                                          rayVertex.bitangent[axis], rayVertex.normal[axis]);
                minDir[axis] = min(minDir[axis], d);
                maxDir[axis] = max(maxDir[axis], d);
            }
        }
        for (int axis = 0; axis < 3; ++axis)
            setIntervals(state, axis, firstTile + 16 * group, minDir[axis], maxDir[axis]);
    }
}

} // namespace KT_ISA
