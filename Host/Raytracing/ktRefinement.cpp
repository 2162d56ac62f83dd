// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktRefinement.h"

#include "ktAnsweringNodes.h"
#include "ktCancelPoint.h"
#include "ktLog.h"
#include "ktWorkers.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_set>

namespace {

using Refiner = ktConformingRefiner;
using Index = Refiner::Index;
using Edge = Refiner::Edge;

constexpr double weldShare = 1.0e-6;      // of the scene's diagonal: vertices nearer than this are at one place
constexpr double probeSpacing = 1.0 / 256; // of the scene's diagonal: between points inside a face, where their number allows
constexpr int mostProbesAlongEdge = 10;

bool isUsedOnce(const osg::GeometryPtr& geometry, const ktTracedScene& scene) {
    std::size_t traced = 0, inScene = 0;
    for (const ktTracedGeometry& use : scene.geometries)
        traced += use.geometry.get() == geometry;
    for (const osg::NodePtr& node : geometry->getParents())
        inScene += isInScene(node);
    return traced <= 1 && inScene <= 1;
}

// The group under refinement, and the decisions of a round. Works on one worker thread; tracing inside uses all.
class Group {
public:
    Group(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes, const ktTracedScene& scene,
          const std::set<osg::GeometryPtr>& inside, const ktRefinementLight& how)
        : meshes(meshes), how(how), refiner(weldShare * std::max(scene.diagonal, 1e-30f)),
          spacing(probeSpacing * scene.diagonal) {
        for (const auto& mesh : meshes) {
            ktThrowIfCanceled();
            refiner.addMesh(mesh->worldPositions(), mesh->triangles());
        }
        refiner.setVertexLimit(ktRefinement::vertexLimit);
        lockSharedEdges(scene, inside);
        for (std::size_t v = 0; v < refiner.vertices().size(); ++v)
            localOf.push_back(static_cast<Index>(v) - refiner.firstVertex(refiner.vertices()[v].mesh));
    }

    void refine() {
        int rounds = 0;
        for (const auto& mesh : meshes)
            rounds = std::max(rounds, mesh->request().rounds);
        std::vector<Index> active(refiner.triangles().size());
        for (Index t = 0; t < active.size(); ++t)
            active[t] = t;
        for (round = 0; round < rounds && !active.empty(); ++round) {
            const std::vector<Edge> wanted = findEdges(active);
            for (Edge edge : wanted)
                refiner.split(edge);
            active = refiner.takeChanged();
            takeNewVertices();
        }
    }

    /// Triangles of each mesh, by its own vertices; those without area are left out.
    std::vector<std::vector<std::uint32_t>> triangles() const {
        std::vector<std::vector<std::uint32_t>> result(meshes.size());
        for (Index t = 0; t < refiner.triangles().size(); ++t)
            if (!refiner.isCollapsed(t))
                for (Index v : refiner.triangles()[t].vertices)
                    result[refiner.triangles()[t].mesh].push_back(localOf[v]);
        return result;
    }

    std::size_t newVertexCount() const { return refiner.vertices().size() - refiner.originalVertexCount(); }

private:
    // Probes of one triangle, as orders of its mesh.
    struct Trial {
        Index triangle = 0;
        std::size_t middle[3] = {0, 0, 0};
        bool hasMiddle[3] = {false, false, false};
        std::vector<std::pair<std::size_t, std::array<float, 3>>> inside;
    };

    void lockSharedEdges(const ktTracedScene& scene, const std::set<osg::GeometryPtr>& inside) {
        for (const ktTracedGeometry& other : scene.geometries) {
            ktThrowIfCanceled();
            if (inside.count(other.geometry.get()))
                continue;
            const std::vector<std::uint32_t>& corners = *other.triangles;
            const auto point = [&other](std::uint32_t corner) {
                const float* p = &(*other.positions)[3 * std::size_t(corner)];
                return Refiner::Point{p[0], p[1], p[2]};
            };
            for (std::size_t i = 0; i + 2 < corners.size(); i += 3)
                for (std::size_t c = 0; c < 3; ++c)
                    refiner.lockEdge(point(corners[i + c]), point(corners[i + (c + 1) % 3]));
        }
    }

