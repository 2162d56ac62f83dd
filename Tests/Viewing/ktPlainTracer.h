// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <array>
#include <cmath>

/// Tests every triangle for every ray: slow, but simple enough to be correct.
class ktPlainTracer : public ktTracer {
public:
    bool build(const std::vector<ktTracerMesh>& newMeshes, const Progress&) override {
        meshes = newMeshes;
        return isBuildable || meshes.empty();
    }

    std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const override {
        ktHitPacket hits;
        nearest(rays, bothSides, hits);
        std::uint32_t mask = 0;
        for (std::uint32_t lane = 0; lane < ktRayPacket::width; ++lane)
            if ((rays.active >> lane & 1u) && hits.mesh[lane] != ktHitPacket::noMesh)
                mask |= 1u << lane;
        return mask;
    }

    /// Source: T. Moeller and B. Trumbore, Fast, Minimum Storage Ray/Triangle Intersection, 1997.
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override {
        hits.backSide = 0;
        for (std::uint32_t lane = 0; lane < ktRayPacket::width; ++lane) {
            hits.mesh[lane] = ktHitPacket::noMesh;
            if (!(rays.active >> lane & 1u))
                continue;
            const Vector origin = {rays.originX[lane], rays.originY[lane], rays.originZ[lane]};
            const Vector direction = {rays.directionX[lane], rays.directionY[lane], rays.directionZ[lane]};
            double best = rays.maxDistance[lane];
            for (std::uint32_t mesh = 0; mesh < meshes.size(); ++mesh)
                for (std::uint32_t triangle = 0; triangle < meshes[mesh].triangleCount; ++triangle) {
                    const std::uint32_t* corners = meshes[mesh].indices + 3 * triangle;
                    const Vector a = at(mesh, corners[0]), ab = minus(at(mesh, corners[1]), a),
                                 ac = minus(at(mesh, corners[2]), a);
                    const Vector p = cross(direction, ac), t = minus(origin, a), q = cross(t, ab);
                    const double determinant = dot(ab, p);
                    if (std::abs(determinant) < 1e-15 || (!bothSides && determinant < 0))
                        continue;
                    const double u = dot(t, p) / determinant, v = dot(direction, q) / determinant;
                    const double distance = dot(ac, q) / determinant;
                    if (u < 0 || v < 0 || u + v > 1 || distance < rays.minDistance[lane] || distance > best)
                        continue;
                    best = distance;
                    hits.mesh[lane] = mesh;
                    hits.triangle[lane] = triangle;
                    hits.u[lane] = static_cast<float>(u);
                    hits.v[lane] = static_cast<float>(v);
                    hits.distance[lane] = static_cast<float>(distance);
                    hits.backSide = (hits.backSide & ~(1u << lane)) | (determinant < 0 ? 1u << lane : 0u);
                }
        }
    }

    bool isBuildable = true;

private:
    using Vector = std::array<double, 3>;
    std::vector<ktTracerMesh> meshes;

    Vector at(std::uint32_t mesh, std::uint32_t vertex) const {
        const float* p = meshes[mesh].positions + 3 * vertex;
        return {p[0], p[1], p[2]};
    }
    static Vector minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
    static double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
    static Vector cross(const Vector& a, const Vector& b) {
        return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    }
};
