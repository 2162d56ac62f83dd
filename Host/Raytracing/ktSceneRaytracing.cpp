// SPDX-License-Identifier: LGPL-2.1-or-later
// Implements the ray-tracing service of the host: runs occlusion, gathering and refinement on all threads.
#include "ktSceneRaytracing.h"

#include "ktCancelPoint.h"
#include "ktCheckpoint.h"
#include "ktControllerState.h"
#include "ktFitMode.h"
#include "ktGatherPass.h"
#include "ktGeometryInstances.h"
#include "ktGeoSubdivisionList.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktHemisphereSampler.h"
#include "ktHostSignals.h"
#include "ktLog.h"
#include "ktMemoryShortage.h"
#include "ktOcclusionPass.h"
#include "ktOSGWidgetState.h"
#include "ktRankPool.h"
#include "ktSampler.h"
#include "ktScenegraph.h"
#include "ktTracerFactory.h"
#include "ktTriangleBudget.h"
#include "ktVertexFrames.h"
#include "ktWorkers.h"

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <OpenSG/OSGSimpleAttachments.h>
#include <optional>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::chrono::milliseconds longestWaitForCancel{40}; // of a build
constexpr char handedNothing[] = "it was handed no sample pattern or no vertices";
constexpr std::uint64_t samplerSeed = 0x6B744F6363756C65ull; // an arbitrary number; the same in every run

// Reads positions and normals, and writes results, as plain floats.
static_assert(sizeof(osg::Pnt3f) == 3 * sizeof(float) && sizeof(osg::Vec3f) == 3 * sizeof(float) &&
                  sizeof(osg::Vec4f) == 4 * sizeof(float),
              "a vector of the scene graph is its components");

} // namespace

ktSceneRaytracing::ktSceneRaytracing() = default;

ktSceneRaytracing::ktSceneRaytracing(std::unique_ptr<ktTracer> tracer_) : tracer(std::move(tracer_)) {}

ktSceneRaytracing::~ktSceneRaytracing() {
    ahead.end();
}

// A build does not always stop at once. A cancelled call abandons it, and the next call waits for it.
void ktSceneRaytracing::waitForAbandonedBuild() {
    if (!abandonedBuild)
        return;
    bool hasEnded = true;
    try {
        ktEventPump pump;
        hasEnded = abandonedBuild->wait(pump, [] { return ktCancelToken::the().isCanceled(); });
    } catch (...) {
        // An error of a cancelled build does not matter.
        abandonedBuild->waitForEnd();
    }
    if (!hasEnded)
        throw ktCanceled();
    tracer->build({}, {});
    abandonedBuild.reset();
}

ktTracer& ktSceneRaytracing::ensureTracer() {
    if (!tracer)
        tracer = ktMakeTracer();
    return *tracer;
}

// Runs the body of a public call. No exception leaves it. Event handlers may run during a call; if they make a second
// call, it is refused.
void ktSceneRaytracing::call(const char* action, const std::function<void()>& body) {
    if (calling) {
        ktLog::error("Ray tracing cannot %s while another of its calls is under way", action);
        return;
    }
    struct Guard {
        bool& flag;
        ~Guard() { flag = false; }
    } guard{calling = true};
    std::string reason;
    try {
        body();
        return;
    } catch (const ktCanceled&) {
        ahead.end();
        return;
    } catch (const std::bad_alloc&) {
        ktMemoryShortage::report();
        reason = "out of memory";
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (...) {
        reason = "unknown error";
    }
    ahead.end();
    ktControllerState::failRun("Ray tracing cannot " + std::string(action) + ": " + reason +
                               "; the calculation is cancelled");
}

void ktSceneRaytracing::buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                                   const std::vector<osg::NodePtr>& lights) {
    call("build the acceleration structure", [&] {
        ktThrowIfCanceled();
        waitForAbandonedBuild();
        clearScene();
        bounces.endBounce(); // the snapshot refers to the scene
        const auto begun = std::chrono::steady_clock::now();
        try {
            makeStructure(geometry, lights);
        } catch (...) {
            scene.clear();
            throw;
        }
        statistics.structureSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
        if (scene.badTriangles > 0) {
            const char* name = osg::getName(scene.geometries[scene.firstBad].node);
            ktLog::warning("%llu triangles, the first of them in \"%s\", have positions that are not finite or indices "
                           "out of range; they do not occlude",
                           static_cast<unsigned long long>(scene.badTriangles), name ? name : "");
        }
    });
}

