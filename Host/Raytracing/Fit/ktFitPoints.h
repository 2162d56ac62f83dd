// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitMesh.h"
#include "ktVertexTask.h"

#include <array>
#include <cstdint>
#include <vector>

/// The points on the faces at which light is traced for the fit. Every face that is not fine has one; further ones are
/// spread by area.
/// Inside a face they follow a low-discrepancy sequence (M. Roberts, "The Unreasonable Effectiveness of Quasirandom
/// Sequences", 2018), mapped to the triangle by area. Immutable; points are calculated when asked for.
class ktFitPoints {
public:
    /// Largest number of points on one face.
    static constexpr std::uint32_t mostPerFace = 4096;

    /// @param mesh    must outlive this object
    /// @param density points per area (world units, squared), besides the one on every face
    /// @param most    roughly the largest number of further points; where there would be more, the density is smaller
    ktFitPoints(const ktFitMesh& mesh, double density, std::size_t most);
    /// Points at given places. A face may have none.
    /// @param starts  by face: its first point; and the end of the last
    /// @param weights of the corners, by point
    ktFitPoints(const ktFitMesh& mesh, std::vector<std::uint32_t> starts, std::vector<std::array<float, 3>> weights);

    std::size_t size() const { return starts.back(); }
    /// The points of a face are begin(face) to begin(face + 1).
    std::uint32_t begin(std::size_t face) const { return starts[face]; }
    /// The face that comes after at most `count` points from the begin of `face`; at least the next one.
    std::size_t faceAfter(std::size_t face, std::size_t count) const;

    /// Barycentric weights of the corners at a point of a face.
    /// @param face    not a fine one
    /// @param point   0 to begin(face + 1) - begin(face) - 1
    /// @param weights three floats; their sum is 1
    void weightsAt(std::size_t face, std::uint32_t point, float* weights) const;
    /// The weights of the low-discrepancy sequence.
    /// @param face the points of two faces are unrelated
    static void weights(std::size_t face, std::uint32_t point, float* weights);

    /// Makes the positions and normals of the points of faces [first, last), in object space.
    /// @param positions, normals receive three floats per point. A normal is interpolated; where the corners' normals
    ///                           cancel out, it is that of the first corner
    void make(const ktVertexTask& task, std::size_t first, std::size_t last, std::vector<float>& positions,
              std::vector<float>& normals) const;

private:
    const ktFitMesh& mesh;
    std::vector<std::uint32_t> starts;       // by face, and the end of the last
    std::vector<std::array<float, 3>> given; // the weights; empty: the sequence
};
