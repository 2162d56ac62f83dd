// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

using ktQualityVector = std::array<double, 3>;

/// One use of a baked primitive, in world space.
struct ktQualityMesh {
    std::vector<float> positions;       ///< x, y, z per vertex in millimetres; one spare float at the end
    std::vector<std::uint32_t> indices; ///< three per triangle, counter-clockwise seen from the front
    std::vector<float> cornerNormals;   ///< x, y, z for each of `indices`: the unit shading normal
    std::vector<float> sky;             ///< w per vertex; 1 where the file has no result
    /// Light per vertex: the vertex colour that viewers show, divided by the surface's own vertex colour. Empty if the
    /// file has no light.
    std::vector<std::array<float, 3>> light;
    /// Colour of the surface in a triangle, u and v as in ktQualityPoint. Null: black. Called by many threads at once.
    std::function<std::array<float, 3>(std::uint32_t triangle, float u, float v)> albedo;
    bool isMeasured = true; ///< points are chosen on it
    bool isOccluder = true; ///< rays can hit it

    std::size_t vertexCount() const { return sky.size(); }
    std::size_t triangleCount() const { return indices.size() / 3; }
    ktQualityVector position(std::uint32_t vertex) const {
        const float* p = &positions[3 * std::size_t(vertex)];
        return {p[0], p[1], p[2]};
    }
    /// The vector area of a triangle: along its geometric normal, as long as its area is large.
    ktQualityVector areaVector(std::uint32_t triangle) const;
};

/// A baked scene as a viewer shows it.
struct ktQualityScene {
    std::vector<ktQualityMesh> meshes; ///< one for each use of a primitive
    std::size_t vertices = 0;          ///< in the file: each primitive counts once
    std::size_t triangles = 0;         ///< likewise
    double unit_mm = 1;                ///< length of one unit of the file

    /// Diagonal of the bounds of the occluders, millimetres.
    double occluderDiagonal() const;
    /// Equal for two scenes whose measured triangles have equal corners in equal order, and else different, except in
    /// one of 2^64 cases. Baked values, normals and the order of the vertices do not matter.
    std::uint64_t surfaceHash() const;
};

/// A point of a measured triangle.
struct ktQualityPoint {
    std::uint32_t mesh = 0;
    std::uint32_t triangle = 0;
    float u = 0, v = 0; ///< barycentric weights of the second and the third corner
};

/// Chooses `count` random points, uniformly by area: one in each of `count` parts of equal area. Equal scenes and seeds
/// give equal points. Empty if no measured triangle has an area.
std::vector<ktQualityPoint> ktChooseQualityPoints(const ktQualityScene& scene, std::size_t count, std::uint64_t seed);

/// w at each point, interpolated linearly over its triangle, as viewers do.
std::vector<float> ktInterpolateSky(const ktQualityScene& scene, const std::vector<ktQualityPoint>& points);
/// The same for the light. Empty if a mesh with a point has no light.
std::vector<std::array<float, 3>> ktInterpolateLight(const ktQualityScene& scene,
                                                     const std::vector<ktQualityPoint>& points);