void ktSceneRaytracing::makeStructure(const std::vector<osg::NodePtr>& geometry,
                                      const std::vector<osg::NodePtr>& lights) {
    ensureTracer();
    ktEventPump pump;
    scene.collect(geometry, lights, pump);
    statistics.occludingTriangles = 0;
    std::map<ktGeometryNumber, std::uint64_t> triangles;
    for (const ktTracedGeometry& traced : scene.geometries) {
        numbers.add(traced.geometry.get());
        const auto [entry, isNew] = triangles.try_emplace(traced.number, 0);
        if (isNew)
            entry->second = ktCountTriangles(traced.geometry.get());
        statistics.occludingTriangles += entry->second;
    }
    // Geometry that does not occlude is calculated, too.
    ktForEachGeometryInstance(ktScenegraph::getRootNode(), ktInstances::All, [&](const ktGeometryInstance& instance) {
        numbers.add(instance.geometry);
        const auto [entry, isNew] = triangles.try_emplace(ktGetGeometryNumber(instance.geometry), 0);
        if (isNew)
            entry->second = ktCountTriangles(instance.geometry);
        pump.handleEventsIfDue();
        return true;
    });
    sceneTriangles = 0;
    for (const auto& entry : triangles)
        sceneTriangles += entry.second;
    if (firstSceneTriangles == 0)
        firstSceneTriangles = sceneTriangles;
    ktWorkers::run(
        [&] {
            scene.makeMeshes(tracer->takesInstances());
            std::vector<ktWorldTransform> transforms;
            if (ktRankPool* const ranks = ktRankPool::current())
                ranks->sendScene(scene.tracerMeshes(transforms), *tracer);
            if (ktCheckpoint* const checkpoint = ktCheckpoint::current())
                checkpoint->beginScene(scene.tracerMeshes(transforms));
            if (ktGetFitMode() == ktFitMode::Surface)
                sceneFit.setScene(scene);
        },
        pump);

    const auto isAbandoned = std::make_shared<std::atomic<bool>>(false);
    auto build = std::make_unique<ktWorkers>(scene.makeBuildJob(*tracer, isAbandoned));
    std::optional<std::chrono::steady_clock::time_point> canceled;
    const auto isOverdue = [&canceled] {
        if (!canceled && ktCancelToken::the().isCanceled())
            canceled = std::chrono::steady_clock::now();
        return canceled && std::chrono::steady_clock::now() - *canceled > longestWaitForCancel;
    };
    if (!build->wait(pump, isOverdue)) {
        *isAbandoned = true; // the token may be reset before the build checks it again
        abandonedBuild = std::move(build);
        if (ktRankPool* const ranks = ktRankPool::current())
            ranks->cancelScene();
        throw ktCanceled();
    }
    if (ktRankPool* const ranks = ktRankPool::current())
        ktWorkers::run([&] { ranks->sendStructure(*tracer); }, pump);
}

void ktSceneRaytracing::clearRun() {
    endAhead();
    bounces.clear();
    refinement.clear();
    lastGather = {};
    tints.clear();
    passSamples.reset();
    firstSceneTriangles = 0;
}

// The tracer refers to the meshes of the scene, so it is cleared first. An abandoned build keeps its meshes alive.
void ktSceneRaytracing::clearScene() {
    ahead.end();
    if (tracer && !abandonedBuild)
        tracer->build({}, {});
    if (ktRankPool* const ranks = ktRankPool::current())
        ranks->cancelScene();
    scene.clear();
    sceneFit.clear();
    numbers.clear();
}

void ktSceneRaytracing::finishPass() {
    endAhead();
    bounces.endBounce();
    passSamples.reset();
    reportUnusableVertices();
}

void ktSceneRaytracing::reportUnusableVertices() {
    if (unusableVertices > 0)
        ktLog::warning("%llu vertices have a position or normal that is not finite, or no normal; they count as open",
                       static_cast<unsigned long long>(unusableVertices));
    unusableVertices = 0;
}

