// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// What a ray may hit. Distances are in world units from the origin, along a unit direction. Whether a ray hits the
/// surface that contains its origin depends on rounding. So callers move origins off surfaces, and set a minimum
/// distance above the rounding errors (ktVertexFrames). Coordinates up to 1e12 give results that are exact to rounding;
/// with larger ones, products of three coordinates overflow.
struct ktRayLimits {
    float minDistance = 0.0f; ///< at least 0; nearer hits are ignored, the ray goes on
    float maxDistance = 0.0f; ///< farther hits are ignored; may be the largest finite float
    bool bothSides = true;    ///< false: only surfaces with the front (counter-clockwise) side towards the origin
};

/// Up to sixteen rays, each with its own origin, unit direction and limits (world space).
struct alignas(64) ktRayPacket {
    static constexpr std::uint32_t width = 16;
    float originX[width], originY[width], originZ[width];
    float directionX[width], directionY[width], directionZ[width];
    float minDistance[width], maxDistance[width];
    std::uint32_t active = 0; ///< bit i: ray i is traced; the other lanes are ignored
};

/// The nearest hits of one packet. In lanes that hit nothing or were not active, `mesh` is noMesh and the rest is
/// undefined.
struct alignas(64) ktHitPacket {
    static constexpr std::uint32_t width = 16;
    static constexpr std::uint32_t noMesh = 0xFFFFFFFFu;
    std::uint32_t mesh[width];     ///< index into the list passed to ktTracer::build()
    std::uint32_t triangle[width]; ///< triangle of that mesh
    float u[width], v[width];      ///< barycentric weights of the triangle's second and third corner
    float distance[width];
    std::uint32_t backSide = 0; ///< bit i: ray i hit the back of the surface
};
