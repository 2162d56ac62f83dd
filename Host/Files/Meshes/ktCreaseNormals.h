// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A surface with normals, whose vertices are split where it has creases.
struct ktCreasedSurface {
    std::vector<float> normals;           ///< x, y, z of each vertex, unit length; the added vertices come last
    std::vector<std::uint32_t> added;     ///< for each added vertex, the vertex that it is a copy of
    std::vector<std::uint32_t> triangles; ///< with the added vertices; empty if none was added
    bool isFlat = true;                   ///< each vertex has the normal of all its triangles
};

/// The normals of a surface that came without. Two triangles that share both vertices of an edge are smooth across it
/// if the angle between their normals is at most the crease angle. The triangles around a vertex fall into groups that
/// are connected across such edges. Each group has one normal: the mean of the triangles' normals, weighted by their
/// angles at the vertex (Grit Thürmer and Charles A. Wüthrich, "Computing Vertex Normals from Polygonal Facets", 1998).
/// A vertex whose groups differ is split, one vertex for each.
///
/// So triangles that share no vertices are flat. Curved parts of a surface are smooth across equal positions too, for
/// example where texture coordinates divide the vertices. A vertex of no triangle with an area gets (0, 1, 0).
///
/// A surface with the added vertices gives the same normals again, and no further vertices.
/// @param positions       x, y, z of each vertex, finite
/// @param triangles       three indices each, below `count`
/// @param creaseAngle_deg 0: all edges that are not flat are sharp; 180: none
ktCreasedSurface ktFindCreaseNormals(const float* positions, std::size_t count,
                                     const std::vector<std::uint32_t>& triangles, double creaseAngle_deg);
