// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Triangles as seen from a vertex. With the vertex as origin, the plane through it and an edge of a triangle has a
// normal; a ray hits the triangle when it lies on the inner side of all three planes. The normals are computed once for
// a patch of triangles and serve every ray of the vertex. An edge shared by two triangles gives the same normal
// but for its sign, to the last bit, so no ray slips between them. After "Optimizing Ray-Triangle Intersection via
// Automated Search", Andrew Kensler, Peter Shirley, 2006, and "Watertight Ray/Triangle Intersection", Sven Woop,
// Carsten Benthin, Ingo Wald, 2013.

#include "ktBoxTests.h"
#include "ktPermute16.h"

namespace KT_ISA {

constexpr int kPatch = ktWideBvhLayout::patchTriangles;

/// A patch of triangles seen from the vertex. Signs are such that a hit ray has only positive products.
struct alignas(64) SeenTriangles {
    float inner[3][3][kPatch]; ///< [edge][axis][triangle]: normals of the planes through the vertex and each edge
    float normal[3][kPatch];   ///< of the triangles
    float height[kPatch];      ///< of the vertex over the triangles' planes, times the length of `normal`
    std::uint32_t usable;      ///< bit i: triangle i can be hit at all
    std::uint32_t front;       ///< bit i: the vertex is on its front side
};

template <int N>
struct Vector {
    Float<N> x, y, z;
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

/// A patch as it stands in memory.
struct Patch {
    const float* points;
    std::uint32_t pointCount;

