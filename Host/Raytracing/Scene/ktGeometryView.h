// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <vector>

/// The arrays that define the surface of a geometry, as plain memory for any thread. Valid until a property of the
/// geometry changes its size or is destroyed.
struct ktGeometryView {
    /// An array of unsigned integers of 1, 2 or 4 bytes.
    struct Integers {
        const void* data = nullptr;
        std::uint32_t size = 0;
        std::uint32_t bytes = 1;

        std::uint32_t operator[](std::size_t i) const {
            switch (bytes) {
            case 1:
                return static_cast<const std::uint8_t*>(data)[i];
            case 2:
                return static_cast<const std::uint16_t*>(data)[i];
            default:
                return static_cast<const std::uint32_t*>(data)[i];
            }
        }
    };

    Integers types, lengths, indices;
    bool hasLengths = false;        ///< false: one primitive has all vertices
    bool hasIndices = false;        ///< false: vertex i has position i
    std::uint32_t indexStride = 1;  ///< indices per vertex
    std::uint32_t positionSlot = 0; ///< which of them is that of the position
    std::uint32_t positionCount = 0;

    /// x, y, z of every position.
    const float* positions() const { return converted.empty() ? stored : converted.data(); }

    const float* stored = nullptr;
    std::vector<float> converted; ///< positions that are not stored as three floats
};

/// Makes the view of a geometry; main thread only. Null gives an empty view.
ktGeometryView ktViewGeometry(const osg::GeometryPtr& geometry);

/// The triangles of all primitives: three position indices each, counter-clockwise seen from the front. Leaves out
/// points, lines and triangles with two equal corners. Leaves out and counts in `badTriangles`: triangles with an index
/// out of range, or with a position that is not finite or beyond 1e18. Any thread.
/// @throws ktCanceled, std::bad_alloc
std::vector<std::uint32_t> ktReadTriangles(const ktGeometryView& view, std::uint64_t& badTriangles);