// Called when all geometry to refine is known and none is rebuilt yet.
void ktSceneRaytracing::invalidateGeometry() {
    if (refinement.isEmpty())
        return;
    call("refine geometry", [&] {
        ktThrowIfCanceled();
        ahead.end();
        if (!bounces.directTask())
            return;
        ktEventPump pump;
        ktRefinementTasks tasks = {bounces.directTask(), lastGather.tracer ? &lastGather : nullptr};
        ktFitTask directFit, gatherFit;
        if (sceneFit.isOn()) {
            directFit = sceneFit.settings(*tasks.direct);
            tasks.directFit = &directFit;
            tasks.sceneTriangles = sceneTriangles;
            tasks.mostTriangles = ktGetTriangleBudget().of(firstSceneTriangles);
            if (tasks.gather) {
                gatherFit = sceneFit.settings(*tasks.gather);
                tasks.gatherFit = &gatherFit;
            }
        }
        const auto tintOf = [this](ktGeometryNumber geometry) {
            return tints.try_emplace(geometry, std::array<float, 3>{1, 1, 1}).first->second.data();
        };
        const ktRefinementCounts counts = refinement.run(scene, tasks, bounces, tintOf, pump);
        statistics.addedVertices += counts.newVertices;
        statistics.fitPoints += counts.fitPoints;
        statistics.refining += counts.rays;
    });
}

// Called once per run, before tracing.
void ktSceneRaytracing::setMaterialOverride(bool colorBleeding, bool overrideMaterialColor,
                                            const float* materialColor) {
    clearRun();
    statistics = {};
    hasStarted = false;
    bounces.settings.colorBleeding = colorBleeding;
    bounces.settings.overrideColor = overrideMaterialColor && materialColor;
    if (materialColor)
        std::copy_n(materialColor, 3, bounces.settings.color);
}

// The last call of a run. Frees the memory of the scene.
void ktSceneRaytracing::restoreRaytracing(int raytracing) {
    ktOSGWidgetState::setRaytracing(raytracing);
    reportUnusableVertices();
    clearRun();
    call("free its memory", [&] { clearScene(); });
}

ktSampler* ktSceneRaytracing::createSampler(int countU, int countV, int pattern, int lobe, float jitterU,
                                            float jitterV) {
    if (countU < 1 || countV < 1)
        return nullptr;
    try {
        if (pattern != 0 || lobe != 1)
            throw std::invalid_argument("only pattern 0 and lobe 1 are known");
        if (static_cast<long long>(countU) * countV > std::numeric_limits<int>::max())
            throw std::bad_alloc();
        return new ktSampler(ktMakeHemisphereDirections(static_cast<std::uint32_t>(countU),
                                                        static_cast<std::uint32_t>(countV), jitterU, jitterV,
                                                        samplerSeed),
                             ensureTracer());
    } catch (const std::bad_alloc&) {
        ktLog::error("No memory for %d by %d sample directions", countU, countV);
    } catch (const std::exception& error) {
        ktLog::error("Cannot make sample directions: %s", error.what());
    }
    return nullptr;
}

void ktSceneRaytracing::releaseSampler(ktSampler* sampler) {
    endAhead();
    bounces.setDirect({}, false); // it may refer to this sampler
    lastGather = {};
    delete sampler;
}

void ktSceneRaytracing::configureTracing(int, int, float newMinDistance, float newMaxDistance) {
    if (!std::exchange(hasStarted, true))
        emit ktHostSignals::the().tracingStarted();
    endAhead();
    bounces.endBounce();
    // NaN and negative values count as 0.
    minDistance = newMinDistance > 0.0f ? newMinDistance : 0.0f;
    maxDistance = newMaxDistance > 0.0f ? std::min(newMaxDistance, FLT_MAX) : 0.0f;
}

