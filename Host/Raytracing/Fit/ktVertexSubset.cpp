// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies some vertices of a task, with their surroundings.
#include "ktVertexSubset.h"

#include "ktCancelPoint.h"

namespace {

constexpr std::size_t grain = 16384;

} // namespace

void ktVertexSubset::add(const ktVertexTask& task, std::uint32_t vertex) {
    const std::size_t at = 3 * std::size_t(vertex);
    vertices.push_back(vertex);
    positions.insert(positions.end(), task.positions + at, task.positions + at + 3);
    normals.insert(normals.end(), task.normals + at, task.normals + at + 3);
}

ktVertexSubset ktVertexSubset::ofFineUnknowns(const ktVertexTask& task, const ktFitMesh& mesh) {
    ktVertexSubset subset;
    for (std::size_t i = 0; i < mesh.fine.size(); ++i) {
        if (i % grain == 0)
            ktThrowIfCanceled();
        subset.add(task, mesh.fine[i].vertex);
    }
    if (!task.oneRings)
        return subset;
    // The vertices of an unknown share its surroundings.
    subset.oneRings.resize(mesh.fine.size());
    for (std::uint32_t vertex = 0; vertex < task.count; ++vertex) {
        const std::uint32_t unknown = mesh.unknownOf[vertex];
        if (unknown != ktFitMesh::none && mesh.fineOf[unknown] != ktFitMesh::none)
            subset.oneRings[mesh.fineOf[unknown]].add(task.oneRings[vertex]);
    }
    return subset;
}

ktVertexSubset ktVertexSubset::withoutFace(const ktVertexTask& task, const ktFitMesh& mesh) {
    ktVertexSubset subset;
    for (std::uint32_t vertex = 0; vertex < task.count; ++vertex)
        if (mesh.unknownOf[vertex] == ktFitMesh::none)
            subset.add(task, vertex);
    return subset;
}
