// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTestMesh.h"

#include <random>

/// The slow and simple way to trace: it tests every ray against every triangle, in double precision. It shares no code
/// with the tracers that it checks.
class ktBruteForce {
public:
    struct Hit {
        int mesh = -1, triangle = -1; ///< -1: no hit
        double distance = 0, u = 0, v = 0;
        bool backSide = false;
    };

    explicit ktBruteForce(const std::vector<ktTestMesh>& meshes_) : meshes(meshes_) {}

    Hit nearest(const double* origin, const double* direction, double minDistance, double maxDistance,
                bool bothSides) const;
    /// Share of rays from a point that hit nothing. Traces `rays` random cosine-weighted rays. The standard error is at
    /// most 0.5 / sqrt(rays).
    double openShare(const double* origin, const double* normal, double minDistance, double maxDistance, bool bothSides,
                     int rays, unsigned seed) const;

private:
    const std::vector<ktTestMesh>& meshes;
};
