// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGatherPass.h"
#include "ktOcclusionPass.h"

#include <atomic>
#include <cstdint>
#include <vector>

/// How to fit the vertex values of a geometry to its surface. Everything belongs to the caller.
struct ktFitTask {
    const std::vector<std::uint32_t>* triangles = nullptr;  ///< three vertices each
    const ktPreparedDirections* directions = nullptr;       ///< of the rays of a point: fewer than those of a vertex
    const ktPreparedDirections* insideDirections = nullptr; ///< of the rays that tell whether a point is inside a solid
    const ktOneRing* oneRings = nullptr;                    ///< of the vertices; null if unknown
    double density = 0;         ///< points per world unit squared, besides one on each face that is not fine
    std::size_t mostPoints = 0; ///< roughly, likewise
};

/// What a fitted pass traced.
struct ktFitCounts {
    std::uint64_t points = 0;    ///< on the faces
    std::uint64_t pointRays = 0; ///< at these points, and those that tell inside from outside
    std::uint64_t vertices = 0;  ///< that were traced at the vertex: fine ones, and those without a face
    ktVertexCounts traced;       ///< of these
    std::uint64_t vertexRays = 0;

    std::uint64_t rays() const { return pointRays + vertexRays; }
    /// Adds the vertices of a task that a pass has traced.
    void addVertices(const ktVertexTask& task, const ktVertexCounts& counts) {
        vertices += task.count;
        traced.traced += counts.traced;
        traced.unusable += counts.unusable;
        vertexRays += std::uint64_t(task.directions->set.count) * task.count;
    }
};

/// As ktTraceOcclusion(), but the results are the vertex values whose interpolation is nearest to the light at points
/// on the faces (ktSolveFit). Points inside solids and points that see less than 2 % of the sky do not count.
/// @param vertexTask the vertices; its directions are for what is traced at the vertex
ktFitCounts ktTraceFittedOcclusion(const ktOcclusionTask& vertexTask, const ktFitTask& fit, osg::Vec4f* results,
                                   std::atomic<std::uint32_t>& done);

/// As ktGatherLight(), but fitted likewise.
ktFitCounts ktGatherFittedLight(const ktGatherTask& vertexTask, const ktFitTask& fit, float* received,
                                std::atomic<std::uint32_t>& done);
