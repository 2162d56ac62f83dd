// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The way down for all tiles of a vertex together: whole tiles against the boxes of a node's children, until so few
// tiles are left for a node that their rays go on by themselves.

#include "ktRayPhase.h"

namespace KT_ISA {

/// The children of a node as whole tiles are tested against them.
struct alignas(32) TileBoxes {
    float nearest[3][8];    ///< coordinate of the box nearest to the vertex; 0 when the vertex is inside the slab
    float upper[3][8];      ///< huge when the box is below the vertex
    float lower[3][8];      ///< minus huge when it is above
    float key[8];           ///< order of distance
    std::uint32_t below[3]; ///< bit i: child i lies below the vertex on this axis
    std::uint32_t left;     ///< bit i: child i cannot be left out for all tiles
};

KT_INLINE void seeChildren(const ktWideBvhNode& node, const ktTraversalState& work, const ktVertexState& point,
                           TileBoxes& boxes) {
    const Float8 zero = 0.0f, huge = kHuge, minusHuge = -kHuge;
    Float8 nearSquared = zero, farSquared = zero, elevation = zero, size = zero;
    for (int axis = 0; axis < 3; ++axis) {
        const Float8 o = point.origin[axis], n = point.normal[axis];
        const Float8 lower = Float8::load(node.lower[axis]) - o, upper = Float8::load(node.upper[axis]) - o;
        const Mask<8> below = upper <= zero, above = zero <= lower;
        boxes.below[axis] = below.bits();
        select(below, huge, upper).store(boxes.upper[axis]);
        select(above, minusHuge, lower).store(boxes.lower[axis]);
        // NaN as second argument stays NaN.
        const Float8 nearest = larger(zero, lower) + smaller(zero, upper);
        nearest.store(boxes.nearest[axis]);
        nearSquared = mulAdd(nearest, nearest, nearSquared);
        const Float8 farthest = larger(zero - lower, upper);
        farSquared = mulAdd(farthest, farthest, farSquared);
        elevation = elevation + larger(lower * n, upper * n);
        size = size + farthest;
    }
    orderKey(nearSquared).store(boxes.key);
    // All rays rise by at least `lowest` per unit of way; nothing in the box is higher than `elevation`.
    const Float8 margin = size * Float8(1e-6f);
    const Float8 top = larger(zero, elevation + margin);
    const Float8 low = work.lowest;
    const Float8 maxDistance = work.maxDistance, minDistance = work.minDistance;
    boxes.left = ((low * low * nearSquared <= top * top * Float8(1.00001f)) & (zero < elevation + margin) &
                  (nearSquared <= maxDistance * maxDistance * Float8(1.00001f)) &
                  (minDistance * minDistance <= farSquared * Float8(1.00001f)))
                     .bits();
}

/// Which of 16 tiles may have a ray through the child's box.
template <bool nearest>
KT_INLINE std::uint32_t tilesThroughBox(const ktTraversalState& work, const TileBoxes& boxes, std::uint32_t child,
                                        std::uint32_t firstSlot) {
    Float16 enter = work.minDistance;
    Float16 leave = nearest ? Float16::load(&work.tileReach[firstSlot]) : Float16(work.maxDistance);
    for (int axis = 0; axis < 3; ++axis) {
        const float* over = (boxes.below[axis] >> child & 1 ? work.enterBelow : work.enterAbove)[axis];
        enter = larger(enter, Float16(boxes.nearest[axis][child]) * Float16::load(over + firstSlot));
        leave = smaller(leave, Float16(boxes.upper[axis][child]) * Float16::load(&work.leaveAbove[axis][firstSlot]));
        leave = smaller(leave, Float16(boxes.lower[axis][child]) * Float16::load(&work.leaveBelow[axis][firstSlot]));
    }
    return (enter <= leave * Float16(kExitMargin)).bits();
}

// For each set of four triangles, their numbers in 16-bit steps.
constexpr std::uint64_t kTriangleLists[16] = {
    0, 0,       1,       0x10000,        2,       0x20000,        0x20001,        0x200010000ull,
    3, 0x30000, 0x30001, 0x300010000ull, 0x30002, 0x300020000ull, 0x300020001ull, 0x3000200010000ull};

/// Several tiles against the triangles of a leaf.
template <bool nearest>
inline void leafTiles(ktTraversalState& work, ktVertexState& point, std::uint32_t firstSlot, std::uint64_t tiles,
                      ktWideBvhRef ref) {
    const float* planeNormal = work.lowest > 0 ? point.normal : nullptr;
    const auto test = [&](const std::uint32_t* ids, const SeenTriangles& seen) {
        constexpr std::uint32_t count = kPatch;
        // First all pairs of tile and triangle that may meet, then the tests: fewer branches than loops in a loop.
        std::uint16_t pair[64 * count + 4];
        std::uint32_t pairs = 0;
        for (std::uint64_t left = tiles; left; left &= left - 1) {
            const std::uint32_t tile = static_cast<std::uint32_t>(__builtin_ctzll(left));
            const std::uint32_t may = trianglesInTile(seen, work.slot[firstSlot + tile]);
            for (std::uint32_t from = 0; from < count; from += 4) {
                const std::uint32_t four = may >> from & 15;
                const std::uint64_t list = kTriangleLists[four] + (tile * count + from) * 0x0001000100010001ull;
                std::memcpy(pair + pairs, &list, sizeof list);
                pairs += static_cast<std::uint32_t>(__builtin_popcount(four));
            }
        }
        for (std::uint32_t i = 0; i < pairs; ++i) {
            ktTileState& slot = work.slot[firstSlot + pair[i] / count];
            const std::uint32_t triangle = pair[i] % count;
            if (nearest)
                keepNearest(work, slot, ids, seen, triangle);
            else
                slot.live &=
                    ~raysThroughTriangle(seen, triangle, loadVector<16>(slot.ray), work.minDistance, work.maxDistance);
        }
        return true;
    };
    eachSeen(ref, point.origin, planeNormal, work.bothSides, test);
    if (nearest)
        return;
    for (std::uint64_t left = tiles; left; left &= left - 1) {
        const std::uint32_t tile = static_cast<std::uint32_t>(__builtin_ctzll(left));
        point.liveTiles &= ~(std::uint64_t(!work.slot[firstSlot + tile].live) << tile);
    }
}

// Slots that are busy before the ray phase starts: enough to hide memory's latency.
constexpr std::uint32_t kEnoughBusy = 32;
constexpr std::uint32_t kFewLeafTiles = 2;

/// Which tiles still have a ray that reaches as far as `distance`.
KT_INLINE std::uint64_t tilesBeyond(const ktTraversalState& work, std::uint32_t firstSlot, float distance) {
    std::uint64_t tiles = 0;
    for (std::uint32_t first = 0; first >> work.slotShift == 0; first += 16)
        tiles |= std::uint64_t((Float16(distance) <= Float16::load(&work.tileReach[firstSlot + first])).bits())
                 << first;
    return tiles;
}

template <bool nearest>
inline void tilePhase(ktWideBvhRef root, ktTraversalState& work, std::uint32_t place) {
    ktVertexState& point = work.point[place];
    const std::uint32_t firstSlot = place << work.slotShift;
    ktTileTask* const stack = work.tileStack;
    std::uint32_t top = 1;
    stack[0] = {root, point.liveTiles, nullptr, 0.0f};
    while (top) {
        --top;
        const ktWideBvhRef ref = stack[top].ref;
        std::uint64_t tiles = stack[top].tiles & point.liveTiles;
        if (nearest && stack[top].distance > 0)
            tiles &= tilesBeyond(work, firstSlot, stack[top].distance);
        if (!tiles)
            continue;
        const bool leaf = ref & ktWideBvhLayout::leafFlag;
        if (static_cast<std::uint32_t>(__builtin_popcountll(tiles)) <= (leaf ? kFewLeafTiles : work.fewTiles)) {
            float lower[3], upper[3];
            const float* box = stack[top].box;
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis] = box ? box[8 * axis] - point.origin[axis] : -kHuge;
                upper[axis] = box ? box[24 + 8 * axis] - point.origin[axis] : kHuge;
            }
            bool full = false;
            for (std::uint64_t left = tiles; left; left &= left - 1) {
                ktTileState& slot = work.slot[firstSlot + static_cast<std::uint32_t>(__builtin_ctzll(left))];
                const std::uint32_t rays = slot.live & raysThroughBox<nearest>(work, slot, lower, upper, 1);
                const std::uint32_t count = slot.waitingCount;
                slot.waiting[count] = {ref, rays, 0.0f};
                work.busy[work.busyCount] = &slot;
                const bool begins = (rays != 0) & (count == 0);
                work.busyCount += begins;
                point.busy += begins;
                slot.waitingCount = place + (rays != 0);
                full |= place + 1 >= ktTileState::mostWaiting;
            }
            if (full || work.busyCount >= kEnoughBusy)
                rayPhase<nearest>(work);
            continue;
        }
        if (leaf) {
            leafTiles<nearest>(work, point, firstSlot, tiles, ref);
            continue;
        }
        const ktWideBvhNode& node = nodeAt(ref);
        TileBoxes boxes;
        seeChildren(node, work, point, boxes);
        std::uint64_t mask[8];
        std::uint16_t part[8][4] = {};
        for (std::uint32_t group = 0; group < 4; ++group) {
            if (!(tiles >> 16 * group & 0xFFFF))
                continue;
            for (std::uint32_t left = boxes.left; left; left &= left - 1) {
                const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(left));
                part[child][group] =
                    static_cast<std::uint16_t>(tilesThroughBox<nearest>(work, boxes, child, firstSlot + 16 * group));
            }
        }
        std::memcpy(mask, part, sizeof mask);
        std::uint32_t hit = 0;
        for (std::uint32_t child = 0; child < 8; ++child) {
            mask[child] &= tiles;
            hit |= static_cast<std::uint32_t>(mask[child] != 0) << child;
        }
        const std::uint32_t count = static_cast<std::uint32_t>(__builtin_popcount(hit));
        for (std::uint32_t left = hit; left; left &= left - 1) {
            const std::uint32_t child = static_cast<std::uint32_t>(__builtin_ctz(left));
            const ktWideBvhRef next = node.child[child];
            prefetch(next);
            stack[top + count - 1 - rankOf(boxes.key, hit, child)] = {
                next, mask[child], &node.lower[0][child], nearest ? rootOf(boxes.key[child]) * kEnterMargin : 0.0f};
        }
        top += count;
    }
}

} // namespace KT_ISA
