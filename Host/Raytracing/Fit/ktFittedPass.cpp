// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces light at points on the faces of a geometry and fits the values of its vertices to it.
#include "ktFittedPass.h"

#include "ktCancelPoint.h"
#include "ktFitMesh.h"
#include "ktFitPoints.h"
#include "ktFitSampling.h"
#include "ktFitSolver.h"
#include "ktVertexSubset.h"

#include <algorithm>
#include <type_traits>

namespace {

constexpr std::size_t pointsAtOnce = 1 << 15; // bounds memory, and the time between two reports of progress

// Traces all samples of a mesh: chunks of points on faces, then the fine unknowns.
template <class Task>
class Sampling {
public:
    Sampling(const Task& vertexTask_, const ktFitTask& fit_, const ktFitMesh& mesh_, const ktFitPoints& points_,
             ktPassCounts& counts_)
        : vertexTask(vertexTask_), fit(fit_), mesh(mesh_), points(points_), counts(counts_) {}

    void run(ktFitSamples& samples, std::atomic<std::uint32_t>& done) {
        counts.points = points.size();
        const double all = std::max(1.0, double(points.size()) + double(mesh.fine.size()));
        for (std::size_t face = 0; face < mesh.faces.size() && points.begin(face) < points.size();) {
            ktThrowIfCanceled();
            const std::size_t next = points.faceAfter(face, pointsAtOnce);
            tracePoints(samples, face, next);
            done = static_cast<std::uint32_t>(vertexTask.count * (points.begin(next) / all));
            face = next;
        }
        traceFine(samples);
    }

private:
    void tracePoints(ktFitSamples& samples, std::size_t firstFace, std::size_t lastFace) {
        std::vector<float> positions, normals;
        points.make(vertexTask, firstFace, lastFace, positions, normals);
        Task task = vertexTask;
        task.setVertices(vertexTask.toWorld, static_cast<std::uint32_t>(positions.size() / 3), positions.data(),
                         normals.data(), nullptr);
        task.directions = fit.directions;
        const ktSampleCounts traced = ktTraceSamples(task, fit, samples, points.begin(firstFace));
        counts.pointRays += std::uint64_t(task.directions->set.count) * traced.points.traced + traced.insideRays;
    }

    // Dark vertices of fine faces count in direct light: their darkness reaches no farther than such a face. In
    // bounces, where light that is gathered inside solids is missing, they do not.
    void traceFine(ktFitSamples& samples) {
        if (mesh.fine.empty())
            return;
        const ktVertexSubset vertices = ktVertexSubset::ofFineUnknowns(vertexTask, mesh);
        Task task = vertexTask;
        vertices.apply(task);
        const ktSampleCounts traced =
            ktTraceSamples(task, fit, samples, points.size(), std::is_same_v<Task, ktGatherTask>);
        counts.addVertices(task, traced.points);
    }

    const Task& vertexTask;
    const ktFitTask& fit;
    const ktFitMesh& mesh;
    const ktFitPoints& points;
    ktPassCounts& counts;
};

} // namespace

ktPassCounts ktTraceFittedOcclusion(const ktOcclusionTask& vertexTask, const ktFitTask& fit, osg::Vec4f* results,
                                    std::atomic<std::uint32_t>& done) {
    const ktFitMesh mesh = ktMakeFitMesh(vertexTask, *fit.triangles, true, fit.sharedValues);
    const ktFitPoints points(mesh, fit.density, fit.mostPoints);
    const std::size_t channels = ktDirectChannels(vertexTask);
    ktFitSamples samples(channels, points.size() + mesh.fine.size());
    ktPassCounts counts;
    Sampling(vertexTask, fit, mesh, points, counts).run(samples, done);

    const std::vector<float> fitted = ktSolveFit(mesh, points, samples, ktDirectLimits(channels));
    for (std::uint32_t vertex = 0; vertex < vertexTask.count; ++vertex) {
        if (mesh.unknownOf[vertex] == ktFitMesh::none)
            continue;
        results[vertex] = osg::Vec4f(0, 0, 0, 0);
        std::copy_n(&fitted[mesh.unknownOf[vertex] * channels], channels, &results[vertex][4 - channels]);
    }
    const ktVertexSubset alone = ktVertexSubset::withoutFace(vertexTask, mesh);
    if (alone.size() > 0) {
        ktOcclusionTask task = vertexTask;
        alone.apply(task);
        std::vector<osg::Vec4f> light(alone.size());
        std::atomic<std::uint32_t> verticesDone{0};
        counts.addVertices(task, ktTraceOcclusion(task, light.data(), verticesDone));
        for (std::size_t i = 0; i < alone.size(); ++i)
            results[alone.vertices[i]] = light[i];
    }
    if (fit.samples)
        *fit.samples = std::move(samples);
    return counts;
}

ktPassCounts ktGatherFittedLight(const ktGatherTask& vertexTask, const ktFitTask& fit, float* received,
                                 std::atomic<std::uint32_t>& done) {
    const ktFitMesh mesh = ktMakeFitMesh(vertexTask, *fit.triangles, true, fit.sharedValues);
    const ktFitPoints points(mesh, fit.density, fit.mostPoints);
    ktFitSamples samples(3, points.size() + mesh.fine.size());
    ktPassCounts counts;
    Sampling(vertexTask, fit, mesh, points, counts).run(samples, done);

    const std::vector<float> fitted = ktSolveFit(mesh, points, samples, std::vector<ktFitLimits>(3), ktGatheredKinks);
    for (std::uint32_t vertex = 0; vertex < vertexTask.count; ++vertex)
        if (mesh.unknownOf[vertex] != ktFitMesh::none)
            std::copy_n(&fitted[3 * std::size_t(mesh.unknownOf[vertex])], 3, received + 3 * std::size_t(vertex));
    const ktVertexSubset alone = ktVertexSubset::withoutFace(vertexTask, mesh);
    if (alone.size() > 0) {
        ktGatherTask task = vertexTask;
        alone.apply(task);
        std::vector<float> light(3 * alone.size());
        std::atomic<std::uint32_t> verticesDone{0};
        counts.addVertices(task, ktGatherLight(task, light.data(), verticesDone));
        for (std::size_t i = 0; i < alone.size(); ++i)
            std::copy_n(&light[3 * i], 3, received + 3 * std::size_t(alone.vertices[i]));
    }
    if (fit.samples)
        *fit.samples = std::move(samples);
    return counts;
}

ktPassCounts ktTracePass(const ktOcclusionTask& task, const ktFitTask* fit, osg::Vec4f* results,
                         std::atomic<std::uint32_t>& done) {
    return fit ? ktTraceFittedOcclusion(task, *fit, results, done)
               : ktPassCounts::ofVertices(task, ktTraceOcclusion(task, results, done));
}

ktPassCounts ktTracePass(const ktGatherTask& task, const ktFitTask* fit, float* received,
                         std::atomic<std::uint32_t>& done) {
    return fit ? ktGatherFittedLight(task, *fit, received, done)
               : ktPassCounts::ofVertices(task, ktGatherLight(task, received, done));
}
