// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHashMap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <utility>
#include <vector>

/// Splits edges of a group of triangle meshes and keeps the whole group conforming: wherever two triangles, of one
/// mesh or of two, share an edge in space, a split of that edge splits both. Triangles are only ever bisected at their
/// longest edge, so that shapes stay good and a set of splits gives one result in whatever order it is asked for; a
/// triangle whose longest edge is locked stays whole, and so does one so thin that its parts would vanish in rounding.
/// After M.-C. Rivara, "Algorithms for refining triangular grids suitable for adaptive and multigrid techniques", 1984.
///
/// Vertices and triangles are numbered over the whole group: those of the first mesh first. New ones are appended.
/// Not thread-safe; reading from many threads is.
class ktConformingRefiner {
public:
    using Index = std::uint32_t;
    static constexpr Index none = 0xFFFFFFFFu;

    /// A vertex: where it is in space (vertices at one place share a `place`), and for a new one the two it lies
    /// between.
    struct Vertex {
        Index position;
        Index parents[2]; ///< `none` for a vertex that was there from the start
        Index mesh;
    };
    struct Triangle {
        Index vertices[3]; ///< in the orientation of the triangle it came from
        Index mesh;
        bool isDegenerate; ///< came from a triangle without height: there is nothing to lose in it
    };
    /// What became of a triangle (a, b, c): it turned into (a, m, c), and (m, b, c) is new, m in the middle of a and b.
    struct Bisection {
        Index triangle;
        Index newTriangle;
        int corner; ///< of the triangle as it was: at a
    };
    /// An edge in space, by its places, the smaller first.
    using Edge = std::uint64_t;
    using Point = std::array<double, 3>;

    /// @param weldDistance vertices at most this far apart count as being at one place; world units, at least 0
    explicit ktConformingRefiner(double weldDistance);

    /// Adds a mesh; all meshes come before the first split.
    /// @param positions x, y, z per vertex, world space, finite
    /// @param indices   three per triangle
    /// @return the mesh's number, from 0
    Index addMesh(const std::vector<Point>& positions, const std::vector<Index>& indices);
    /// Forbids splitting the edge between two points in space, because something that is not in the group has it too.
    /// Unknown places are ignored. Comes before the first split.
    void lockEdge(const Point& a, const Point& b);
    /// Forbids splitting any edge of a mesh, and with it what other meshes share of these edges.
    void lockMesh(Index mesh);

    /// Splits an edge at its middle, and before it what must be split so that the group stays conforming.
    /// @return false when the edge stays whole: it is locked, not there (any more), shorter than eight weld distances,
    /// a
    ///         triangle at it is lower than that, it cannot be reached because a longer edge beside it stays whole, or
    ///         the limit is reached. Longer edges may have been split even so; the group conforms in any case.
    bool split(Edge edge);
    /// New vertices beyond which split() refuses; it may be passed by the few that one split needs.
    void setVertexLimit(std::size_t newVertices) { vertexLimit = newVertices; }

    /// Bisections since the last call, in the order in which they took place.
    std::vector<Bisection> takeBisections() { return std::exchange(bisections, {}); }

    static Edge edgeBetween(Index positionA, Index positionB);
    Edge edge(Index triangle, int corner) const; ///< from the corner to the next one
    /// Whether two corners are at one place: such a triangle has no area, is never split and may be left out.
    bool isCollapsed(Index triangle) const;
    bool isLocked(Edge edge) const { return locked.count(edge) != 0; }
    double squaredLength(Edge edge) const;

    const std::vector<Vertex>& vertices() const { return vertexList; }
    const std::vector<Triangle>& triangles() const { return triangleList; }
    const Point& position(Index index) const { return weldedPositions[index]; }
    std::size_t originalVertexCount() const { return firstNewVertex; }
    std::size_t meshCount() const { return meshFirstVertex.size(); }
    /// Number of a mesh's first original vertex; its original vertices follow one another.
    Index firstVertex(Index mesh) const { return meshFirstVertex[mesh]; }

private:
    using Cell = std::array<std::int64_t, 3>;

    Cell cellOf(const Point& point, double offset) const;
    Index weld(const Point& point);
    Index addPosition(const Point& point);
    Index findPosition(const Point& point) const;
    Index firstHalfEdge(Edge edge) const; ///< `none` when the edge is not there (any more)
    void link(Index triangle);
    void unlink(Index triangle);
    /// Corner at which the triangle's longest edge begins.
    int longestCorner(Index triangle) const;
    bool longer(Edge a, Edge b) const;
    /// Whether bisecting the triangle at its side from `corner` would leave parts too thin to tell from a line.
    bool isTooThin(Index triangle, int corner) const;
    void bisect(Edge edge);
    Index midpointVertex(Index a, Index b, Index welded);

    double weldDistance;
    double cellSize; // of the search grid
    double minSize;  // of what is split: edges and, above them, triangles
    std::vector<Point> weldedPositions;
    ktHashMap<Index> firstInCell;  // in a cell of the search grid
    std::vector<Index> nextInCell; // in the same cell
    std::vector<Vertex> vertexList;
    std::vector<Triangle> triangleList;
    std::vector<Index> meshFirstVertex;
    std::size_t firstNewVertex = 0;
    std::size_t vertexLimit = static_cast<std::size_t>(-1);
    // Triangles around an edge: a chain of sides (3 * triangle + corner) that begins at firstHalfEdge(edge).
    ktHashMap<Index> firstHalfEdges;
    std::vector<Index> nextHalfEdge;
    ktHashMap<Index> midpointOfVertices; // keyed by two vertices
    std::unordered_set<Edge> locked;
    std::vector<Bisection> bisections;
};
