// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cmath>

/// Maps points of the unit square to directions of the upper hemisphere (z up), and back. Equal areas of the square are
/// equal cosine-weighted solid angles: u is the squared sine of the angle to z, v the azimuth as a fraction of a turn.
/// Seen from above, the directions fill the unit disc evenly (T. J. Malley, "A Shading Method for Computer
/// Generated Images", 1988).
namespace ktHemisphereMap {

/// @param u 0 (straight up) to 1 (the horizon)
/// @param v 0 to 1, from x towards y
/// @param direction three floats, a unit vector
inline void toDirection(double u, double v, float* direction) {
    const double turn = 6.283185307179586;
    const double radius = std::sqrt(u);
    direction[0] = static_cast<float>(radius * std::cos(turn * v));
    direction[1] = static_cast<float>(radius * std::sin(turn * v));
    direction[2] = static_cast<float>(std::sqrt(std::max(0.0, 1.0 - u)));
}

/// The inverse of toDirection(); v is 0 for the direction straight up.
inline void toSquare(const float* direction, double& u, double& v) {
    const double turn = 6.283185307179586;
    const double x = direction[0], y = direction[1];
    u = std::min(1.0, x * x + y * y);
    v = std::atan2(y, x) / turn;
    if (v < 0.0)
        v += 1.0;
}

} // namespace ktHemisphereMap
