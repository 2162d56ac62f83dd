// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitSolver.h"
#include "ktFittedPass.h"
#include "ktRankMessages.h"

#include <cstdint>
#include <memory>
#include <vector>

/// How a pass traces all its geometries. Everything belongs to the caller.
struct ktGeometryPass {
    ktBatchKind kind = ktBatchKind::Direct; ///< Direct or Gather
    const ktTracer* tracer = nullptr;
    const ktPreparedDirections* directions = nullptr; ///< of a vertex
    ktRayLimits limits;
    float sceneSize = 0;                               ///< as in ktVertexTask
    const std::vector<ktSceneLight>* lights = nullptr; ///< Direct: null or empty: only the sky
    const ktReflectedLight* light = nullptr;           ///< Gather
    /// Of the fit, as in ktFitTask. Null: results are the values at the vertices.
    const ktPreparedDirections* pointDirections = nullptr;
    const ktPreparedDirections* insideDirections = nullptr;
    double density = 0;
    std::uint64_t mostPoints = 0;

    /// Whether both trace every geometry in the same way.
    bool isEqualTo(const ktGeometryPass& other) const;
    /// Floats per vertex that ktTraceGeometry() gives.
    std::uint32_t valueChannels() const { return kind == ktBatchKind::Gather ? 3 : 4; }
    /// Floats per sample of the fit.
    std::uint32_t sampleChannels() const;
};

/// One geometry of a pass: all that tracing it needs.
struct ktGeometryJob {
    ktWorldTransform toWorld;
    std::vector<float> positions, normals;                       ///< three floats per vertex, object space
    std::shared_ptr<const std::vector<std::uint32_t>> triangles; ///< three vertices each; not null
    std::vector<std::uint32_t> sharedValues;                     ///< as in ktFitTask; empty: none
    bool hasOneRings = false;                                    ///< the triangles are those around the vertices

    std::uint32_t vertexCount() const { return static_cast<std::uint32_t>(positions.size() / 3); }
    /// Whether it has exactly the vertices of this task, and the same shared values. @param shared may be null
    bool isOf(const ktVertexTask& task, const std::uint32_t* shared) const;
};

/// The light of a geometry.
struct ktGeometryResult {
    std::vector<float> values; ///< four per vertex as of ktTraceOcclusion(), or three as of ktGatherLight()
    ktPassCounts counts;
    ktFitSamples samples{0, 0}; ///< that the fit has traced

    /// Vertices and points with own rays.
    std::uint64_t verticesTraced(const ktGeometryPass& pass) const {
        return counts.points + (counts.vertexRays - counts.sharedRays) / pass.directions->set.count;
    }
};

/// Traces the light of a geometry, and fits it if the pass says so. The bits are those of ktTraceOcclusion(),
/// ktGatherLight(), ktTraceFittedOcclusion() or ktGatherFittedLight(). Worker thread. @throws ktCanceled,
/// std::bad_alloc
ktGeometryResult ktTraceGeometry(const ktGeometryPass& pass, const ktGeometryJob& job);

/// How a rank traces the geometries of a pass; owns the lights.
struct ktRankGeometryPass {
    std::uint64_t generation = 0;
    std::vector<ktSceneLight> lights;
    ktGeometryPass how;
};

/// @name Writing and reading the content of messages. Readers throw ktBadMessage if values are out of range.
/// @{
void ktPutPass(ktWireWriter& to, std::uint64_t generation, const ktGeometryPass& pass);
/// @param light for gathering; may be null for other passes
std::unique_ptr<ktRankGeometryPass> ktGetPass(ktWireReader& from, const ktTracer& tracer,
                                              const ktRankDirectionTable& table, const ktReflectedLight* light);
void ktPutJob(ktWireWriter& to, const ktGeometryJob& job);
ktGeometryJob ktGetJob(ktWireReader& from);
void ktPutResult(ktWireWriter& to, const ktGeometryResult& result);
/// @param valueChannels, sampleChannels as of the pass; 0 samples if the geometry has no triangles
ktGeometryResult ktGetResult(ktWireReader& from, std::uint32_t vertexCount, std::uint32_t valueChannels,
                             std::uint32_t sampleChannels);
/// @}