// Checks the arguments of a pass and sets the part of its task that all passes share.
ktVertexTask ktSceneRaytracing::vertexTask(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                           const osg::Vec3f* normals, const ktSampler* sampler, bool bothSides) {
    if (!sampler || !positions || !normals)
        throw std::invalid_argument(handedNothing);
    waitForAbandonedBuild();
    ktVertexTask task;
    task.tracer = &ensureTracer();
    task.helpers = ktRankPool::current();
    if (ktCheckpoint* const checkpoint = ktCheckpoint::current())
        task.helpers = checkpoint;
    task.directions = sampler->prepared.get();
    task.limits = {std::max(minDistance, ktVertexFrames::minHitDistance(scene.diagonal)), maxDistance, bothSides};
    task.sceneSize = scene.diagonal;
    task.setVertices(toWorld ? ktWorldTransform(*toWorld) : ktWorldTransform(), count, positions->getValues(),
                     normals->getValues(), nullptr);
    return task;
}

void ktSceneRaytracing::countRays(ktGeometryNumber geometry, std::uint32_t vertices, const ktPassCounts& counts,
                                  std::uint64_t ktRayCounts::*kind) {
    statistics.requested.*kind += counts.rays();
    statistics.shared.*kind += counts.sharedRays;
    statistics.fitPoints += counts.points;
    if (geometry == 0)
        return;
    ktTracingStatistics::Geometry& entry = statistics.geometries[geometry];
    entry.vertices += vertices;
    entry.rays += counts.rays();
}

// How to fit the results of this geometry; null if the run gives the values at the vertices.
const ktFitTask* ktSceneRaytracing::fitOf(const osg::Pnt3f* positions, const ktVertexTask& task) {
    return sceneFit.isOn() ? sceneFit.prepare(numbers.geometry(positions), task) : nullptr;
}

// Refinement may need what the pass has traced for this geometry.
void ktSceneRaytracing::keepSamples(ktGeometryNumber geometry, const ktVertexTask& task, bool indirect) {
    passGeometry = geometry;
    passSamples = sceneFit.takeSamples(task, indirect);
}

// Traces here, on the workers and with other ranks.
template <class Task, class Result>
ktPassCounts ktSceneRaytracing::tracePass(ktGeometryNumber geometry, Task task, const ktFitTask* fit, Result* results,
                                          std::atomic<std::uint32_t>& done) const {
    const std::vector<ktOneRing> oneRings = scene.oneRings(geometry, task.positions, task.count);
    task.oneRings = oneRings.empty() ? nullptr : oneRings.data();
    return ktTracePass(task, fit, results, done);
}

void ktSceneRaytracing::computeVertexOcclusion(osg::UInt32 count, const osg::Matrix* toWorld,
                                               const osg::Pnt3f* positions, const osg::Vec3f* normals,
                                               osg::Vec4f* results, bool transform, ktSampler* sampler, bool option,
                                               bool lightMode) {
    if (count == 0)
        return;
    call("trace direct light", [&] {
        ktThrowIfCanceled();
        if (!results || (transform && !toWorld))
            throw std::invalid_argument(handedNothing);
        const ktOcclusionTask task = {
            vertexTask(count, transform ? toWorld : nullptr, positions, normals, sampler, option),
            lightMode ? &scene.lights : nullptr};
        const ktGeometryNumber geometry = numbers.find(positions);
        emit ktHostSignals::the().geometryStarted(geometry, false);
        passSamples.reset();
        const ktFitTask* fit = fitOf(positions, task);
        ktPassCounts counts;
        if (std::optional<ktGeometryResult> known = traceAhead(geometry, task, fit)) {
            std::memcpy(static_cast<void*>(results), known->values.data(), count * sizeof(osg::Vec4f));
            counts = known->counts;
            emit ktHostSignals::the().tracingProgress(count, count);
        } else {
            std::vector<osg::Vec4f> traced;
            runOnWorkers(
                count,
                [&](std::atomic<std::uint32_t>& done) {
                    traced.resize(count);
                    counts = tracePass(geometry, task, fit, traced.data(), done);
                },
                [&] { std::memcpy(static_cast<void*>(results), traced.data(), count * sizeof(osg::Vec4f)); });
        }
        unusableVertices += counts.unusable;
        if (fit)
            keepSamples(geometry, task, false);
        countRays(geometry, count, counts, &ktRayCounts::direct);
        bounces.setDirect(task, true);
        if (const ktTracedGeometry* traced = scene.find(geometry))
            bounces.markCalculated(*traced);
        emit ktHostSignals::the().geometryTraced(positions, false);
    });
}

