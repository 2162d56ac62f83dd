// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests every ray against every triangle in double precision, as reference for the tracers.
#include "ktBruteForce.h"

#include "ktTestVector.h"

using Vector = ktTestVector;

// T. Moeller, B. Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection", 1997.
ktBruteForce::Hit ktBruteForce::nearest(const double* origin, const double* direction, double minDistance,
                                        double maxDistance, bool bothSides) const {
    const Vector o{origin[0], origin[1], origin[2]}, d{direction[0], direction[1], direction[2]};
    Hit best;
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        const ktTestMesh& mesh = meshes[m];
        const auto corner = [&](std::size_t i) {
            const float* p = &mesh.positions[3 * mesh.indices[i]];
            return Vector{p[0], p[1], p[2]};
        };
        for (std::size_t t = 0; t < mesh.indices.size() / 3; ++t) {
            const Vector a = corner(3 * t), e1 = corner(3 * t + 1) - a, e2 = corner(3 * t + 2) - a;
            const Vector p = cross(d, e2);
            const double determinant = dot(e1, p); // positive when the front faces the origin
            if (determinant == 0 || (determinant < 0 && !bothSides))
                continue;
            const Vector s = o - a, q = cross(s, e1);
            const double u = dot(s, p) / determinant, v = dot(d, q) / determinant, distance = dot(e2, q) / determinant;
            if (u < 0 || v < 0 || u + v > 1 || distance < minDistance || distance > maxDistance)
                continue;
            if (best.mesh < 0 || distance < best.distance)
                best = {static_cast<int>(m), static_cast<int>(t), distance, u, v, determinant < 0};
        }
    }
    return best;
}

double ktBruteForce::openShare(const double* origin, const double* normal, double minDistance, double maxDistance,
                               bool bothSides, int rays, unsigned seed) const {
    std::mt19937 generator(seed);
    std::normal_distribution<double> gauss;
    int open = 0;
    for (int i = 0; i < rays; ++i) {
        // The normal plus a random unit vector is a cosine-weighted direction.
        double p[3], length = 0;
        for (double& value : p) {
            value = gauss(generator);
            length += value * value;
        }
        double direction[3], size = 0;
        for (int k = 0; k < 3; ++k) {
            direction[k] = normal[k] + p[k] / std::sqrt(length);
            size += direction[k] * direction[k];
        }
        for (double& value : direction)
            value /= std::sqrt(size);
        open += nearest(origin, direction, minDistance, maxDistance, bothSides).mesh < 0;
    }
    return static_cast<double>(open) / rays;
}
