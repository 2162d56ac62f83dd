// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

/// How large a triangle is. Not finite if a position is not.
struct ktTriangleSize {
    double area = 0;
    double longestEdge_squared = 0;
};

/// Measures a triangle.
/// @param positions three floats per vertex
/// @param corners   three vertices
inline ktTriangleSize ktMeasureTriangle(const float* positions, const std::uint32_t* corners) {
    double edges[3][3];
    ktTriangleSize size;
    for (std::size_t corner = 0; corner < 3; ++corner) {
        const float* from = positions + 3 * std::size_t(corners[corner]);
        const float* to = positions + 3 * std::size_t(corners[(corner + 1) % 3]);
        double square = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            edges[corner][axis] = double(to[axis]) - from[axis];
            square += edges[corner][axis] * edges[corner][axis];
        }
        size.longestEdge_squared = std::max(size.longestEdge_squared, square);
    }
    const double *a = edges[0], *b = edges[2];
    const double x = a[1] * b[2] - a[2] * b[1], y = a[2] * b[0] - a[0] * b[2], z = a[0] * b[1] - a[1] * b[0];
    size.area = 0.5 * std::sqrt(x * x + y * y + z * z);
    return size;
}
