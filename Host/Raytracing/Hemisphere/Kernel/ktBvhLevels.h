// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// How a traversal reads nodes and leaves: of a wide BVH (OneLevel), or of a two-level BVH (TwoLevel), which has parts
// in object space. All traversals are compiled for both, so that instances cost nothing in scenes without them.
//
// Whole tiles stay in world space: they are tested against the world-space boxes around the boxes of a part's node. The
// ray phase tests rays in object space; their parameter is the distance in world space. Both are conservative. The
// corners of a part's triangles are transformed like those of a mesh that is written out, with the same bits. So the
// answers are the same, too: only triangles decide.

#include "ktVertexSetup.h"

#include <cstddef>

namespace KT_ISA {

template <int N>
struct Vector {
    Float<N> x, y, z;
};

/// The corners of eight triangles.
struct LeafCorners {
    Vector<ktWideBvhLayout::leafTriangles> a, b, c;
};

/// The boxes of a node's children, relative to an origin in world space.
struct OneLevelBoxes {
    const ktWideBvhNode& node;
    const float* origin;

    KT_INLINE Float8 lower(int axis) const { return Float8::load(node.lower[axis]) - Float8(origin[axis]); }
    KT_INLINE Float8 upper(int axis) const { return Float8::load(node.upper[axis]) - Float8(origin[axis]); }
};

struct OneLevel {
    ktWideBvhRef root;

    explicit KT_INLINE OneLevel(const ktBvhView& view) : root(view.root) {}

    static KT_INLINE const char* address(ktWideBvhRef ref) {
        return reinterpret_cast<const char*>(ref & ktWideBvhLayout::addressMask);
    }
    /// @param ref of a node
    static KT_INLINE const ktWideBvhNode& nodeAt(ktWideBvhRef ref) {
        return *reinterpret_cast<const ktWideBvhNode*>(ref - ktWideBvhLayout::nodeFlags);
    }
    static KT_INLINE ktWideBvhRef childOf(ktWideBvhRef, const ktWideBvhNode& node, std::uint32_t child) {
        return node.child[child];
    }
    /// The instance in whose space the boxes of a node are; 0 is world space.
    static KT_INLINE std::uint32_t instanceOf(ktWideBvhRef) { return 0; }

    /// The boxes of a node in world space.
    static KT_INLINE OneLevelBoxes boxesOf(ktWideBvhRef, const ktWideBvhNode& node, const float* origin) {
        return {node, origin};
    }
    /// The boxes of a node for tests of the tile's rays.
    /// @return reciprocals of the directions for these tests
    static KT_INLINE const float (*boxesForRays(ktTraversalState&, const ktTileState& tile, ktWideBvhRef,
                                                const ktWideBvhNode& node, Float8* lower, Float8* upper))[16] {
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 o = tile.origin[axis];
            lower[axis] = Float8::load(node.lower[axis]) - o;
            upper[axis] = Float8::load(node.upper[axis]) - o;
        }
        return tile.reciprocal;
    }
    /// Replaces the boxes from boxesForRays() by those for a test of the whole tile.
    static KT_INLINE void boxesForTile(const ktTileState&, ktWideBvhRef, const ktWideBvhNode&, Float8*, Float8*) {}
    /// One box in world space, relative to an origin. @param box lower x of a child's box
    static KT_INLINE void relativeBox(const float* box, const float* origin, float* lower, float* upper) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lower[axis] = box[8 * axis] - origin[axis];
            upper[axis] = box[24 + 8 * axis] - origin[axis];
        }
    }
    /// Replaces the box from relativeBox() by one for a test of the tile's rays.
    /// @return reciprocals of the directions for this test
    static KT_INLINE const float (*boxForRays(ktTraversalState&, const ktTileState& tile, std::uint32_t, const float*,
                                              float*, float*))[16] {
        return tile.reciprocal;
    }
    /// Nodes with at most so many tiles left go to the ray phase. @param few usual number
    static KT_INLINE std::uint32_t fewTiles(ktWideBvhRef, std::uint32_t few) { return few; }
    /// Prepares for a new vertex.
    static KT_INLINE void leaveInstances(ktTraversalState&, std::uint32_t) {}

    /// Corners in world space.
    static KT_INLINE LeafCorners worldCorners(ktWideBvhRef, const LeafCorners& corners) { return corners; }
    /// Ids over all meshes. @param buffer may be used for them
    static KT_INLINE const std::uint32_t* worldIds(ktWideBvhRef, const std::uint32_t* ids, std::uint32_t*) {
        return ids;
    }
};

struct TwoLevelBoxes {
    Float8 low[3], high[3];

