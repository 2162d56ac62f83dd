// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktVertexTask.h"

#include <cstdint>
#include <vector>

/// The surface of a geometry as the fit sees it: faces between unknowns. Vertices with equal position and normal are
/// one unknown, and so are vertices that the geometry's file stores as one. Faces that share an unknown, also through
/// others, form a piece; pieces do not affect each other.
///
/// Where all faces around an unknown are small, its value at the vertex is as good as a fit, and costs less. Such
/// unknowns are fine, unless their vertices have several normals; and so are faces between them.
///
/// Left out are faces without area in world space, and faces with a corner that cannot be traced.
struct ktFitMesh {
    static constexpr std::uint32_t none = 0xFFFFFFFFu;
    /// A face is small if its edges are shorter than this share of the diagonal of the geometry's bounds.
    static constexpr double smallEdgeShare = 0.01;

    struct Face {
        std::uint32_t vertices[3]; ///< of the geometry
        std::uint32_t unknowns[3];
        std::uint32_t triangle; ///< that it is
        float area;             ///< world units, squared
        bool isFine;            ///< between fine unknowns
    };
    /// A fine unknown: light is traced at its vertex.
    struct FineUnknown {
        std::uint32_t unknown;
        std::uint32_t vertex; ///< one of its vertices
        float area;           ///< a third of the fine faces around it
    };

    std::vector<std::uint32_t> unknownOf; ///< by vertex; `none` if no face has it
    std::uint32_t unknownCount = 0;
    std::vector<float> positions;         ///< of the unknowns: three floats each, world space
    std::vector<Face> faces;              ///< piece by piece
    std::vector<std::uint32_t> faceStart; ///< by piece: its first face; and the end of the last piece

    std::vector<std::uint32_t> unknowns;     ///< piece by piece, ascending; those that no face has are left out
    std::vector<std::uint32_t> unknownStart; ///< by piece: its first unknown in `unknowns`; and the end of the last
    std::vector<std::uint32_t> rowOf;        ///< by unknown: its index among those of its piece, or `none`

    std::vector<FineUnknown> fine;     ///< ascending; those that no fine face has are left out
    std::vector<std::uint32_t> fineOf; ///< by unknown: its index in `fine`, or `none`

    std::size_t pieceCount() const { return faceStart.empty() ? 0 : faceStart.size() - 1; }
};

/// Edges shorter than this are small.
/// @param positions of the geometry: three floats each; those that are not finite do not count
/// @return world units if the positions are
float ktSmallEdge(const float* positions, std::size_t count);

/// Makes the mesh. The result does not depend on the number of threads. Call on a worker thread.
/// @param task      the vertices; its triangles may use each of them, or not
/// @param triangles three vertices each; triangles with a vertex out of range are left out
/// @param findFine  false: no face counts as fine
/// @param shared    by vertex: those with equal numbers, below the number of vertices, are one unknown; null: none
/// @throws ktCanceled, std::bad_alloc
ktFitMesh ktMakeFitMesh(const ktVertexTask& task, const std::vector<std::uint32_t>& triangles, bool findFine = true,
                        const std::uint32_t* shared = nullptr);
