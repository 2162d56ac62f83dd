// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracedScene.h"

#include <array>
#include <cstdint>
#include <vector>

/// A bounding volume hierarchy over all triangles of a scene, to find those near a triangle. It is built fast and takes
/// about 12 bytes per triangle: leaves of eight triangles along a space-filling curve, below a complete binary tree
/// (C. Lauterbach et al., "Fast BVH Construction on GPUs", 2009, for the order along the curve).
/// Immutable; many threads may search at once.
class ktTriangleTree {
public:
    using Point = std::array<double, 3>;
    /// A plane through a point.
    struct Plane {
        Point point, normal; ///< of unit length
    };

    /// @param scene with its meshes; must outlive this object, and not change. Call on a worker thread.
    /// @throws ktCanceled, std::bad_alloc
    explicit ktTriangleTree(const ktTracedScene& scene);

    /// Calls action(corners) for each triangle whose box comes near a box and a plane, and maybe for some others.
    /// @param corners Point[3], world space
    /// @param margin  how near, at least 0
    template <class Action>
    void forEachNear(const Point& low, const Point& high, const Plane& plane, double margin, Action&& action) const {
        if (order.empty())
            return;
        std::uint32_t stack[64];
        std::size_t size = 0;
        stack[size++] = 1;
        Point corners[3];
        while (size > 0) {
            const std::uint32_t node = stack[--size];
            if (!isNear(boxes[node], low, high, plane, margin))
                continue;
            if (node < leafCount) {
                stack[size++] = 2 * node + 1;
                stack[size++] = 2 * node;
                continue;
            }
            const std::size_t first = trianglesPerLeaf * std::size_t(node - leafCount);
            for (std::size_t i = first; i < first + trianglesPerLeaf && i < order.size(); ++i) {
                read(order[i], corners);
                action(corners);
            }
        }
    }

private:
    static constexpr std::size_t trianglesPerLeaf = 8;
    struct Box {
        float low[3], high[3];
    };

    static bool isNear(const Box& box, const Point& low, const Point& high, const Plane& plane, double margin);
    void read(std::uint32_t triangle, Point* corners) const;
    void makeBoxes();

    const ktTracedScene& scene;
    std::vector<std::uint32_t> firstTriangle; // by geometry, and the end of the last
    std::vector<std::uint32_t> order;         // triangles, numbered over all geometries
    std::uint32_t leafCount = 1;              // a power of two; node leafCount is the first leaf
    std::vector<Box> boxes;                   // by node; the root is node 1
};
