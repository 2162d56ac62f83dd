// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLeafWriter.h"
#include "ktTestMesh.h"
#include "ktTracer.h"

#include <memory>
#include <vector>

/// Traces the same rays with the hemisphere tracer and with Embree, and counts the rays where they differ.
class ktTracerComparison {
public:
    struct Result {
        std::uint64_t rays = 0;
        std::uint64_t met = 0;       ///< rays that hit something according to Embree
        std::uint64_t differing = 0; ///< one hits and the other does not, or distances differ
        // Those of them that do not pass within rounding of an edge or distance limit:
        std::uint64_t wrong = 0;       ///< the hemisphere tracer is wrong
        std::uint64_t embreeWrong = 0; ///< Embree is wrong
    };

    /// Builds the tracer over the meshes.
    /// @param lanes width of the hemisphere tracer's kernel
    explicit ktTracerComparison(std::vector<ktTestMesh> meshes, std::uint32_t lanes = 16,
                                ktLeafKind kind = ktLeafKind::ByCount);

    /// Places `count` vertices on the surfaces, at corners and between, as the host does; normals on either side.
    void addSurfaceVertices(std::size_t count, unsigned seed);
    /// Places a vertex anywhere; `normal` has unit length.
    void addVertex(const float* origin, const float* normal);

    /// Traces all vertices, with countU x countV rays each.
    Result occlusion(std::uint32_t countU, std::uint32_t countV, const ktRayLimits& limits) const;
    Result nearest(std::uint32_t countU, std::uint32_t countV, const ktRayLimits& limits) const;

    /// Number of rays of each vertex that hit nothing, by the hemisphere tracer alone.
    std::vector<std::uint32_t> visible(std::uint32_t countU, std::uint32_t countV, const ktRayLimits& limits) const;

    /// Diagonal of the bounds of all usable triangles.
    float diagonal() const { return size; }
    /// From the smallest distance that the host uses to infinity.
    ktRayLimits widest() const;
    std::size_t vertexCount() const { return vertices.size(); }

private:
    std::vector<ktTestMesh> meshes;
    std::vector<ktTracerMesh> views;
    const ktTracer& embree() const;

    std::unique_ptr<ktTracer> tracer;
    mutable std::unique_ptr<ktTracer> oracle; // built when it is first needed
    std::vector<ktRayVertex> vertices;
    float size = 0;
};
