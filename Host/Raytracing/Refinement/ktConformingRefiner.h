// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHashMap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <utility>
#include <vector>

/// Splits edges of a group of triangle meshes and keeps the group conforming: if two triangles, of one mesh or of two,
/// share an edge in space, a split of this edge splits both. split() always bisects triangles at their longest edge. So
/// their shapes stay good, and the result of a set of splits does not depend on their order. A triangle is not split if
/// its longest edge is locked, or if it is so thin that its parts would vanish in rounding.
/// After M.-C. Rivara, "Algorithms for refining triangular grids suitable for adaptive and multigrid techniques", 1984.
/// cut() splits an edge at any point, and merge() takes back a split.
///
/// Vertices and triangles are numbered over the whole group, starting with the first mesh. New ones are appended.
/// Many threads may read at once; changes are not thread-safe.
class ktConformingRefiner {
public:
    using Index = std::uint32_t;
    static constexpr Index none = 0xFFFFFFFFu;

    /// A vertex: the index of its welded position (vertices at one position share it), and the two vertices that a new
    /// one lies between.
    struct Vertex {
        Index position;
        Index parents[2]; ///< `none` for an original vertex; else the smaller first
        Index mesh;
        double at = 0; ///< where between them, from the first: above 0, below 1
    };
    struct Triangle {
        Index vertices[3]; ///< with the winding of the original triangle
        Index mesh;
        bool isDegenerate; ///< the original triangle has no height, so its parts may vanish
    };
    /// A bisected triangle: (a, b, c) became (a, m, c), and (m, b, c) is new. m lies between a and b.
    struct Bisection {
        Index triangle;
        Index newTriangle;
        int corner;      ///< of the original triangle: a
        double at = 0.5; ///< where m is: 0 at a, 1 at b
        bool isCut = false;
    };
    /// The bisections of all triangles at an edge that was split once.
    struct Split {
        Index position; ///< of the new vertices
        Index firstBisection, bisectionCount;
    };
    /// An edge in space: the indices of its welded positions, the smaller first.
    using Edge = std::uint64_t;
    using Point = std::array<double, 3>;

    /// @param weldDistance vertices at most this far apart share a position; world units, at least 0
    explicit ktConformingRefiner(double weldDistance);

    /// Adds a mesh. Add all meshes before the first split.
    /// @param positions x, y, z per vertex, world space, finite
    /// @param indices   three per triangle
    /// @return index of the mesh, from 0
    Index addMesh(const std::vector<Point>& positions, const std::vector<Index>& indices);
    /// Forbids splitting the edge between two points in space, because geometry outside the group shares it.
    /// Ignores points without a vertex. Call before the first split.
    void lockEdge(const Point& a, const Point& b);
    /// Forbids splitting any edge of a mesh, also where other meshes share it.
    void lockMesh(Index mesh);

    /// Splits an edge at its midpoint, and first all edges that must be split so that the group stays conforming.
    /// @return false if the edge is not split: it is locked, does not exist (any more) or is shorter than eight weld
    ///         distances; a triangle beside it is lower than that; a longer edge of such a triangle cannot be split; or
    ///         the vertex limit is reached.
    ///         Even then, longer edges may have been split. The group is always conforming.
    bool split(Edge edge);
    /// Splits an edge at any point, whether or not longer edges are beside it. Keeps the group conforming.
    /// @param at from the end with the smaller index (0) to the other (1); rounded to 2^-20
    /// @return false if canCut() is: nothing is then split
    bool cut(Edge edge, double at);
    /// Whether an edge can be cut. It must not be locked, a part must not be shorter than eight weld distances, and no
    /// triangle beside it may become a sliver: lower than a fifth of its longest edge.
    bool canCut(Edge edge, double at) const;
    /// Roughly how many triangles cut() adds: those beside the edge.
    std::size_t cutCost(Edge edge) const;

