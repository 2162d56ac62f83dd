// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitPoints.h"
#include "ktFitSolver.h"
#include "ktTestMesh.h"

#include <array>

/// A mesh with normals, as the fit gets it. No tracer is needed.
struct ktFitExample : ktTestMesh {
    std::vector<float> normals; ///< those that are missing point up
    ktWorldTransform toWorld;

    /// Adds a grid of columns * rows cells, two triangles each.
    /// @param place where the vertex of 0 <= s <= 1 and 0 <= t <= 1 is
    template <class Place>
    void addGrid(int columns, int rows, const Place& place) {
        const auto first = static_cast<std::uint32_t>(positions.size() / 3), stride = std::uint32_t(columns + 1);
        for (int row = 0; row <= rows; ++row)
            for (int column = 0; column <= columns; ++column) {
                const std::array<double, 3> p = place(double(column) / columns, double(row) / rows);
                addVertex(p[0], p[1], p[2]);
            }
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                const std::uint32_t p = first + std::uint32_t(row) * stride + std::uint32_t(column);
                addTriangle(p, p + 1, p + stride + 1);
                addTriangle(p, p + stride + 1, p + stride);
            }
    }

    /// Valid until the mesh changes.
    ktVertexTask task() {
        while (normals.size() < positions.size())
            normals.insert(normals.end(), {0.0f, 0.0f, 1.0f});
        ktVertexTask made;
        made.setVertices(toWorld, static_cast<std::uint32_t>(positions.size() / 3), positions.data(), normals.data(),
                         nullptr);
        return made;
    }
    ktFitMesh fitMesh() { return ktMakeFitMesh(task(), indices); }
};

/// Samples of a function of the place in world space.
/// @param function takes three coordinates and the channel
template <class Function>
ktFitSamples ktSampleFunction(const ktFitMesh& mesh, const ktFitPoints& points, std::size_t channels,
                              const Function& function) {
    ktFitSamples samples(channels, points.size() + mesh.fine.size());
    const auto set = [&](std::size_t sample, const double* place) {
        for (std::size_t channel = 0; channel < channels; ++channel)
            samples.values[sample * channels + channel] = static_cast<float>(function(place, channel));
    };
    for (std::size_t face = 0; face < mesh.faces.size(); ++face)
        for (std::uint32_t point = points.begin(face); point < points.begin(face + 1); ++point) {
            float weights[3];
            double place[3] = {};
            ktFitPoints::weights(face, point - points.begin(face), weights);
            for (std::size_t corner = 0; corner < 3; ++corner)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    place[axis] += double(weights[corner]) *
                                   mesh.positions[3 * std::size_t(mesh.faces[face].unknowns[corner]) + axis];
            set(point, place);
        }
    for (std::size_t i = 0; i < mesh.fine.size(); ++i) {
        const float* p = &mesh.positions[3 * std::size_t(mesh.fine[i].unknown)];
        const double place[3] = {p[0], p[1], p[2]};
        set(points.size() + i, place);
    }
    return samples;
}
