// SPDX-License-Identifier: LGPL-2.1-or-later
// Sums up the triangles around each vertex, to find the direction along the surface away from its border.
#include "ktOneRing.h"

#include "ktCancelPoint.h"

#include <cmath>

bool ktOneRing::findInward(const float* normal, float* direction) const {
    double along = 0.0, square = 0.0, across = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        along += double(sum[axis]) * normal[axis];
        square += double(normal[axis]) * normal[axis];
    }
    const double rise = along / square;
    for (int axis = 0; axis < 3; ++axis) {
        const double part = sum[axis] - rise * normal[axis];
        direction[axis] = static_cast<float>(part);
        across += part * part;
    }
    across = std::sqrt(across);
    // If the surface lies all around, the unit vectors nearly cancel out.
    return across > 0.3 * count && across > 2.0 * rise * std::sqrt(square);
}

std::vector<ktOneRing> ktMakeOneRings(const float* positions, std::uint32_t count,
                                      const std::vector<std::uint32_t>& triangles) {
    std::vector<ktOneRing> oneRings(count);
    for (std::size_t first = 0; first + 2 < triangles.size(); first += 3) {
        if (first % 65536 == 0)
            ktThrowIfCanceled();
        const float* corners[3];
        for (std::size_t i = 0; i < 3; ++i)
            corners[i] = positions + 3 * std::size_t(triangles[first + i]);
        for (std::size_t i = 0; i < 3; ++i) {
            // The direction to the centroid is that to the midpoint of the opposite edge.
            float way[3], square = 0.0f;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                way[axis] = 0.5f * corners[(i + 1) % 3][axis] + 0.5f * corners[(i + 2) % 3][axis] - corners[i][axis];
                square += way[axis] * way[axis];
            }
            if (!(square > 0.0f) || !std::isfinite(square))
                continue;
            const float scale = 1.0f / std::sqrt(square);
            ktOneRing& sums = oneRings[triangles[first + i]];
            for (std::size_t axis = 0; axis < 3; ++axis)
                sums.sum[axis] += way[axis] * scale;
            sums.count += 1.0f;
        }
    }
    return oneRings;
}
