// SPDX-License-Identifier: LGPL-2.1-or-later
// The part of ktSceneRaytracing that takes light which ranks have traced ahead of a pass, or which a checkpoint kept.
#include "ktSceneRaytracing.h"

#include "ktCheckpoint.h"
#include "ktEventPump.h"
#include "ktGeometryInstances.h"
#include "ktRankPool.h"
#include "ktScenegraph.h"
#include "ktSharedVertices.h"

#include <optional>
#include <set>
#include <type_traits>
#include <utility>

// Not while a call waits for what is traced ahead: an event handler may call this.
void ktSceneRaytracing::endAhead() {
    if (!calling)
        ahead.end();
}

// Lists the geometries for which the plug-in will ask: those below the selected nodes, each once.
void ktSceneRaytracing::planPass(ktRankPool& ranks) {
    std::vector<PlannedUse> plan;
    std::set<ktGeometryNumber> planned;
    std::vector<ktPassAhead::Planned> sizes;
    ktEventPump pump;
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        ktForEachGeometryInstance(node, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
            const ktGeometryNumber number = ktGetGeometryNumber(instance.geometry);
            pump.handleEventsIfDue();
            if (!scene.find(number) || !planned.insert(number).second)
                return true;
            plan.push_back({number, ktWorldTransform(instance.toWorld)});
            const osg::GeoPositionsPtr positions = instance.geometry->getPositions();
            sizes.push_back({number, positions == osg::NullFC ? 0u : positions->getSize()});
            return true;
        });
    ahead.begin(ranks, std::move(sizes),
                [this, plan = std::move(plan)](std::size_t index) { return makeJob(plan[index]); });
}

// Copies a planned geometry, so that it may change before its pass asks for it. Null if it has none of the arrays
// that the plug-in passes on.
std::shared_ptr<ktRankJob> ktSceneRaytracing::makeJob(const PlannedUse& use) const {
    const ktTracedGeometry* const traced = scene.find(use.geometry);
    if (!traced)
        return nullptr;
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(traced->geometry->getPositions());
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(traced->geometry->getNormals());
    if (positions == osg::NullFC || normals == osg::NullFC || positions->getSize() == 0 ||
        normals->getSize() < positions->getSize())
        return nullptr;
    const std::size_t size = 3 * std::size_t(positions->getSize());
    auto job = std::make_shared<ktRankJob>();
    const float* const first = positions->getField()[0].getValues();
    const float* const firstNormal = normals->getField()[0].getValues();
    job->geometry.positions.assign(first, first + size);
    job->geometry.normals.assign(firstNormal, firstNormal + size);
    job->geometry.toWorld = use.toWorld;
    job->geometry.triangles = traced->triangles;
    job->geometry.hasOneRings = traced->positionCount() == positions->getSize();
    if (const osg::UInt32* const shared = sceneFit.isOn() ? ktFindSharedVertices(traced->geometry.get()) : nullptr)
        job->geometry.sharedValues.assign(shared, shared + positions->getSize());
    return job;
}

// The light of a geometry, if the checkpoint has it as a whole. Nothing: it must be traced.
std::optional<ktGeometryResult> ktSceneRaytracing::restore(const ktGeometryPass& pass, const ktTracedGeometry& traced,
                                                           const ktVertexTask& task, const ktFitTask* fit) const {
    ktCheckpoint* const checkpoint = ktCheckpoint::current();
    if (!checkpoint || !checkpoint->hasGeometries())
        return {};
    const std::shared_ptr<ktRankJob> job = makeJob({traced.number, task.toWorld});
    if (!job || !job->geometry.isOf(task, fit ? fit->sharedValues : nullptr))
        return {};
    return checkpoint->restore(checkpoint->hashOf(pass, job->geometry), pass, job->geometry);
}

// The light of a geometry, if ranks trace it ahead of the pass, or a checkpoint has it. Nothing: the caller must trace
// it.
template <class Task>
std::optional<ktGeometryResult> ktSceneRaytracing::traceAhead(ktGeometryNumber geometry, const Task& task,
                                                              const ktFitTask* fit) {
    ktRankPool* const ranks = ktRankPool::current();
    const ktTracedGeometry* const traced = scene.find(geometry);
    if (!traced || !(ranks || ktCheckpoint::current()))
        return {};
    if (ranks && !ahead.hasBegun())
        planPass(*ranks);
    ktGeometryPass pass;
    pass.tracer = task.tracer;
    pass.directions = task.directions;
    pass.limits = task.limits;
    pass.sceneSize = task.sceneSize;
    if constexpr (std::is_same_v<Task, ktGatherTask>) {
        pass.kind = ktBatchKind::Gather;
        pass.light = task.light;
    } else {
        pass.lights = task.lights;
    }
    if (sceneFit.isOn()) {
        const ktFitTask settings = sceneFit.settings(task);
        pass.pointDirections = settings.directions;
        pass.insideDirections = settings.insideDirections;
        pass.density = settings.density;
        pass.mostPoints = settings.mostPoints;
    }
    if (fit && fit->triangles != traced->triangles.get())
        return {};
    ktEventPump pump;
    std::optional<ktGeometryResult> known = ahead.take(geometry, pass, task, fit ? fit->sharedValues : nullptr, pump);
    if (!known)
        known = restore(pass, *traced, task, fit);
    if (known && fit)
        *fit->samples = std::move(known->samples);
    return known;
}

template std::optional<ktGeometryResult>
ktSceneRaytracing::traceAhead(ktGeometryNumber geometry, const ktOcclusionTask& task, const ktFitTask* fit);
template std::optional<ktGeometryResult> ktSceneRaytracing::traceAhead(ktGeometryNumber geometry,
                                                                       const ktGatherTask& task, const ktFitTask* fit);
