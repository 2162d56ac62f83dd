// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <vector>

/// The triangles around a vertex (its one-ring), summed up: where its own surface lies, seen from it. Object space.
struct ktOneRing {
    float sum[3] = {0, 0, 0}; ///< of the unit vectors towards the centroids of the triangles
    float count = 0;          ///< number of triangles

    void add(const ktOneRing& other) {
        for (int axis = 0; axis < 3; ++axis)
            sum[axis] += other.sum[axis];
        count += other.count;
    }

    /// Finds the direction along the surface, away from its border. Returns false if there is none: the surface lies
    /// all around the vertex, or goes mainly along the normal.
    /// @param normal    of the vertex, of any length but zero
    /// @param direction three floats, of any length; set in either case
    bool findInward(const float* normal, float* direction) const;
};

/// Sums up the one-ring of each of `count` vertices.
/// @param positions three floats per vertex
/// @param triangles three vertices each, below `count`
/// @throws ktCanceled, std::bad_alloc
std::vector<ktOneRing> ktMakeOneRings(const float* positions, std::uint32_t count,
                                      const std::vector<std::uint32_t>& triangles);