    /// Splits so far, also those taken back. They are numbered in their order in time.
    std::size_t splitCount() const { return splits.size(); }
    const Split& splitAt(std::size_t split) const { return splits[split]; }
    const Bisection& bisection(std::size_t index) const { return bisections[index]; }
    /// Whether a split can be taken back: nothing but its parts uses its new vertices.
    bool canMerge(std::size_t split) const;
    /// Takes back a split: `triangle` of each bisection is again what it was before, and `newTriangle` collapses. The
    /// new vertices stay in the list, but no triangle has them.
    void merge(std::size_t split);

    /// The longest edge of a triangle: the one at which it is bisected.
    Edge longestEdge(Index triangle) const { return edge(triangle, longestCorner(triangle)); }
    /// Roughly how many triangles split() adds.
    std::size_t splitCost(Edge edge) const;
    /// Number of new vertices from which split() refuses. The last split may exceed it by a few vertices.
    void setVertexLimit(std::size_t newVertices) { vertexLimit = newVertices; }

    /// Bisections since the last call, in their order in time.
    std::vector<Bisection> takeBisections();

    static Edge edgeBetween(Index positionA, Index positionB);
    Edge edge(Index triangle, int corner) const; ///< from the corner to the next one
    /// Whether two corners share a position. Such a triangle has no area. It is never split and may be left out.
    bool isCollapsed(Index triangle) const;
    bool isLocked(Edge edge) const { return locked.count(edge) != 0; }
    double squaredLength(Edge edge) const;

    const std::vector<Vertex>& vertices() const { return vertexList; }
    const std::vector<Triangle>& triangles() const { return triangleList; }
    const Point& position(Index index) const { return weldedPositions[index]; }
    std::size_t originalVertexCount() const { return firstNewVertex; }
    std::size_t meshCount() const { return meshFirstVertex.size(); }
    /// Index of the first original vertex of a mesh. The original vertices of a mesh are consecutive.
    Index firstVertex(Index mesh) const { return meshFirstVertex[mesh]; }

private:
    using Cell = std::array<std::int64_t, 3>;

    Cell cellOf(const Point& point, double offset) const;
    Index weld(const Point& point);
    Index addPosition(const Point& point);
    Index findPosition(const Point& point) const;
    Index firstHalfEdge(Edge edge) const; ///< `none` if the edge does not exist (any more)
    void link(Index triangle);
    void unlink(Index triangle);
    /// The corner where the longest edge of the triangle begins.
    int longestCorner(Index triangle) const;
    bool longer(Edge a, Edge b) const;
    /// Whether the triangle is too thin to be bisected at the edge from `corner`.
    bool isTooThin(Index triangle, int corner) const;
    void bisect(Edge edge, double at, bool isCut);
    Index vertexBetween(Index a, Index b, double at, Index welded);

    double weldDistance;
    double cellSize; // of the search grid
    double minSize;  // of an edge, and of the height of a triangle, that is split
    std::vector<Point> weldedPositions;
    ktHashMap<Index> firstInCell;  // first welded position in a cell of the search grid
    std::vector<Index> nextInCell; // next welded position in the same cell
    std::vector<Vertex> vertexList;
    std::vector<Triangle> triangleList;
    std::vector<Index> meshFirstVertex;
    std::size_t firstNewVertex = 0;
    std::size_t vertexLimit = static_cast<std::size_t>(-1);
    // Triangles around an edge: a list of half-edges (3 * triangle + corner) that begins at firstHalfEdge(edge).
    ktHashMap<Index> firstHalfEdges;
    std::vector<Index> nextHalfEdge;
    ktHashMap<Index> vertexBetweenVertices; // keyed by two vertices; `none` after a merge
    std::unordered_set<Edge> locked;
    std::vector<Index> cornerCount; // by welded position: corners of triangles that have it
    std::vector<Bisection> bisections;
    std::vector<Index> earlierSplitOf; // by bisection: lastSplitOf its triangle before
    std::vector<Split> splits;
    std::vector<Index> lastSplitOf; // by triangle: the split that made it what it is, or `none`
    std::size_t takenBisections = 0;
};
