// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGatherPass.h"
#include "ktOcclusionPass.h"
#include "ktPassCounts.h"

#include <atomic>
#include <cstdint>
#include <vector>

struct ktFitSamples;

/// How to fit the vertex values of a geometry to its surface. Everything belongs to the caller.
struct ktFitTask {
    const std::vector<std::uint32_t>* triangles = nullptr;  ///< three vertices each
    const ktPreparedDirections* directions = nullptr;       ///< of the rays of a point: fewer than those of a vertex
    const ktPreparedDirections* insideDirections = nullptr; ///< of the rays that tell whether a point is inside a solid
    double density = 0;              ///< points per world unit squared, besides one on each face that is not fine
    std::size_t mostPoints = 0;      ///< roughly, likewise
    ktFitSamples* samples = nullptr; ///< receives what was traced, unless null
    const std::uint32_t* sharedValues = nullptr; ///< by vertex: those with equal numbers get one value; null: none do
};

/// As ktTraceOcclusion(), but the results are the vertex values whose interpolation is nearest to the light at points
/// on the faces (ktSolveFit). Points inside solids and points that see less than 2 % of the sky do not count, unless
/// they are vertices of fine faces.
/// @param vertexTask the vertices; its directions are for what is traced at the vertex
ktPassCounts ktTraceFittedOcclusion(const ktOcclusionTask& vertexTask, const ktFitTask& fit, osg::Vec4f* results,
                                    std::atomic<std::uint32_t>& done);

/// As ktGatherLight(), but fitted likewise.
ktPassCounts ktGatherFittedLight(const ktGatherTask& vertexTask, const ktFitTask& fit, float* received,
                                 std::atomic<std::uint32_t>& done);

/// The light of the vertices: fitted if there is a fit, otherwise what is traced at the vertices.
/// @param fit null: at the vertices
/// @param results one per vertex @return what was traced
ktPassCounts ktTracePass(const ktOcclusionTask& task, const ktFitTask* fit, osg::Vec4f* results,
                         std::atomic<std::uint32_t>& done);
/// Likewise for gathered light. @param received three floats per vertex
ktPassCounts ktTracePass(const ktGatherTask& task, const ktFitTask* fit, float* received,
                         std::atomic<std::uint32_t>& done);
