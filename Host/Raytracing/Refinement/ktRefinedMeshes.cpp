// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds the triangles of meshes that are refined together, and keeps edges that other geometry shares from splitting.
#include "ktRefinedMeshes.h"

#include "ktCancelPoint.h"
#include "ktRefinement.h"

#include <algorithm>

namespace {

constexpr double weldShare = 1.0e-6; // weld distance, as a fraction of the scene's diagonal

} // namespace

ktRefinedMeshes::ktRefinedMeshes(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes_, const ktTracedScene& scene,
                                 const std::set<ktGeometryNumber>& inside)
    : meshes(meshes_), refiner(weldShare * std::max(scene.diagonal, 1e-30f)) {
    for (const auto& mesh : meshes) {
        ktThrowIfCanceled();
        refiner.addMesh(mesh->worldPositions(), mesh->triangles());
    }
    for (const ktTracedGeometry& other : scene.geometries) {
        if (inside.count(other.number))
            continue;
        const std::vector<std::uint32_t>& corners = *other.triangles;
        const std::shared_ptr<const std::vector<float>> positions = other.worldPositions();
        const auto point = [&positions](std::uint32_t corner) {
            const float* p = &(*positions)[3 * std::size_t(corner)];
            return ktConformingRefiner::Point{p[0], p[1], p[2]};
        };
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
            if (i % cancelInterval == 0)
                ktThrowIfCanceled();
            for (std::size_t c = 0; c < 3; ++c)
                refiner.lockEdge(point(corners[i + c]), point(corners[i + (c + 1) % 3]));
        }
    }
    refiner.setVertexLimit(ktRefinement::vertexLimit);
    for (std::size_t v = 0; v < refiner.vertices().size(); ++v)
        localIndex.push_back(static_cast<Index>(v) - refiner.firstVertex(refiner.vertices()[v].mesh));
}

bool ktRefinedMeshes::canSplit(Edge edge, const ktRefinementRequest& request) const {
    const double shortest = request.minEdgeLength;
    return !refiner.isLocked(edge) && refiner.squaredLength(edge) > shortest * shortest;
}

void ktRefinedMeshes::addNewVertices() {
    for (std::size_t v = localIndex.size(); v < refiner.vertices().size(); ++v) {
        if (v % cancelInterval == 0)
            ktThrowIfCanceled();
        const ktConformingRefiner::Vertex& vertex = refiner.vertices()[v];
        localIndex.push_back(meshes[vertex.mesh]->vertexCount());
        meshes[vertex.mesh]->addVertex(
            {localIndex[vertex.parents[0]], localIndex[vertex.parents[1]], static_cast<float>(vertex.at)});
    }
}

void ktRefinedMeshes::removeUnusedVertices() {
    std::vector<std::vector<bool>> isKept(meshes.size());
    for (std::size_t m = 0; m < meshes.size(); ++m)
        isKept[m].resize(meshes[m]->vertexCount(), false);
    const auto kept = [&](std::size_t v) { return isKept[refiner.vertices()[v].mesh][localIndex[v]]; };
    for (std::size_t v = 0; v < refiner.originalVertexCount(); ++v)
        kept(v) = true;
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        for (std::size_t corner = 0; !refiner.isCollapsed(t) && corner < 3; ++corner)
            kept(refiner.triangles()[t].vertices[corner]) = true;
    ktThrowIfCanceled();
    for (std::size_t m = 0; m < meshes.size(); ++m)
        meshes[m]->keepVertices(isKept[m]);
    std::vector<Index> next(meshes.size(), 0);
    unusedCount = 0;
    for (std::size_t v = 0; v < localIndex.size(); ++v) {
        const Index mesh = refiner.vertices()[v].mesh;
        if (isKept[mesh][localIndex[v]])
            localIndex[v] = next[mesh]++;
        else
            ++unusedCount;
    }
}

std::vector<std::vector<std::uint32_t>> ktRefinedMeshes::triangles() const {
    std::vector<std::vector<std::uint32_t>> result(meshes.size());
    for (Index t = 0; t < refiner.triangles().size(); ++t) {
        if (t % cancelInterval == 0)
            ktThrowIfCanceled();
        if (!refiner.isCollapsed(t))
            for (Index v : refiner.triangles()[t].vertices)
                result[refiner.triangles()[t].mesh].push_back(localIndex[v]);
    }
    return result;
}
