// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRoom.h"

#include <array>
#include <cstdint>

/// Indirect light in the room by path tracing.
/// It traces single rays in double precision, in plain random directions, against the rectangles of the room.
/// It shares no code with the tracers or with gathering.
///
/// Each hit of a path adds its direct light once; J. T. Kajiya, "The Rendering Equation", 1986.
class ktRoomReference {
public:
    struct Settings {
        bool hasLamp = true;       ///< direct light comes from the lamp; false: from the visible sky
        double skyDistance = 0;    ///< mm; farther surfaces do not hide the sky
        double gatherDistance = 0; ///< mm; farther surfaces send no light
        int bounces = 1;
        /// 0: takes the light exactly at the hit. Otherwise multiplies the columns and rows of each surface by this
        /// number, calculates the light at the corners of the triangles and interpolates it.
        int tessellation = 0;
    };
    using Light = std::array<double, 3>;

    ktRoomReference(const std::vector<ktRoomSurface>& room, const Settings& settings);

    /// Light that a vertex of a surface receives, by `paths` paths. The random directions depend only on the vertex and
    /// the number of the path.
    Light received(std::size_t surface, int column, int row, int paths) const;

private:
    using Vector = std::array<double, 3>;

    struct Rectangle {
        Vector corner, a, b, normal;
        double squareA, squareB;
        Light albedo;
        int columns, rows;
    };
    /// A point of a surface where a path is, on the side of the normal.
    struct Place {
        const Rectangle* surface = nullptr;
        double s = 0, t = 0; ///< 0 to 1 along a and b
    };
    struct Corner {
        Place place;
        double weight;
    };
    /// M. E. O'Neill, "PCG: A Family of Simple Fast Space-Efficient Statistically Good Algorithms for Random Number
    /// Generation", 2014.
    class Random {
    public:
        Random(std::uint64_t seed, std::uint64_t stream);
        double share(); ///< 0 or more, below 1

    private:
        std::uint32_t next();
        std::uint64_t state = 0, increment;
    };

    static Vector pointOff(const Place& place);
    static Vector randomDirection(const Rectangle& surface, Random& random);
    std::array<Corner, 3> cornersAround(const Place& place) const;
    bool findNearest(const Vector& origin, const Vector& direction, double maxDistance, Place& hit) const;
    Light lampLight(const Place& place) const;
    Light directLight(const Place& place, Random& random) const;
    Light path(Place from, Random& random) const;

    std::vector<Rectangle> surfaces;
    Settings settings;
};
