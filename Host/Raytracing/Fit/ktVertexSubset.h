// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitMesh.h"
#include "ktVertexTask.h"

#include <cstdint>
#include <vector>

/// Some vertices of a task, copied so that a pass can trace them alone.
class ktVertexSubset {
public:
    /// One vertex for each fine unknown, in the order of ktFitMesh::fine.
    static ktVertexSubset ofFineUnknowns(const ktVertexTask& task, const ktFitMesh& mesh);
    /// The vertices that no face of the mesh has.
    static ktVertexSubset withoutFace(const ktVertexTask& task, const ktFitMesh& mesh);

    std::size_t size() const { return vertices.size(); }
    /// Replaces the vertices of a task. This object must outlive it.
    void apply(ktVertexTask& task) const {
        task.setVertices(task.toWorld, static_cast<std::uint32_t>(vertices.size()), positions.data(), normals.data(),
                         oneRings.empty() ? nullptr : oneRings.data());
    }

    std::vector<std::uint32_t> vertices; ///< of the task that they were copied from

private:
    void add(const ktVertexTask& task, std::uint32_t vertex);

    std::vector<float> positions, normals;
    std::vector<ktOneRing> oneRings;
};
