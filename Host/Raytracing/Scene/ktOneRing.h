// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <vector>

/// Where, seen from a vertex, its own surface lies. Object space.
struct ktOneRing {
    float sum[3] = {0, 0, 0}; ///< of the unit vectors towards the triangles around the vertex
    float count = 0;          ///< triangles

    void add(const ktOneRing& other) {
        for (int axis = 0; axis < 3; ++axis)
            sum[axis] += other.sum[axis];
        count += other.count;
    }

    /// The way along the surface to where it lies, when it lies on one side only, as at an edge, and does not rise from
    /// there more steeply than it spreads.
    /// @param normal of the vertex, any length but zero
    /// @param way    three floats, any length
    bool findInward(const float* normal, float* way) const;
};

/// Looks around each of `count` vertices.
/// @param positions three floats a vertex
/// @param triangles three vertices each, all below `count`
/// @throws ktCanceled, std::bad_alloc
std::vector<ktOneRing> ktMakeOneRings(const float* positions, std::uint32_t count,
                                      const std::vector<std::uint32_t>& triangles);