void ktSceneRaytracing::gatherVertexIllumination(osg::UInt32 count, const osg::Matrix* toWorld,
                                                 const osg::Pnt3f* positions, const osg::Vec3f* normals,
                                                 osg::Vec4f* results, const osg::Color3f* surfaceColor, bool transform,
                                                 ktSampler* sampler, int, bool) {
    if (count == 0)
        return;
    call("gather indirect light", [&] {
        ktThrowIfCanceled();
        if (!results || !surfaceColor || (transform && !toWorld))
            throw std::invalid_argument(handedNothing);
        const ktGatherTask task = {vertexTask(count, transform ? toWorld : nullptr, positions, normals, sampler, true),
                                   &bounces.light()};
        const ktGeometryNumber geometry = numbers.find(positions);
        emit ktHostSignals::the().geometryStarted(geometry, true);
        ktEventPump pump;
        bounces.takeSnapshot(scene, pump);
        passSamples.reset();
        const ktFitTask* fit = fitOf(positions, task);
        ktPassCounts counts;
        std::vector<float> received(3 * std::size_t(count));
        const auto store = [&] {
            for (std::size_t i = 0; i < count; ++i)
                for (osg::UInt32 c = 0; c < 3; ++c)
                    results[i][c] = std::max(received[3 * i + c] * (*surfaceColor)[c], ktDarkestResult);
        };
        if (std::optional<ktGeometryResult> known = traceAhead(geometry, task, fit)) {
            received = std::move(known->values);
            counts = known->counts;
            store();
            emit ktHostSignals::the().tracingProgress(count, count);
        } else {
            runOnWorkers(
                count,
                [&](std::atomic<std::uint32_t>& done) {
                    counts = tracePass(geometry, task, fit, received.data(), done);
                },
                store);
        }
        lastGather = task;
        if (fit)
            keepSamples(geometry, task, true);
        countRays(geometry, count, counts, &ktRayCounts::indirect);
        if (scene.find(geometry)) {
            bounces.setGathered(geometry, std::move(received));
            tints[geometry] = {surfaceColor->red(), surfaceColor->green(), surfaceColor->blue()};
        }
        emit ktHostSignals::the().geometryTraced(positions, true);
    });
}

// Runs `work` for `count` vertices on the workers. Meanwhile the main thread handles events and reports progress. These
// events may read the results. So only the main thread changes them: with `store`, after the work, if nobody cancelled.
void ktSceneRaytracing::runOnWorkers(std::uint32_t count, const std::function<void(std::atomic<std::uint32_t>&)>& work,
                                     const std::function<void()>& store) {
    std::atomic<std::uint32_t> done{0};
    std::uint32_t reported = 0;
    ktEventPump pump([&] {
        const std::uint32_t now = done;
        if (now != reported)
            emit ktHostSignals::the().tracingProgress(reported = now, count);
    });
    std::optional<ktWorkers::OwnThreadsOnly> ownThreads;
    if (const ktRankPool* const ranks = ktRankPool::current(); ranks && ranks->hasJobs())
        ownThreads.emplace();
    ktWorkers::run([&] { work(done); }, pump);
    ktThrowIfCanceled();
    store();
    emit ktHostSignals::the().tracingProgress(count, count);
}

void ktSceneRaytracing::subdivideByIllumination(const std::string* name, osg::Int32 quality, osg::Int32,
                                                ktGeoSubdivisionList* record, osg::GeometryPtr geometry,
                                                osg::Real32 threshold, osg::Real32 minEdgeLength,
                                                const osg::Matrix* toWorld, const osg::Matrix*, const osg::Matrix*,
                                                bool, bool indirect, bool) {
    if (ktCancelToken::the().isCanceled() || !record || geometry == osg::NullFC || !toWorld)
        return;
    ktRefinementRequest& request = record->record()->request;
    request.name = name ? *name : std::string();
    request.rounds = 2 + 2 * std::clamp<int>(quality, 0, 2);
    request.threshold = threshold;
    request.minEdgeLength = minEdgeLength;
    request.toWorld = *toWorld;
    request.indirect = indirect;
    if (passSamples && passGeometry == ktGetGeometryNumber(geometry))
        record->record()->passSamples = passSamples;
    refinement.add(*record->record());
}
