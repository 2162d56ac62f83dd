// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells whether a ray certainly hits something, or whether rounding decides.
#include "ktRoundingJudge.h"

#include "ktTestVector.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = ktTestVector;

double largest(const float* p) {
    return std::max({std::fabs(double(p[0])), std::fabs(double(p[1])), std::fabs(double(p[2]))});
}
double length(Vector a) {
    return std::sqrt(dot(a, a));
}

struct Point {
    double x, y;
};

// Distance of the origin to the segment from a to b.
double distanceToSegment(Point a, Point b) {
    const double x = b.x - a.x, y = b.y - a.y, square = x * x + y * y;
    const double share = square > 0 ? std::clamp(-(a.x * x + a.y * y) / square, 0.0, 1.0) : 0.0;
    return std::hypot(a.x + share * x, a.y + share * y);
}

// Distance of the origin to the nearest edge of a triangle; negative if it is outside.
double depthInside(const Point (&p)[3]) {
    const double edge =
        std::min({distanceToSegment(p[0], p[1]), distanceToSegment(p[1], p[2]), distanceToSegment(p[2], p[0])});
    bool left = true, right = true;
    for (int i = 0; i < 3; ++i) {
        const Point a = p[i], b = p[(i + 1) % 3];
        const double side = a.x * b.y - a.y * b.x;
        left &= side >= 0;
        right &= side <= 0;
    }
    return left != right ? edge : -edge; // both are true only if the triangle is seen edge-on
}

} // namespace

void ktRoundingJudge::directionOf(const ktRayVertex& vertex, std::uint32_t ray, float* direction) {
    const ktDirectionTile& tile = vertex.directions->set.tiles[ray / ktDirectionTile::width];
    const std::uint32_t lane = ray % ktDirectionTile::width;
    for (int axis = 0; axis < 3; ++axis)
        direction[axis] = tile.x[lane] * vertex.tangent[axis] + tile.y[lane] * vertex.bitangent[axis] +
                          tile.z[lane] * vertex.normal[axis];
}

ktRoundingJudge::Verdict ktRoundingJudge::judge(const float* origin, const float* direction,
                                                const ktRayLimits& limits) const {
    const Vector o{origin[0], origin[1], origin[2]}, d{direction[0], direction[1], direction[2]};
    const Vector across = std::fabs(d.x) < 0.6 ? Vector{1, 0, 0} : Vector{0, 1, 0};
    Vector s = cross(d, across);
    s = {s.x / length(s), s.y / length(s), s.z / length(s)};
    const Vector t = cross(s, d);
    Verdict verdict;
    for (const ktTracerMesh& mesh : meshes) {
        for (std::size_t i = 0; i < 3 * std::size_t(mesh.triangleCount) && !verdict.certain; i += 3) {
            double tolerance = largest(origin);
            Vector corner[3];
            Point seen[3];
            double first = HUGE_VAL, last = -HUGE_VAL; // distances of the corners along the ray
            for (std::size_t k = 0; k < 3; ++k) {
                const float* p = mesh.positions + 3 * std::size_t(mesh.indices[i + k]);
                tolerance = std::max(tolerance, largest(p));
                corner[k] = Vector{p[0], p[1], p[2]} - o;
                seen[k] = {dot(corner[k], s), dot(corner[k], t)};
                first = std::min(first, dot(corner[k], d));
                last = std::max(last, dot(corner[k], d));
            }
            tolerance = tolerance * rounding + underflow;
            const double depth = depthInside(seen);
            if (!(depth > -tolerance))
                continue;
            const Vector normal = cross(corner[1] - corner[0], corner[2] - corner[0]);
            const double size = length(normal);
            if (!(size > 0))
                continue; // without area: never hit
            const double height = dot(corner[0], normal) / size, slope = std::fabs(dot(d, normal)) / size;
            // For a ray almost parallel to the plane, rounding moves the hit far, but not past the corners.
            const double distance = height / (dot(d, normal) / size), slack = tolerance / slope + rounding * last;
            const double nearest = slope > 0 ? std::max(distance - slack, first - tolerance) : first - tolerance;
            const double farthest = slope > 0 ? std::min(distance + slack, last + tolerance) : last + tolerance;
            if (farthest < limits.minDistance || nearest > limits.maxDistance)
                continue;
            if (!limits.bothSides && height > tolerance)
                continue; // certainly its back
            verdict.possible = true;
            verdict.certain = depth > tolerance && slope > 0 && distance - slack > limits.minDistance &&
                              distance + slack < limits.maxDistance && (limits.bothSides || height < -tolerance);
        }
        if (verdict.certain)
            break;
    }
    return verdict;
}