    KT_INLINE const ktPatchFooter* end() const {
        return reinterpret_cast<const ktPatchFooter*>(points + 3 * pointCount);
    }
    /// @param count of the next one's points
    KT_INLINE Patch next(std::uint32_t count) const {
        const std::uint64_t lines = (12 * pointCount + 127) / 64;
        return {points + 16 * lines, count};
    }
};

KT_INLINE Patch firstPatch(ktWideBvhRef leaf) {
    return {reinterpret_cast<const float*>(leaf & ktWideBvhLayout::addressMask),
            (static_cast<std::uint32_t>(leaf >> ktWideBvhLayout::pointShift) & (ktWideBvhLayout::patchPoints - 1)) + 1};
}

/// The corners of a leaf's triangles.
struct Corners {
    Vector<kPatch> a, b, c;
};

KT_INLINE Corners cornersOf(const ktUnindexedLeaf& leaf) {
    return {loadVector<kPatch>(leaf.corner[0]), loadVector<kPatch>(leaf.corner[1]), loadVector<kPatch>(leaf.corner[2])};
}

KT_INLINE Corners cornersOf(const Patch& patch) {
    const ktPatchFooter* end = patch.end();
    const Table x(patch.points), y(patch.points + patch.pointCount), z(patch.points + 2 * patch.pointCount);
    const auto corners = [&](int corner) {
        const Picks picks(end->corner[corner]);
        return Vector<kPatch>{x[picks], y[picks], z[picks]};
    };
    return {corners(0), corners(1), corners(2)};
}

KT_INLINE void seeTriangles(const Corners& corners, const float* origin, const float* planeNormal, bool bothSides,
                            SeenTriangles& seen) {
    constexpr int N = kPatch;
    const Vector<N> cornerA = corners.a, cornerB = corners.b, cornerC = corners.c;
    const Vector<N> o{origin[0], origin[1], origin[2]};
    const Vector<N> a = cornerA - o, b = cornerB - o, c = cornerC - o;
    const Vector<N> fromB = cornerA - cornerB, toB = cornerB - cornerC, fromA = cornerC - cornerA;
    // In the order in which Embree does it, to the last bit: whether a vertex in the plane of a wall is before or
    // behind the wall is decided by rounding, and both tracers shall decide alike.
    const Vector<N> normal = cross(fromA, fromB);
    const Float<N> height = dot(normal, a);
    const Float<N> sign = signOf(height);
    const Float<N> zero = 0.0f;
    const Float<N> distance = flipSign(height, sign);
    const Mask<N> front = height < zero;
    Mask<N> usable = zero < distance;
    if (!bothSides)
        usable = usable & front;
    if (planeNormal) {
        const Vector<N> n{planeNormal[0], planeNormal[1], planeNormal[2]};
        usable = usable & (zero < larger(dot(a, n), larger(dot(b, n), dot(c, n))));
    }
    seen.usable = usable.bits();
    if (!seen.usable)
        return;
    // Sums and differences instead of the corners themselves keep the error proportional to the edge's length.
    // Differences are taken before the vertex is moved to the origin: a tiny triangle would become a point, and met by
    // every ray.
    storeFlipped(cross(toB, b + c), sign, seen.inner[0]);
    storeFlipped(cross(fromA, c + a), sign, seen.inner[1]);
    storeFlipped(cross(fromB, a + b), sign, seen.inner[2]);
    storeFlipped(normal, sign, seen.normal);
    distance.store(seen.height);
    seen.front = front.bits();
}

/// Which of 16 rays hit triangle `i` between the distances.
KT_INLINE std::uint32_t raysThroughTriangle(const SeenTriangles& seen, std::uint32_t i, Vector<16> d,
                                            Float16 minDistance, Float16 maxDistance) {
    const auto along = [&](const float n[3][kPatch]) {
        return mulAdd(d.x, Float16(n[0][i]), mulAdd(d.y, Float16(n[1][i]), d.z * Float16(n[2][i])));
    };
    const Float16 zero = 0.0f;
    const Float16 height = seen.height[i];
    const Float16 toward = along(seen.normal);
    return ((zero <= along(seen.inner[0])) & (zero <= along(seen.inner[1])) & (zero <= along(seen.inner[2])) &
            (toward * minDistance < height) & (height <= toward * maxDistance))
        .bits();
}

/// Which triangles may be hit by some ray of a tile.
KT_INLINE std::uint32_t trianglesInTile(const SeenTriangles& seen, const ktTileState& slot) {
    Mask<8> may;
    for (int edge = 0; edge < 3; ++edge) {
        Float8 most = 0.0f;
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 n = Float8::load(seen.inner[edge][axis]);
            most = mulAdd(n, slot.middle[axis], mulAdd(absolute(n), slot.half[axis], most));
        }
        const Mask<8> inside = Float8(0.0f) <= most;
        may = edge ? may & inside : inside;
    }
    return may.bits() & seen.usable;
}

/// Which triangles one ray hits between the distances. The same operations in the same order as for 16 rays.
KT_INLINE std::uint32_t trianglesOnRay(const SeenTriangles& seen, const float* d, Float8 minDistance,
                                       Float8 maxDistance) {
    const auto along = [&](const float n[3][kPatch]) {
        return mulAdd(Float8(d[0]), Float8::load(n[0]),
                      mulAdd(Float8(d[1]), Float8::load(n[1]), Float8(d[2]) * Float8::load(n[2])));
    };
    const Float8 zero = 0.0f;
    const Float8 height = Float8::load(seen.height);
    const Float8 toward = along(seen.normal);
    return ((zero <= along(seen.inner[0])) & (zero <= along(seen.inner[1])) & (zero <= along(seen.inner[2])) &
            (toward * minDistance < height) & (height <= toward * maxDistance))
               .bits() &
           seen.usable;
}

/// Calls `body` for the leaf's triangles as seen from a vertex, patch by patch.
/// `body(ids, seen)` returns whether to go on.
template <class Body>
KT_INLINE bool eachSeen(ktWideBvhRef leaf, const float* origin, const float* planeNormal, bool bothSides,
                        const Body& body) {
    SeenTriangles seen;
    if (leaf & ktWideBvhLayout::wideFlag) {
        const auto& wide = *reinterpret_cast<const ktUnindexedLeaf*>(leaf & ktWideBvhLayout::addressMask);
        seeTriangles(cornersOf(wide), origin, planeNormal, bothSides, seen);
        return !seen.usable || body(wide.id, seen);
    }
    for (Patch patch = firstPatch(leaf);;) {
        seeTriangles(cornersOf(patch), origin, planeNormal, bothSides, seen);
        const ktPatchFooter* end = patch.end();
        if (seen.usable && !body(end->id, seen))
            return false;
        if (!end->nextPoints)
            return true;
        patch = patch.next(end->nextPoints);
    }
}

} // namespace KT_ISA
