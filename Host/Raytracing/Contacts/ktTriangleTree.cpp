// SPDX-License-Identifier: LGPL-2.1-or-later
// Sorts the triangles of a scene along a space-filling curve and builds a tree of boxes over them.
#include "ktTriangleTree.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktParallelSort.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t grain = 16384;
constexpr float infinity = std::numeric_limits<float>::infinity();

// Puts two zero bits after each of ten bits.
std::uint64_t spread(std::uint64_t bits) {
    bits = (bits | bits << 16) & 0x030000FF;
    bits = (bits | bits << 8) & 0x0300F00F;
    bits = (bits | bits << 4) & 0x030C30C3;
    return (bits | bits << 2) & 0x09249249;
}

} // namespace

ktTriangleTree::ktTriangleTree(const ktTracedScene& scene_) : scene(scene_) {
    std::size_t count = 0;
    firstTriangle.push_back(0);
    for (const ktTracedGeometry& geometry : scene.geometries) {
        count += geometry.triangles->size() / 3;
        firstTriangle.push_back(static_cast<std::uint32_t>(count));
    }
    if (count == 0)
        return;
    Point low, high;
    low.fill(infinity);
    high.fill(-infinity);
    Point corners[3];
    for (std::size_t i = 0; i < count; ++i) {
        if (i % grain == 0)
            ktThrowIfCanceled();
        read(static_cast<std::uint32_t>(i), corners);
        for (const Point& corner : corners)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], corner[axis]);
                high[axis] = std::max(high[axis], corner[axis]);
            }
    }
    double scale[3];
    for (std::size_t axis = 0; axis < 3; ++axis)
        scale[axis] = high[axis] > low[axis] ? 1023.0 / (high[axis] - low[axis]) : 0.0;
    std::vector<std::uint64_t> keys(count);
    ktParallel::forRange(count, grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        Point ends[3];
        for (std::size_t i = begin; i < end; ++i) {
            read(static_cast<std::uint32_t>(i), ends);
            std::uint64_t code = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double middle = (ends[0][axis] + ends[1][axis] + ends[2][axis]) / 3;
                const double cell = std::clamp((middle - low[axis]) * scale[axis], 0.0, 1023.0);
                code |= spread(static_cast<std::uint64_t>(cell)) << axis;
            }
            keys[i] = code << 32 | i;
        }
    });
    ktParallel::sort(keys.begin(), keys.end(), std::less<>());
    ktThrowIfCanceled();
    order.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        order[i] = static_cast<std::uint32_t>(keys[i]);
    makeBoxes();
}

void ktTriangleTree::makeBoxes() {
    while (std::size_t(leafCount) * trianglesPerLeaf < order.size())
        leafCount *= 2;
    boxes.assign(2 * std::size_t(leafCount),
                 {{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}}); // of nothing
    ktParallel::forRange(
        (order.size() + trianglesPerLeaf - 1) / trianglesPerLeaf, grain, [&](std::size_t begin, std::size_t end) {
            ktThrowIfCanceled();
            Point corners[3];
            for (std::size_t leaf = begin; leaf < end; ++leaf) {
                Box& box = boxes[leafCount + leaf];
                const std::size_t first = leaf * trianglesPerLeaf;
                for (std::size_t i = first; i < std::min(first + trianglesPerLeaf, order.size()); ++i) {
                    read(order[i], corners);
                    for (const Point& corner : corners)
                        for (std::size_t axis = 0; axis < 3; ++axis) {
                            const auto p = static_cast<float>(corner[axis]);
                            box.low[axis] = std::min(box.low[axis], p);
                            box.high[axis] = std::max(box.high[axis], p);
                        }
                }
            }
        });
    for (std::size_t node = leafCount; node-- > 1;)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            boxes[node].low[axis] = std::min(boxes[2 * node].low[axis], boxes[2 * node + 1].low[axis]);
            boxes[node].high[axis] = std::max(boxes[2 * node].high[axis], boxes[2 * node + 1].high[axis]);
        }
}

bool ktTriangleTree::isNear(const Box& box, const Point& low, const Point& high, const Plane& plane, double margin) {
    double least = 0, greatest = 0; // distance to the plane
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (box.low[axis] > high[axis] + margin || box.high[axis] < low[axis] - margin)
            return false;
        const double a = plane.normal[axis] * (box.low[axis] - plane.point[axis]),
                     b = plane.normal[axis] * (box.high[axis] - plane.point[axis]);
        least += std::min(a, b);
        greatest += std::max(a, b);
    }
    return least <= margin && greatest >= -margin;
}

void ktTriangleTree::read(std::uint32_t triangle, Point* corners) const {
    const std::size_t geometry = static_cast<std::size_t>(
        std::upper_bound(firstTriangle.begin(), firstTriangle.end(), triangle) - firstTriangle.begin() - 1);
    const ktTracedGeometry& traced = scene.geometries[geometry];
    const std::uint32_t* indices = &(*traced.triangles)[3 * std::size_t(triangle - firstTriangle[geometry])];
    for (std::size_t corner = 0; corner < 3; ++corner) {
        const float* stored = &(*traced.positions)[3 * std::size_t(indices[corner])];
        float world[3] = {stored[0], stored[1], stored[2]};
        if (traced.isInstance)
            traced.toWorld.position(stored, world);
        std::copy_n(world, 3, corners[corner].data());
    }
}
