// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Normals of a triangle mesh, smooth over vertices that lie in the same place: at each vertex the unit vectors of the
/// triangles around it, weighted by their angles there (Grit Thürmer and Charles A. Wüthrich, "Computing Vertex Normals
/// from Polygonal Facets", 1998). Where these cancel out, as between two sheets back to back, a vertex keeps to its own
/// triangles; a vertex of no triangle with an area gets (0, 1, 0).
/// @param positions x, y, z of each vertex, finite
/// @param triangles three indices each, below `count`
/// @return x, y, z of each vertex, unit length
std::vector<float> ktMakeSmoothNormals(const float* positions, std::size_t count,
                                       const std::vector<std::uint32_t>& triangles);
