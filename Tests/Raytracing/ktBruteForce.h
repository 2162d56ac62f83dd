// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTestMesh.h"

#include <random>

/// The slow and simple way to trace: every ray against every triangle, in double precision. Shares no code with the
/// tracers it judges.
class ktBruteForce {
public:
    struct Hit {
        int mesh = -1, triangle = -1; ///< -1: nothing met
        double distance = 0, u = 0, v = 0;
        bool backSide = false;
    };

    explicit ktBruteForce(const std::vector<ktTestMesh>& meshes_) : meshes(meshes_) {}

    Hit nearest(const double* origin, const double* direction, double minDistance, double maxDistance,
                bool bothSides) const;
    /// Share of `rays` plain random cosine-weighted rays from a point that meet nothing. Standard error at most
    /// 0.5 / sqrt(rays).
    double openShare(const double* origin, const double* normal, double minDistance, double maxDistance, bool bothSides,
                     int rays, unsigned seed) const;

private:
    const std::vector<ktTestMesh>& meshes;
};
