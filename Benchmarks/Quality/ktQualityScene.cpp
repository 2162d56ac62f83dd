// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses random points of a baked scene's surface by area, and interpolates the baked values there.
#include "ktQualityScene.h"

#include "ktQualityRandom.h"

#include <algorithm>
#include <cmath>
#include <cstring>

ktQualityVector ktQualityMesh::areaVector(std::uint32_t triangle) const {
    const std::uint32_t* corner = &indices[3 * std::size_t(triangle)];
    const ktQualityVector a = position(corner[0]), b = position(corner[1]), c = position(corner[2]);
    const ktQualityVector s{b[0] - a[0], b[1] - a[1], b[2] - a[2]}, t{c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    return {0.5 * (s[1] * t[2] - s[2] * t[1]), 0.5 * (s[2] * t[0] - s[0] * t[2]), 0.5 * (s[0] * t[1] - s[1] * t[0])};
}

double ktQualityScene::occluderDiagonal() const {
    double square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double low = HUGE_VAL, high = -HUGE_VAL;
        for (const ktQualityMesh& mesh : meshes)
            for (std::size_t i = axis; mesh.isOccluder && i < 3 * mesh.vertexCount(); i += 3) {
                low = std::min<double>(low, mesh.positions[i]);
                high = std::max<double>(high, mesh.positions[i]);
            }
        if (high > low)
            square += (high - low) * (high - low);
    }
    return std::sqrt(square);
}

std::uint64_t ktQualityScene::surfaceHash() const {
    std::uint64_t hash = 0;
    for (const ktQualityMesh& mesh : meshes) {
        if (!mesh.isMeasured)
            continue;
        for (const std::uint32_t index : mesh.indices)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                std::uint32_t bits = 0;
                std::memcpy(&bits, &mesh.positions[3 * std::size_t(index) + axis], sizeof bits);
                hash = ktQualityRandom::mix(hash * 0x100000001B3ull + bits + 1);
            }
    }
    return hash;
}

std::vector<ktQualityPoint> ktChooseQualityPoints(const ktQualityScene& scene, std::size_t count, std::uint64_t seed) {
    struct Face {
        double end; // sum of the areas up to here
        std::uint32_t mesh, triangle;
    };
    std::vector<Face> faces;
    double sum = 0;
    for (std::uint32_t mesh = 0; mesh < scene.meshes.size(); ++mesh) {
        const ktQualityMesh& surface = scene.meshes[mesh];
        for (std::uint32_t triangle = 0; surface.isMeasured && triangle < surface.triangleCount(); ++triangle) {
            const ktQualityVector area = surface.areaVector(triangle);
            const double size = std::hypot(area[0], area[1], area[2]);
            if (!(size > 0) || !std::isfinite(size))
                continue;
            sum += size;
            faces.push_back({sum, mesh, triangle});
        }
    }
    std::vector<ktQualityPoint> points;
    if (faces.empty())
        return points;
    points.reserve(count);
    auto face = faces.begin();
    for (std::size_t i = 0; i < count; ++i) {
        ktQualityRandom random(seed, i);
        const double area = sum * ((static_cast<double>(i) + random.next()) / static_cast<double>(count));
        while (face->end < area && face + 1 != faces.end())
            ++face;
        float u = random.nextFloat(), v = random.nextFloat();
        if (u + v > 1) {
            u = 1 - u;
            v = 1 - v;
        }
        points.push_back({face->mesh, face->triangle, u, v});
    }
    return points;
}

std::vector<float> ktInterpolateSky(const ktQualityScene& scene, const std::vector<ktQualityPoint>& points) {
    std::vector<float> values;
    values.reserve(points.size());
    for (const ktQualityPoint& point : points) {
        const ktQualityMesh& mesh = scene.meshes[point.mesh];
        const std::uint32_t* corner = &mesh.indices[3 * std::size_t(point.triangle)];
        values.push_back((1 - point.u - point.v) * mesh.sky[corner[0]] + point.u * mesh.sky[corner[1]] +
                         point.v * mesh.sky[corner[2]]);
    }
    return values;
}

std::vector<std::array<float, 3>> ktInterpolateLight(const ktQualityScene& scene,
                                                     const std::vector<ktQualityPoint>& points) {
    std::vector<std::array<float, 3>> values;
    values.reserve(points.size());
    for (const ktQualityPoint& point : points) {
        const ktQualityMesh& mesh = scene.meshes[point.mesh];
        if (mesh.light.empty())
            return {};
        const std::uint32_t* corner = &mesh.indices[3 * std::size_t(point.triangle)];
        std::array<float, 3> value;
        for (std::size_t c = 0; c < 3; ++c)
            value[c] = (1 - point.u - point.v) * mesh.light[corner[0]][c] + point.u * mesh.light[corner[1]][c] +
                       point.v * mesh.light[corner[2]][c];
        values.push_back(value);
    }
    return values;
}
