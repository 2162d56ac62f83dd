// SPDX-License-Identifier: LGPL-2.1-or-later
// Spreads the points at which light is traced over the faces of a geometry.
#include "ktFitPoints.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktRandom.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t grain = 4096;

} // namespace

// The further points are rounded along the faces, so that their sum is right also where faces are small.
ktFitPoints::ktFitPoints(const ktFitMesh& mesh_, double density, std::size_t most) : mesh(mesh_) {
    double area = 0;
    for (const ktFitMesh::Face& face : mesh.faces)
        area += face.isFine ? 0.0f : face.area;
    if (area * density > static_cast<double>(most))
        density = static_cast<double>(most) / area;
    starts.reserve(mesh.faces.size() + 1);
    starts.push_back(0);
    double sum = 0.5;
    for (const ktFitMesh::Face& face : mesh.faces) {
        if (face.isFine) {
            starts.push_back(starts.back());
            continue;
        }
        const double before = std::floor(sum);
        sum += face.area * density;
        const double more = std::min(std::floor(sum) - before, double(mostPerFace - 1));
        starts.push_back(starts.back() + 1 + static_cast<std::uint32_t>(more));
    }
}

ktFitPoints::ktFitPoints(const ktFitMesh& mesh_, std::vector<std::uint32_t> starts_,
                         std::vector<std::array<float, 3>> weights)
    : mesh(mesh_), starts(std::move(starts_)), given(std::move(weights)) {}

std::size_t ktFitPoints::faceAfter(std::size_t face, std::size_t count) const {
    const auto last =
        std::upper_bound(starts.begin() + static_cast<std::ptrdiff_t>(face) + 1, starts.end(), starts[face] + count) -
        1;
    return std::max(static_cast<std::size_t>(last - starts.begin()), face + 1);
}

void ktFitPoints::weightsAt(std::size_t face, std::uint32_t point, float* weight) const {
    if (given.empty())
        weights(face, point, weight);
    else
        std::copy_n(given[starts[face] + point].data(), 3, weight);
}

void ktFitPoints::weights(std::size_t face, std::uint32_t point, float* weights) {
    const std::uint64_t seed = ktRandom::mix(face + 0x9E3779B97F4A7C15ull);
    // The powers of the plastic number.
    double u = ktRandom::toUniform(seed) + 0.7548776662466927 * point,
           v = ktRandom::toUniform(ktRandom::mix(seed)) + 0.5698402909980532 * point;
    u -= std::floor(u);
    v -= std::floor(v);
    const double root = std::sqrt(u);
    weights[0] = static_cast<float>(1.0 - root);
    weights[1] = static_cast<float>(root * (1.0 - v));
    weights[2] = static_cast<float>(root * v);
}

void ktFitPoints::make(const ktVertexTask& task, std::size_t first, std::size_t last, std::vector<float>& positions,
                       std::vector<float>& normals) const {
    positions.resize(3 * std::size_t(starts[last] - starts[first]));
    normals.resize(positions.size());
    ktParallel::forRange(last - first, grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t face = first + begin; face < first + end; ++face) {
            const std::uint32_t* vertices = mesh.faces[face].vertices;
            // Normals may have any length.
            float cornerNormals[3][3];
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const float* n = task.normals + 3 * std::size_t(vertices[corner]);
                const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
                for (int axis = 0; axis < 3; ++axis)
                    cornerNormals[corner][axis] = static_cast<float>(n[axis] / length);
            }
            for (std::uint32_t point = starts[face]; point < starts[face + 1]; ++point) {
                float weight[3];
                weightsAt(face, point - starts[face], weight);
                float* position = &positions[3 * std::size_t(point - starts[first])];
                float* normal = &normals[3 * std::size_t(point - starts[first])];
                float square = 0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    double p = 0, n = 0;
                    for (std::size_t corner = 0; corner < 3; ++corner) {
                        p += double(weight[corner]) * task.positions[3 * std::size_t(vertices[corner]) + axis];
                        n += double(weight[corner]) * cornerNormals[corner][axis];
                    }
                    position[axis] = static_cast<float>(p);
                    normal[axis] = static_cast<float>(n);
                    square += normal[axis] * normal[axis];
                }
                if (!(square > 1e-6f))
                    std::copy_n(cornerNormals[0], 3, normal);
            }
        }
    });
}
