// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// What a ray may hit. Distances are world units along a ray of unit direction, counted from its origin. A surface that
/// the origin lies in, to within rounding, is met or not as rounding has it: callers move origins off surfaces, and ask
/// for a minimum distance that rounding does not reach (ktVertexFrames). Results are exact to rounding for coordinates
/// up to 1e12; beyond, products of three of them are no floats any more.
struct ktRayLimits {
    float minDistance = 0.0f; ///< at least 0; nearer hits do not count and do not stop the ray
    float maxDistance = 0.0f; ///< farther hits do not count; may be the largest finite float
    bool bothSides = true;    ///< false: only surfaces whose front (counter-clockwise) side faces the origin are hit
};

/// Up to sixteen rays, each with its own origin, unit direction and limits (world space).
struct alignas(64) ktRayPacket {
    static constexpr std::uint32_t width = 16;
    float originX[width], originY[width], originZ[width];
    float directionX[width], directionY[width], directionZ[width];
    float minDistance[width], maxDistance[width];
    std::uint32_t active = 0; ///< bit i: ray i is traced; other lanes need not be filled
};

/// The nearest hits of one packet. Lanes that hit nothing, or were not active, have `mesh` == noMesh and keep
/// undefined values elsewhere.
struct alignas(64) ktHitPacket {
    static constexpr std::uint32_t width = 16;
    static constexpr std::uint32_t noMesh = 0xFFFFFFFFu;
    std::uint32_t mesh[width];     ///< index into the list given to ktTracer::build()
    std::uint32_t triangle[width]; ///< triangle of that mesh
    float u[width], v[width];      ///< barycentric weights of the triangle's second and third corner
    float distance[width];
    std::uint32_t backSide = 0; ///< bit i: ray i met the back of the surface
};