    const ktIllumination& lightAt(Index vertex) const {
        return meshes[refiner.vertices()[vertex].mesh]->illumination(localOf[vertex]);
    }

    static bool differs(const ktIllumination& a, const ktIllumination& b, float threshold) {
        return std::fabs(a[0] - b[0]) > threshold || std::fabs(a[1] - b[1]) > threshold;
    }

    bool maySplit(Edge edge, const ktRefinementRequest& request) const {
        const double shortest = request.minEdgeLength;
        return !refiner.isLocked(edge) && refiner.squaredLength(edge) > shortest * shortest;
    }

    // Edges to halve in this round, in an order that depends on where they lie alone.
    std::vector<Edge> findEdges(const std::vector<Index>& active) {
        std::unordered_set<Edge> wanted;
        std::vector<Trial> trials;
        for (Index triangle : active) {
            if (triangle % 4096 == 0)
                ktThrowIfCanceled();
            const Refiner::Triangle& t = refiner.triangles()[triangle];
            ktRefinementMesh& mesh = *meshes[t.mesh];
            if (refiner.isCollapsed(triangle) || round >= mesh.request().rounds)
                continue;
            Trial trial;
            trial.triangle = triangle;
            bool isOpen = false;
            for (int corner = 0; corner < 3; ++corner) {
                const Edge edge = refiner.edge(triangle, corner);
                const Index a = t.vertices[corner], b = t.vertices[(corner + 1) % 3];
                if (!maySplit(edge, mesh.request()))
                    continue;
                if (differs(lightAt(a), lightAt(b), mesh.request().threshold)) {
                    wanted.insert(edge);
                } else {
                    isOpen = trial.hasMiddle[corner] = true;
                    trial.middle[corner] = mesh.addMiddleProbe(localOf[a], localOf[b]);
                }
            }
            if (!isOpen)
                continue;
            addInnerProbes(trial);
            trials.push_back(std::move(trial));
        }
        for (const auto& mesh : meshes)
            mesh->traceProbes(how);
        for (const Trial& trial : trials)
            judge(trial, wanted);
        return inOrder(wanted);
    }

    // Points inside the face, close enough that nothing of interest falls between them.
    void addInnerProbes(Trial& trial) {
        const Refiner::Triangle& t = refiner.triangles()[trial.triangle];
        double longest = 0;
        for (int corner = 0; corner < 3; ++corner)
            longest = std::max(longest, refiner.squaredLength(refiner.edge(trial.triangle, corner)));
        const int steps =
            std::clamp(static_cast<int>(std::ceil(std::sqrt(longest) / spacing)), 3, mostProbesAlongEdge);
        const Index vertices[3] = {localOf[t.vertices[0]], localOf[t.vertices[1]], localOf[t.vertices[2]]};
        for (int i = 1; i < steps; ++i)
            for (int k = 1; i + k < steps; ++k) {
                const float u = static_cast<float>(i) / static_cast<float>(steps);
                const float v = static_cast<float>(k) / static_cast<float>(steps);
                const std::array<float, 3> weights = {1.0f - u - v, u, v};
                trial.inside.emplace_back(meshes[t.mesh]->addProbe(vertices, weights.data()), weights);
            }
    }

