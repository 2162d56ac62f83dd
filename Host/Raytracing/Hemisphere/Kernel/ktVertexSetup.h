// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// What is computed once for a vertex: its rays in world space, their reciprocals, and for each tile the intervals that
// let a whole tile be tested against a box at once.

#include "ktHemisphereKernel.h"
#include "ktSimd.h"
#include "ktTiledDirections.h"

namespace KT_ISA {

// Stands for infinity: finite, so that nothing times it is not a number.
constexpr float kHuge = 3.0e38f;

// Tile directions are widened by this, which covers every rounding in the tests made with them.
constexpr float kDirectionMargin = 1e-6f;

// No hit is farther, for no coordinate is beyond 1.8e18. A box that a tile points away from is "entered" at a huge
// distance and "left" at another: it is the limit that tells it from boxes ahead.
constexpr float kFarthest = 1e19f;

KT_INLINE float withinReach(float maxDistance) {
    return maxDistance > kFarthest ? kFarthest : maxDistance; // what is no number stays so, and nothing is met
}

// Exits are moved back by this share: rounding of reciprocals and products ("Robust BVH Ray Traversal", Thiago Ize,
// 2013).
constexpr float kExitMargin = 1.000001f;
constexpr float kEnterMargin = 0.999999f;

// Directions of 16 lanes along one world axis. Not fused, and in the order of ktTurnTile: every tracer sends the same
// rays, to the last bit, on every processor.
KT_INLINE Float16 rotated(const float local[3][16], float t, float b, float n) {
    return Float16::load(local[0]) * Float16(t) + Float16::load(local[1]) * Float16(b) +
           Float16::load(local[2]) * Float16(n);
}

KT_INLINE Float16 finiteReciprocal(Float16 d) {
    const Float16 tiny = 1e-30f;
    const Mask<16> small = (d < tiny) & (Float16(-1e-30f) < d);
    const Float16 nearZero = flipSign(tiny, signOf(d));
    return Float16(1.0f) / select(small, nearZero, d);
}

// A tile's directions along an axis lie in [least, most]. For a box whose slab along this axis, seen from the vertex,
// is [low, high]:
//   low > 0:  no ray enters before low * enterAbove, nor stays beyond high * leaveAbove;
//   high < 0: no ray enters before high * enterBelow, nor stays beyond low * leaveBelow;
//   else all start inside, and none stays beyond min(high * leaveAbove, low * leaveBelow).
KT_INLINE void setIntervals(ktTraversalState& work, int axis, std::uint32_t firstSlot, Float16 least, Float16 most) {
    const Float16 zero = 0.0f, one = 1.0f, huge = kHuge, minusHuge = -kHuge;
    least = least - Float16(kDirectionMargin);
    most = most + Float16(kDirectionMargin);
    alignas(64) float middle[16], half[16];
    ((least + most) * Float16(0.5f)).store(middle);
    ((most - least) * Float16(0.5f)).store(half);
    for (std::uint32_t i = 0; i < 16; ++i) {
        work.slot[firstSlot + i].middle[axis] = middle[i];
        work.slot[firstSlot + i].half[axis] = half[i];
    }
    const Float16 overLeast = one / least, overMost = one / most;
    select(zero < most, overMost, huge).store(&work.enterAbove[axis][firstSlot]);
    select(least < zero, overLeast, minusHuge).store(&work.enterBelow[axis][firstSlot]);
    select(zero < least, overLeast, huge).store(&work.leaveAbove[axis][firstSlot]);
    select(most < zero, overMost, minusHuge).store(&work.leaveBelow[axis][firstSlot]);
    const Float16 oneWay = select(zero < least, overLeast, overMost);
    const Mask<16> bothWays = (least <= zero) & (zero <= most);
    select(bothWays, huge, oneWay).store(&work.leaveFirst[axis][firstSlot]);
    select(bothWays, minusHuge, oneWay).store(&work.leaveSecond[axis][firstSlot]);
}

KT_INLINE void prepareJob(const ktKernelJob& job, ktTraversalState& work) {
    const std::uint32_t tiles = job.batch->tileCount;
    work.slotShift = tiles <= 16 ? 4 : tiles <= 32 ? 5 : 6;
    work.minDistance = job.limits->minDistance;
    work.maxDistance = withinReach(job.limits->maxDistance);
    work.bothSides = job.limits->bothSides;
    work.lowest = job.batch->lowest;
    work.fewTiles = tiles >= 12 ? 6 : 4;
    work.busyCount = 0;
}

/// `reaches`: also make ready for nearest hits.
template <bool reaches>
KT_INLINE void prepareVertex(const ktTileBatch& batch, const ktRayVertex& vertex, std::uint32_t number,
                             std::uint32_t place, ktTraversalState& work) {
    ktVertexState& point = work.point[place];
    const std::uint32_t firstSlot = place << work.slotShift;
    for (int axis = 0; axis < 3; ++axis) {
        point.origin[axis] = vertex.origin[axis];
        point.normal[axis] = vertex.normal[axis];
    }
    point.number = number;
    point.busy = 0;
    point.liveTiles = batch.tileCount < 64 ? (std::uint64_t(1) << batch.tileCount) - 1 : ~std::uint64_t(0);
    for (std::uint32_t tile = 0; tile < batch.tileCount; ++tile) {
        const std::uint32_t number = firstSlot + tile;
        ktTileState& slot = work.slot[number];
        slot.stack = slot.top = work.rayStack[number];
        slot.point = &point;
        slot.tile = std::uint64_t(1) << tile;
        slot.live = batch.live[tile];
        slot.number = slotNumber;
        slot.waitingCount = slot.waitingNext = 0;
        if (reaches) {
            work.tileReach[slotNumber] = work.maxDistance;
            slot.back = 0;
            for (std::uint32_t lane = 0; lane < 16; ++lane) {
                slot.reach[lane] = batch.live[tile] >> lane & 1 ? work.maxDistance : -1.0f;
                slot.hit[lane] = ktHemisphereKernel::noTriangle;
            }
        }
        for (int axis = 0; axis < 3; ++axis) {
            slot.origin[axis] = vertex.origin[axis];
            const Float16 d =
                rotated(batch.ray[tile], vertex.tangent[axis], vertex.bitangent[axis], vertex.normal[axis]);
            d.store(slot.ray[axis]);
            finiteReciprocal(d).store(slot.reciprocal[axis]);
        }
    }
    for (std::uint32_t group = 0; 16 * group < batch.tileCount; ++group) {
        Float16 least[3], most[3];
        for (int axis = 0; axis < 3; ++axis)
            least[axis] = most[axis] =
                rotated(batch.byTile[group][0], vertex.tangent[axis], vertex.bitangent[axis], vertex.normal[axis]);
        for (int ray = 1; ray < 16; ++ray) {
            for (int axis = 0; axis < 3; ++axis) {
                const Float16 d = rotated(batch.byTile[group][ray], vertex.tangent[axis], vertex.bitangent[axis],
                                          vertex.normal[axis]);
                least[axis] = smaller(least[axis], d);
                most[axis] = larger(most[axis], d);
            }
        }
        for (int axis = 0; axis < 3; ++axis)
            setIntervals(work, axis, firstSlot + 16 * group, least[axis], most[axis]);
    }
}

} // namespace KT_ISA
