// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces light at points on the faces of a geometry and fits the values of its vertices to it.
#include "ktFittedPass.h"

#include "ktCancelPoint.h"
#include "ktFitMesh.h"
#include "ktFitPoints.h"
#include "ktFitSolver.h"
#include "ktInsideTest.h"
#include "ktVertexSubset.h"

#include <algorithm>

namespace {

constexpr std::size_t pointsAtOnce = 1 << 15; // bounds memory, and the time between two reports of progress
constexpr float leastSky = 0.02f;             // a point that sees less of the sky does not count
constexpr float enclosed = 0.5f;              // a point that sees less may lie inside a solid

// Traces all samples of a mesh: chunks of points on faces, then the fine unknowns. Pass::trace(task, first) traces the
// vertices of a task of the pass, whose first sample is `first`, and returns how many it traced.
template <class Task, class Pass>
class Sampling {
public:
    Sampling(const Task& vertexTask_, const ktFitTask& fit_, const ktFitMesh& mesh_, const ktFitPoints& points_,
             ktPassCounts& counts_)
        : vertexTask(vertexTask_), fit(fit_), mesh(mesh_), points(points_), counts(counts_) {}

    void run(Pass& pass, std::atomic<std::uint32_t>& done) {
        counts.points = points.size();
        const double all = std::max(1.0, double(points.size()) + double(mesh.fine.size()));
        for (std::size_t face = 0; face < mesh.faces.size() && points.begin(face) < points.size();) {
            ktThrowIfCanceled();
            const std::size_t next = points.faceAfter(face, pointsAtOnce);
            tracePoints(pass, face, next);
            done = static_cast<std::uint32_t>(vertexTask.count * (points.begin(next) / all));
            face = next;
        }
        traceFine(pass);
    }

private:
    void tracePoints(Pass& pass, std::size_t firstFace, std::size_t lastFace) {
        std::vector<float> positions, normals;
        points.make(vertexTask, firstFace, lastFace, positions, normals);
        Task task = vertexTask;
        task.setVertices(vertexTask.toWorld, static_cast<std::uint32_t>(positions.size() / 3), positions.data(),
                         normals.data(), nullptr);
        task.directions = fit.directions;
        counts.pointRays +=
            std::uint64_t(task.directions->set.count) * pass.trace(task, points.begin(firstFace)).traced;
        counts.pointRays += pass.markInside(task, fit, points.begin(firstFace));
    }

    void traceFine(Pass& pass) {
        if (mesh.fine.empty())
            return;
        const ktVertexSubset vertices = ktVertexSubset::ofFineUnknowns(vertexTask, mesh);
        Task task = vertexTask;
        vertices.apply(task);
        counts.addVertices(task, pass.trace(task, points.size()));
        counts.pointRays += pass.markInside(task, fit, points.size());
    }

    const Task& vertexTask;
    const ktFitTask& fit;
    const ktFitMesh& mesh;
    const ktFitPoints& points;
    ktPassCounts& counts;
};

class OcclusionSamples {
public:
    OcclusionSamples(std::size_t channels, std::size_t size) : samples(channels, size) {}

    ktVertexCounts trace(ktOcclusionTask& task, std::size_t first) {
        light.resize(task.count);
        sky.resize(task.count);
        task.sky = sky.data();
        std::atomic<std::uint32_t> done{0};
        const ktVertexCounts counts = ktTraceOcclusion(task, light.data(), done);
        asked.clear();
        for (std::uint32_t i = 0; i < task.count; ++i) {
            // w comes last.
            std::copy_n(light[i].getValues() + (4 - samples.channels), samples.channels,
                        &samples.values[(first + i) * samples.channels]);
            if (sky[i] < leastSky)
                samples.isValid[first + i] = 0;
            else if (sky[i] < enclosed || !task.limits.bothSides)
                asked.push_back(i);
        }
        return counts;
    }

    // Returns the rays.
    std::uint64_t markInside(ktOcclusionTask& task, const ktFitTask& fit, std::size_t first) {
        if (asked.empty())
            return 0;
        task.directions = fit.insideDirections;
        return task.directions->set.count * ktMarkInside(task, asked, &samples.isValid[first]);
    }

    ktFitSamples samples;

private:
    std::vector<osg::Vec4f> light;
    std::vector<float> sky;
    std::vector<std::uint32_t> asked; // of the last task
};

class GatheredSamples {
public:
    explicit GatheredSamples(std::size_t size) : samples(3, size) {}

    ktVertexCounts trace(ktGatherTask& task, std::size_t first) {
        task.isValid = &samples.isValid[first];
        std::atomic<std::uint32_t> done{0};
        return ktGatherLight(task, &samples.values[3 * first], done);
    }

    // The gathered rays have told it already.
    static std::uint64_t markInside(const ktGatherTask&, const ktFitTask&, std::size_t) { return 0; }

    ktFitSamples samples;
};

} // namespace

ktPassCounts ktTraceFittedOcclusion(const ktOcclusionTask& vertexTask, const ktFitTask& fit, osg::Vec4f* results,
                                    std::atomic<std::uint32_t>& done) {
    const ktFitMesh mesh = ktMakeFitMesh(vertexTask, *fit.triangles);
    const ktFitPoints points(mesh, fit.density, fit.mostPoints);
    const bool hasLights = vertexTask.lights && !vertexTask.lights->empty();
    OcclusionSamples pass(hasLights ? 4 : 1, points.size() + mesh.fine.size());
    ktPassCounts counts;
    Sampling<ktOcclusionTask, OcclusionSamples>(vertexTask, fit, mesh, points, counts).run(pass, done);

    std::vector<ktFitLimits> limits(pass.samples.channels);
    limits.back() = {ktDarkestResult, 1.0f};
    const std::vector<float> fitted = ktSolveFit(mesh, points, pass.samples, limits);
    for (std::uint32_t vertex = 0; vertex < vertexTask.count; ++vertex) {
        if (mesh.unknownOf[vertex] == ktFitMesh::none)
            continue;
        const float* values = &fitted[mesh.unknownOf[vertex] * limits.size()];
        results[vertex] =
            hasLights ? osg::Vec4f(values[0], values[1], values[2], values[3]) : osg::Vec4f(0, 0, 0, values[0]);
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
    return counts;
}

ktPassCounts ktGatherFittedLight(const ktGatherTask& vertexTask, const ktFitTask& fit, float* received,
                                 std::atomic<std::uint32_t>& done) {
    const ktFitMesh mesh = ktMakeFitMesh(vertexTask, *fit.triangles);
    const ktFitPoints points(mesh, fit.density, fit.mostPoints);
    GatheredSamples pass(points.size() + mesh.fine.size());
    ktPassCounts counts;
    Sampling<ktGatherTask, GatheredSamples>(vertexTask, fit, mesh, points, counts).run(pass, done);

    const std::vector<float> fitted =
        ktSolveFit(mesh, points, pass.samples, std::vector<ktFitLimits>(3), ktGatheredKinks);
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
    return counts;
}