    void judge(const Trial& trial, std::unordered_set<Edge>& wanted) const {
        const Refiner::Triangle& t = refiner.triangles()[trial.triangle];
        const ktRefinementMesh& mesh = *meshes[t.mesh];
        const float threshold = mesh.request().threshold;
        const ktIllumination corners[3] = {lightAt(t.vertices[0]), lightAt(t.vertices[1]), lightAt(t.vertices[2])};
        bool isUneven = false;
        for (const auto& [order, weights] : trial.inside) {
            ktIllumination expected = {0, 0};
            for (int corner = 0; corner < 3; ++corner)
                for (std::size_t k = 0; k < expected.size(); ++k)
                    expected[k] += weights[static_cast<std::size_t>(corner)] * corners[corner][k];
            isUneven = isUneven || differs(mesh.probe(order), expected, threshold);
        }
        for (int corner = 0; corner < 3; ++corner) {
            if (!trial.hasMiddle[corner])
                continue;
            const ktIllumination &a = corners[corner], &b = corners[(corner + 1) % 3];
            const ktIllumination expected = {0.5f * (a[0] + b[0]), 0.5f * (a[1] + b[1])};
            if (isUneven || differs(mesh.probe(trial.middle[corner]), expected, threshold))
                wanted.insert(refiner.edge(trial.triangle, corner));
        }
    }

    std::vector<Edge> inOrder(const std::unordered_set<Edge>& wanted) const {
        std::vector<std::pair<std::pair<Refiner::Point, Refiner::Point>, Edge>> keyed;
        for (Edge edge : wanted) {
            const auto [low, high] =
                std::minmax(refiner.position(edge >> 32), refiner.position(static_cast<Index>(edge & 0xFFFFFFFFu)));
            keyed.push_back({{low, high}, edge});
        }
        std::sort(keyed.begin(), keyed.end());
        std::vector<Edge> edges;
        for (const auto& entry : keyed)
            edges.push_back(entry.second);
        return edges;
    }

    void takeNewVertices() {
        for (std::size_t v = localOf.size(); v < refiner.vertices().size(); ++v) {
            const Refiner::Vertex& vertex = refiner.vertices()[v];
            ktRefinementMesh& mesh = *meshes[vertex.mesh];
            localOf.push_back(mesh.vertexCount());
            mesh.addVertex(localOf[vertex.parents[0]], localOf[vertex.parents[1]]);
        }
        for (const auto& mesh : meshes)
            mesh->finishVertices(how);
    }

    std::vector<std::unique_ptr<ktRefinementMesh>>& meshes;
    const ktRefinementLight& how;
    Refiner refiner;
    double spacing;
    int round = 0;
    std::vector<Index> localOf; // the refiner's vertices in their own mesh
};

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

void ktRefinement::run(const ktTracedScene& scene, const ktRefinementLight& how, ktBounceLight& bounces,
                       const std::function<const float*(const osg::GeometryPtr&)>& tintOf, ktEventPump& pump) {
    std::vector<std::unique_ptr<ktRefinementMesh>> meshes;
    std::vector<ktGeoSubdivisionRecord*> refined;
    std::set<osg::GeometryPtr> inside;
    for (ktGeoSubdivisionRecord* record : records) {
        pump.breathe();
        const osg::GeometryPtr geometry = record->geometry.get();
        // One geometry with two records, as after two bounces, is refined once.
        if (record->isReady || inside.count(geometry) || !isUsedOnce(geometry, scene))
            continue;
        auto mesh = std::make_unique<ktRefinementMesh>(*record, bounces, tintOf(geometry));
        if (!mesh->isUsable())
            continue;
        inside.insert(geometry);
        refined.push_back(record);
        meshes.push_back(std::move(mesh));
    }
    if (meshes.empty())
        return;

    std::size_t newVertices = 0;
    std::vector<std::vector<std::uint32_t>> triangles;
    ktWorkers::run(
        [&] {
            for (const auto& mesh : meshes)
                mesh->lookAround();
            Group group(meshes, scene, inside, how);
            group.refine();
            triangles = group.triangles();
            newVertices = group.newVertexCount();
        },
        pump);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        std::vector<float> gathered;
        meshes[i]->finish(std::move(triangles[i]), gathered);
        if (!gathered.empty() && !refined[i]->parents.empty())
            bounces.setGathered(refined[i]->geometry.get(), std::move(gathered));
    }
    if (newVertices >= vertexLimit)
        ktLog::warning("Refinement stopped at its limit of %zu new vertices; raise the minimum edge length or the "
                       "intensity threshold",
                       vertexLimit);
}