    KT_INLINE Float8 lower(int axis) const { return low[axis]; }
    KT_INLINE Float8 upper(int axis) const { return high[axis]; }
};

struct TwoLevel {
    ktWideBvhRef root;
    const char* memory;
    const ktBvhInstance* instances; // of instance 0, which does not exist

    explicit KT_INLINE TwoLevel(const ktBvhView& view)
        : root(view.root), memory(reinterpret_cast<const char*>(view.memory)), instances(view.instances - 1) {}

    KT_INLINE const char* address(ktWideBvhRef ref) const { return memory + (ref & ktTwoLevelLayout::offsetMask); }
    KT_INLINE const ktWideBvhNode& nodeAt(ktWideBvhRef ref) const {
        return *reinterpret_cast<const ktWideBvhNode*>(address(ref));
    }
    static KT_INLINE ktWideBvhRef childOf(ktWideBvhRef parent, const ktWideBvhNode& node, std::uint32_t child) {
        return node.child[child] | (parent & ktTwoLevelLayout::instanceMask);
    }
    static KT_INLINE std::uint32_t instanceOf(ktWideBvhRef ref) {
        return static_cast<std::uint32_t>(ref >> ktTwoLevelLayout::instanceShift);
    }

    KT_INLINE TwoLevelBoxes boxesOf(ktWideBvhRef ref, const ktWideBvhNode& node, const float* origin) const {
        TwoLevelBoxes boxes;
        if (const std::uint32_t number = instanceOf(ref))
            enclose(instances[number], node, origin, boxes.low, boxes.high);
        else
            subtract(node, origin, origin, boxes.low, boxes.high);
        return boxes;
    }
    KT_INLINE const float (*boxesForRays(ktTraversalState& state, const ktTileState& tile, ktWideBvhRef ref,
                                         const ktWideBvhNode& node, Float8* lower, Float8* upper) const)[16] {
        const std::uint32_t number = instanceOf(ref);
        if (!number || !instances[number].hasInverse) {
            const TwoLevelBoxes boxes = boxesOf(ref, node, tile.origin);
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis] = boxes.low[axis];
                upper[axis] = boxes.high[axis];
            }
            return tile.reciprocal;
        }
        const ktTileInInstance& inside = enter(state, tile, number);
        subtract(node, inside.belowOf, inside.aboveOf, lower, upper);
        return inside.reciprocal;
    }
    KT_INLINE void boxesForTile(const ktTileState& tile, ktWideBvhRef ref, const ktWideBvhNode& node, Float8* lower,
                                Float8* upper) const {
        if (const std::uint32_t number = instanceOf(ref))
            enclose(instances[number], node, tile.origin, lower, upper);
    }
    static KT_INLINE void relativeBox(const float* box, const float* origin, float* lower, float* upper) {
        OneLevel::relativeBox(box, origin, lower, upper);
    }
    KT_INLINE const float (*boxForRays(ktTraversalState& state, const ktTileState& tile, std::uint32_t number,
                                       const float* box, float* lower, float* upper) const)[16] {
        if (!number)
            return tile.reciprocal;
        if (!instances[number].hasInverse) {
            for (int axis = 0; axis < 3; ++axis) {
                lower[axis] = -kHuge;
                upper[axis] = kHuge;
            }
            return tile.reciprocal;
        }
        const ktTileInInstance& inside = enter(state, tile, number);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lower[axis] = box[8 * axis] - inside.belowOf[axis];
            upper[axis] = box[24 + 8 * axis] - inside.aboveOf[axis];
        }
        return inside.reciprocal;
    }
    // In instances, the boxes for whole tiles are larger than those for rays.
    static KT_INLINE std::uint32_t fewTiles(ktWideBvhRef ref, std::uint32_t few) {
        return instanceOf(ref) ? 2 * few : few;
    }
    static KT_INLINE void leaveInstances(ktTraversalState& state, std::uint32_t vertexIndex) {
        for (std::uint32_t t = 0; t >> state.tileShift == 0; ++t)
            state.tileInInstance[(vertexIndex << state.tileShift) + t].instance = 0;
    }

    KT_INLINE LeafCorners worldCorners(ktWideBvhRef ref, const LeafCorners& corners) const {
        const std::uint32_t number = instanceOf(ref);
        if (!number)
            return corners;
        const double(&m)[3][4] = instances[number].toWorld;
        return {worldPoints(m, corners.a), worldPoints(m, corners.b), worldPoints(m, corners.c)};
    }
    KT_INLINE const std::uint32_t* worldIds(ktWideBvhRef ref, const std::uint32_t* ids, std::uint32_t* buffer) const {
        const std::uint32_t number = instanceOf(ref);
        if (!number)
            return ids;
        const std::uint32_t first = instances[number].firstTriangle;
        for (std::uint32_t i = 0; i < ktWideBvhLayout::leafTriangles; ++i)
            buffer[i] = ids[i] + first;
        return buffer;
    }

