// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Smooth normals of a triangle mesh; vertices at equal positions share the normal. It is the normalised sum of the
/// normals of the triangles around it, weighted by their angles there (Grit Thürmer and Charles A. Wüthrich, "Computing
/// Vertex Normals from Polygonal Facets", 1998). If the sum is zero, as between two sheets back to back, a vertex takes
/// only the triangles that index it. A vertex of no triangle with an area gets (0, 1, 0).
/// @param positions x, y, z of each vertex, finite
/// @param triangles three indices each, below `count`
/// @return x, y, z of each vertex, unit length
std::vector<float> ktMakeSmoothNormals(const float* positions, std::size_t count,
                                       const std::vector<std::uint32_t>& triangles);
