// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Triangle tests for rays that start at one vertex. Take the vertex as origin. The vertex and an edge of the triangle
// span a plane; a ray hits the triangle if it lies on the inner side of all three planes. Their normals are computed
// once per leaf and serve all rays of the vertex. Two triangles compute the same normal for a shared edge, except for
// the sign, so no ray passes between them. After "Optimizing Ray-Triangle Intersection via Automated Search", Andrew
// Kensler, Peter Shirley, 2006, and "Watertight Ray/Triangle Intersection", Sven Woop, Carsten Benthin, Ingo Wald,
// 2013.

#include "ktBoxTests.h"
#include "ktPermute16.h"

#include <cstddef>

namespace KT_ISA {

constexpr int kLeafTriangles = ktWideBvhLayout::leafTriangles;

/// Eight triangles, prepared for a vertex. The signs are such that a ray that hits has no negative product.
struct alignas(64) PreparedTriangles {
    float edgeNormal[3][3][kLeafTriangles]; ///< [edge][axis][triangle]: normal of the plane through vertex and edge
    float normal[3][kLeafTriangles];        ///< of the triangles, [axis][triangle]
    float height[kLeafTriangles];           ///< of the vertex over the triangle's plane, times the length of `normal`
    std::uint32_t usable;                   ///< bit i: triangle i can be hit
    std::uint32_t front;                    ///< bit i: the vertex is on its front side
};

template <int N>
KT_INLINE Vector<N> operator-(Vector<N> a, Vector<N> b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
template <int N>
KT_INLINE Vector<N> operator+(Vector<N> a, Vector<N> b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
template <int N>
KT_INLINE Vector<N> cross(Vector<N> a, Vector<N> b) {
    return {mulSub(a.y, b.z, a.z * b.y), mulSub(a.z, b.x, a.x * b.z), mulSub(a.x, b.y, a.y * b.x)};
}
template <int N>
KT_INLINE Float<N> dot(Vector<N> a, Vector<N> b) {
    return mulAdd(a.x, b.x, mulAdd(a.y, b.y, a.z * b.z));
}

template <int N>
KT_INLINE Vector<N> loadVector(const float p[3][N]) {
    return {Float<N>::load(p[0]), Float<N>::load(p[1]), Float<N>::load(p[2])};
}
template <int N>
KT_INLINE void storeFlipped(Vector<N> v, Float<N> sign, float p[3][N]) {
    flipSign(v.x, sign).store(p[0]);
    flipSign(v.y, sign).store(p[1]);
    flipSign(v.z, sign).store(p[2]);
}

/// A patch in memory.
struct Patch {
    const float* points;
    std::uint32_t pointCount;

    KT_INLINE const ktPatchFooter* footer() const {
        return reinterpret_cast<const ktPatchFooter*>(points + 3 * std::size_t(pointCount));
    }
    /// @param count number of points of the next patch
    KT_INLINE Patch next(std::uint32_t count) const {
        const std::uint64_t lines = (12 * pointCount + 127) / 64;
        return {points + 16 * lines, count};
    }
};

template <class Levels>
KT_INLINE Patch firstPatch(const Levels& levels, ktWideBvhRef leaf) {
    return {reinterpret_cast<const float*>(levels.address(leaf)),
            (static_cast<std::uint32_t>(leaf >> ktWideBvhLayout::pointShift) & (ktWideBvhLayout::patchPoints - 1)) + 1};
}

KT_INLINE LeafCorners cornersOf(const ktUnindexedLeaf& leaf) {
    return {loadVector<kLeafTriangles>(leaf.corner[0]), loadVector<kLeafTriangles>(leaf.corner[1]),
            loadVector<kLeafTriangles>(leaf.corner[2])};
}

KT_INLINE LeafCorners cornersOf(const Patch& patch) {
    const ktPatchFooter* footer = patch.footer();
    const Floats16 x(patch.points), y(patch.points + patch.pointCount),
        z(patch.points + 2 * std::size_t(patch.pointCount));
    const auto corners = [&](int corner) {
        const Indices8 indices(footer->corner[corner]);
        return Vector<kLeafTriangles>{permute16(x, indices), permute16(y, indices), permute16(z, indices)};
    };
    return {corners(0), corners(1), corners(2)};
}

KT_INLINE void prepareTriangles(const LeafCorners& corners, const float* origin, const float* planeNormal,
                                bool bothSides, PreparedTriangles& triangles) {
    constexpr int N = kLeafTriangles;
    const Vector<N> cornerA = corners.a, cornerB = corners.b, cornerC = corners.c;
    const Vector<N> o{origin[0], origin[1], origin[2]};
    const Vector<N> a = cornerA - o, b = cornerB - o, c = cornerC - o;
    const Vector<N> fromB = cornerA - cornerB, toB = cornerB - cornerC, fromA = cornerC - cornerA;
    // Embree's order of operations, to the last bit. If a vertex lies in the plane of a wall, rounding decides on which
    // side it is, and both tracers must decide alike.
    const Vector<N> normal = cross(fromA, fromB);
    const Float<N> height = dot(normal, a);
    const Float<N> sign = signBit(height);
    const Float<N> zero = 0.0f;
    const Float<N> distance = flipSign(height, sign);
    const Mask<N> front = height < zero;
    Mask<N> usable = zero < distance;
    if (!bothSides)
        usable = usable & front;
    if (planeNormal) {
        const Vector<N> n{planeNormal[0], planeNormal[1], planeNormal[2]};
        usable = usable & (zero < max(dot(a, n), max(dot(b, n), dot(c, n))));
    }
    triangles.usable = usable.bits();
    if (!triangles.usable)
        return;
    // With sums and differences of corners, the error is proportional to the length of the edge. Differences are taken
    // before the vertex becomes the origin. Otherwise, a tiny triangle would become a point, which every ray hits.
    storeFlipped(cross(toB, b + c), sign, triangles.edgeNormal[0]);
    storeFlipped(cross(fromA, c + a), sign, triangles.edgeNormal[1]);
    storeFlipped(cross(fromB, a + b), sign, triangles.edgeNormal[2]);
    storeFlipped(normal, sign, triangles.normal);
    distance.store(triangles.height);
    triangles.front = front.bits();
}

/// Which of 16 rays hit triangle `i` between the distances.
KT_INLINE std::uint32_t raysThroughTriangle(const PreparedTriangles& triangles, std::uint32_t i, Vector<16> d,
                                            Float16 minDistance, Float16 maxDistance) {
    const auto dirDot = [&](const float n[3][kLeafTriangles]) {
        return mulAdd(d.x, Float16(n[0][i]), mulAdd(d.y, Float16(n[1][i]), d.z * Float16(n[2][i])));
    };
    const Float16 zero = 0.0f;
    const Float16 height = triangles.height[i];
    const Float16 dirDotNormal = dirDot(triangles.normal);
    return ((zero <= dirDot(triangles.edgeNormal[0])) & (zero <= dirDot(triangles.edgeNormal[1])) &
            (zero <= dirDot(triangles.edgeNormal[2])) & (dirDotNormal * minDistance < height) &
            (height <= dirDotNormal * maxDistance))
        .bits();
}

/// Which triangles a ray of the tile can hit. Conservative.
KT_INLINE std::uint32_t trianglesInTile(const PreparedTriangles& triangles, const ktTileState& tile) {
    Mask<8> candidates;
    for (int edge = 0; edge < 3; ++edge) {
        Float8 upperBound = 0.0f;
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 n = Float8::load(triangles.edgeNormal[edge][axis]);
            upperBound = mulAdd(n, tile.center[axis], mulAdd(abs(n), tile.halfExtent[axis], upperBound));
        }
        const Mask<8> inside = Float8(0.0f) <= upperBound;
        candidates = edge ? candidates & inside : inside;
    }
    return candidates.bits() & triangles.usable;
}

/// Which triangles one ray hits between the distances. Same operations in the same order as for 16 rays.
KT_INLINE std::uint32_t trianglesOnRay(const PreparedTriangles& triangles, const float* d, Float8 minDistance,
                                       Float8 maxDistance) {
    const auto dirDot = [&](const float n[3][kLeafTriangles]) {
        return mulAdd(Float8(d[0]), Float8::load(n[0]),
                      mulAdd(Float8(d[1]), Float8::load(n[1]), Float8(d[2]) * Float8::load(n[2])));
    };
    const Float8 zero = 0.0f;
    const Float8 height = Float8::load(triangles.height);
    const Float8 dirDotNormal = dirDot(triangles.normal);
    return ((zero <= dirDot(triangles.edgeNormal[0])) & (zero <= dirDot(triangles.edgeNormal[1])) &
            (zero <= dirDot(triangles.edgeNormal[2])) & (dirDotNormal * minDistance < height) &
            (height <= dirDotNormal * maxDistance))
               .bits() &
           triangles.usable;
}

/// Prepares a leaf's triangles for a vertex and calls `body(ids, triangles)`, patch by patch, until it returns false.
/// @return false if `body` returned false
template <class Levels, class Body>
KT_INLINE bool forEachPrepared(const Levels& levels, ktWideBvhRef leaf, const float* origin, const float* planeNormal,
                               bool bothSides, const Body& body) {
    PreparedTriangles triangles;
    std::uint32_t ids[kLeafTriangles];
    if (leaf & ktWideBvhLayout::unindexedFlag) {
        const auto& wide = *reinterpret_cast<const ktUnindexedLeaf*>(levels.address(leaf));
        prepareTriangles(levels.worldCorners(leaf, cornersOf(wide)), origin, planeNormal, bothSides, triangles);
        return !triangles.usable || body(levels.worldIds(leaf, wide.id, ids), triangles);
    }
    for (Patch patch = firstPatch(levels, leaf);;) {
        prepareTriangles(levels.worldCorners(leaf, cornersOf(patch)), origin, planeNormal, bothSides, triangles);
        const ktPatchFooter* footer = patch.footer();
        if (triangles.usable && !body(levels.worldIds(leaf, footer->id, ids), triangles))
            return false;
        if (!footer->nextPointCount)
            return true;
        patch = patch.next(footer->nextPointCount);
    }
}

} // namespace KT_ISA
