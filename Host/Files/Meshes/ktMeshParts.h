// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

using ktMeshPoint = std::array<double, 3>;

/// A part of a mesh: triangles that are connected by equal positions. Lengths are in units of the mesh.
struct ktMeshPart {
    std::size_t triangles = 0;
    double area = 0;
    double opposed = 0;    ///< area of the triangles whose normals point to their back
    double volume = 0;     ///< of a closed part: above 0 if its triangles face outwards, below if they face inwards
    bool isClosed = false; ///< each edge has as many triangles in one direction as in the other; see findClosed()
    ktMeshPoint low = {}, high = {}; ///< bounds

    double diagonal() const;
    /// Whether the sign of the volume means something: not for two sheets back to back.
    bool hasVolume() const;
    bool boundsContain(const ktMeshPoint& point) const;
};

/// The parts of a mesh, to find out which of its sides is the outer one.
class ktMeshParts {
public:
    /// @param positions_ x, y, z of each vertex, finite
    /// @param triangles_ three indices each, below the number of vertices
    /// @param normals    for each vertex, or empty: then nothing is opposed
    ktMeshParts(std::vector<float> positions_, std::vector<std::uint32_t> triangles_,
                const std::vector<float>& normals);

    std::vector<ktMeshPart> parts;
    std::vector<std::uint32_t> partOf; ///< by triangle

    /// Finds out which of the asked parts are closed.
    void findClosed(const std::vector<bool>& asked);
    /// Whether a point is inside a closed part: a line from it crosses the surface an odd number of times.
    bool isInside(std::uint32_t part, const ktMeshPoint& point) const;
    /// The middles of up to `most` triangles of a part.
    std::vector<ktMeshPoint> samplePoints(std::uint32_t part, std::size_t most) const;

private:
    const float* corner(std::size_t triangle, std::size_t i) const {
        return &positions[3 * std::size_t(triangles[3 * triangle + i])];
    }
    void measure(std::size_t triangle, const std::vector<float>& normals);

    std::vector<float> positions;
    std::vector<std::uint32_t> triangles;
    std::vector<std::uint32_t> places;  // of the vertices
    std::vector<std::size_t> starts;    // of each part in `members`; and the end
    std::vector<std::uint32_t> members; // triangles, part by part
};