private:
    static KT_INLINE void subtract(const ktWideBvhNode& node, const float* fromLower, const float* fromUpper,
                                   Float8* lower, Float8* upper) {
        for (int axis = 0; axis < 3; ++axis) {
            lower[axis] = Float8::load(node.lower[axis]) - Float8(fromLower[axis]);
            upper[axis] = Float8::load(node.upper[axis]) - Float8(fromUpper[axis]);
        }
    }

    // The world-space boxes around the boxes of a part's node, relative to the origin. ktBvhInstance::extent covers the
    // rounding of terms that are as large as the part and its position; the factor of `center` that of the distance.
    static KT_INLINE void enclose(const ktBvhInstance& instance, const ktWideBvhNode& node, const float* origin,
                                  Float8* lower, Float8* upper) {
        Float8 sum[3], size[3];
        for (int axis = 0; axis < 3; ++axis) {
            const Float8 low = Float8::load(node.lower[axis]), high = Float8::load(node.upper[axis]);
            sum[axis] = low + high;
            size[axis] = high - low;
        }
        for (int axis = 0; axis < 3; ++axis) {
            const float *c = instance.center[axis], *e = instance.extent[axis];
            const Float8 center =
                mulAdd(sum[0], Float8(c[0]),
                       mulAdd(sum[1], Float8(c[1]), mulAdd(sum[2], Float8(c[2]), Float8(c[3] - origin[axis]))));
            const Float8 half =
                mulAdd(size[0], Float8(e[0]),
                       mulAdd(size[1], Float8(e[1]),
                              mulAdd(size[2], Float8(e[2]), mulAdd(abs(center), Float8(4e-7f), Float8(e[3])))));
            lower[axis] = center - half;
            upper[axis] = center + half;
        }
    }

    // The rays of a tile in the space of an instance. A tile stays in an instance for several nodes.
    KT_INLINE const ktTileInInstance& enter(ktTraversalState& state, const ktTileState& tile,
                                            std::uint32_t number) const {
        ktTileInInstance& inside = state.tileInInstance[tile.index];
        if (inside.instance != number) {
            inside.instance = number;
            transformTile(instances[number], tile, inside);
        }
        return inside;
    }

    // A point of a ray inside the part is off by the rounding of the origin, and of the direction times the distance.
    static __attribute__((noinline)) void transformTile(const ktBvhInstance& instance, const ktTileState& tile,
                                                        ktTileInInstance& inside) {
        constexpr float roundings = 12.0f / (1 << 24);
        float relative[3], terms[3];
        for (int i = 0; i < 3; ++i) {
            relative[i] = tile.origin[i] - instance.center[i][3];
            terms[i] = 2.0f * __builtin_fabsf(relative[i]) + instance.reach[i];
        }
        const Float16 x = Float16::load(tile.direction[0]), y = Float16::load(tile.direction[1]),
                      z = Float16::load(tile.direction[2]);
        for (int axis = 0; axis < 3; ++axis) {
            const float* row = instance.inverse[axis];
            float origin = 0, error = 0;
            for (int i = 0; i < 3; ++i) {
                origin += row[i] * relative[i];
                error += __builtin_fabsf(row[i]) * terms[i];
            }
            error *= roundings;
            inside.belowOf[axis] = origin + error;
            inside.aboveOf[axis] = origin - error;
            const Float16 direction = mulAdd(x, Float16(row[0]), mulAdd(y, Float16(row[1]), z * Float16(row[2])));
            finiteReciprocal(direction).store(inside.reciprocal[axis]);
        }
    }

    // The operations of ktWorldTransform::position(), in the same order.
    static KT_INLINE Vector<8> worldPoints(const double (&m)[3][4], const Vector<8>& points) {
        alignas(64) float from[3][8], to[3][8];
        points.x.store(from[0]);
        points.y.store(from[1]);
        points.z.store(from[2]);
        double exact[3][8];
        for (int axis = 0; axis < 3; ++axis)
            for (int i = 0; i < 8; ++i)
                exact[axis][i] = from[axis][i];
        for (int row = 0; row < 3; ++row)
            for (int i = 0; i < 8; ++i)
                to[row][i] = static_cast<float>(m[row][0] * exact[0][i] + m[row][1] * exact[1][i] +
                                                m[row][2] * exact[2][i] + m[row][3]);
        return {Float8::load(to[0]), Float8::load(to[1]), Float8::load(to[2])};
    }
};

} // namespace KT_ISA
