// SPDX-License-Identifier: LGPL-2.1-or-later
// Refines all pending geometries of a run together, where direct or indirect light changes along edges.
#include "ktRefinement.h"

#include "ktCancelPoint.h"
#include "ktFittedRefinement.h"
#include "ktHostSignals.h"
#include "ktLog.h"
#include "ktOriginalNodes.h"
#include "ktRefinementGroup.h"
#include "ktWorkers.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

// Counts the instances of a geometry among the occluders and in the scene.
class Uses {
public:
    Uses(const ktTracedScene& scene, ktEventPump& pump) {
        for (const ktTracedGeometry& use : scene.geometries) {
            pump.handleEventsIfDue();
            ++traced[use.number];
        }
    }
    bool isUsedOnce(const osg::GeometryPtr& geometry) const {
        const auto found = traced.find(ktGetGeometryNumber(geometry));
        if (found != traced.end() && found->second > 1)
            return false;
        const auto parents = geometry->getParents();
        return std::count_if(parents.begin(), parents.end(),
                             [](const osg::NodePtr& node) { return ktIsInScene(node); }) <= 1;
    }

private:
    std::map<ktGeometryNumber, std::size_t> traced;
};

// The most triangles that the meshes may have together; 0: no limit. Other geometry counts, too.
std::size_t mostTriangles(const std::vector<std::unique_ptr<ktRefinementMesh>>& meshes,
                          const ktRefinementTasks& tasks) {
    if (tasks.mostTriangles == 0)
        return 0;
    std::size_t own = 0;
    for (const auto& mesh : meshes)
        own += mesh->storedTriangleCount();
    const std::size_t others = tasks.sceneTriangles - std::min(tasks.sceneTriangles, own);
    return std::max<std::size_t>(tasks.mostTriangles - std::min(tasks.mostTriangles, others), 1);
}

void report(ktRefinementProgress& progress) {
    for (const ktRefinementProgress::State& state : progress.takeStates())
        emit ktHostSignals::the().refinementProgress(state.round, state.rounds, state.newVertices);
}

} // namespace

void ktRefinement::add(ktGeoSubdivisionRecord& record) {
    records.push_back(&record);
    record.onDestroy = [this](ktGeoSubdivisionRecord* gone) {
        records.erase(std::remove(records.begin(), records.end(), gone), records.end());
    };
}

void ktRefinement::clear() {
    for (ktGeoSubdivisionRecord* record : records)
        record->onDestroy = nullptr;
    records.clear();
}

ktRefinementCounts ktRefinement::run(const ktTracedScene& scene, const ktRefinementTasks& tasks, ktBounceLight& bounces,
                                     const std::function<const float*(ktGeometryNumber)>& tintOf, ktEventPump& pump) {
    std::vector<std::unique_ptr<ktRefinementMesh>> meshes;
    std::set<ktGeometryNumber> inside, usedOften;
    const Uses uses(scene, pump);
    for (ktGeoSubdivisionRecord* record : records) {
        pump.handleEventsIfDue();
        const osg::GeometryPtr geometry = record->geometry.get();
        const ktGeometryNumber number = ktGetGeometryNumber(geometry);
        // A geometry may have two records, for example after two bounces. It is refined once.
        if (record->isReady || inside.count(number))
            continue;
        if (!uses.isUsedOnce(geometry)) {
            if (!record->request.indirect)
                usedOften.insert(number);
            continue;
        }
        auto mesh = std::make_unique<ktRefinementMesh>(*record, bounces, tintOf(number));
        if (!mesh->isUsable())
            continue;
        inside.insert(number);
        meshes.push_back(std::move(mesh));
    }
    if (!usedOften.empty())
        ktLog::info("Meshes that are used several times keep their triangles (%zu); with unique instances, each use is "
                    "refined",
                    usedOften.size());
    if (meshes.empty())
        return {};
    // From here on, the result does not depend on the order of the scene's nodes.
    std::sort(meshes.begin(), meshes.end(), [](const auto& a, const auto& b) { return a->comesBefore(*b); });

    ktRefinementProgress progress;
    ktRefinementCounts counts;
    ktEventPump reportingPump([&progress] { report(progress); });
    ktWorkers::run(
        [&] {
            std::vector<std::vector<std::uint32_t>> triangles;
            if (tasks.directFit) {
                ktFittedRefinement group(meshes, scene, inside, tasks, mostTriangles(meshes, tasks));
                group.refine(progress);
                triangles = group.triangles();
                counts = {group.newVertexCount(), group.rays(), group.pointCount()};
            } else {
                for (const auto& mesh : meshes)
                    mesh->makeOneRings();
                ktRefinementGroup group(meshes, scene, inside, tasks);
                group.refine(progress);
                triangles = group.triangles();
                counts = {group.newVertexCount(), group.rays(), 0};
            }
            for (std::size_t i = 0; i < meshes.size(); ++i)
                meshes[i]->finish(std::move(triangles[i]));
        },
        reportingPump);
    ktThrowIfCanceled();
    report(progress);
    for (const auto& mesh : meshes)
        mesh->publish(bounces);
    if (progress.getNewVertices() >= vertexLimit)
        ktLog::warning("Refinement stopped at its limit of %zu new vertices; raise the minimum edge length or the "
                       "intensity threshold",
                       vertexLimit);
    return counts;
}
