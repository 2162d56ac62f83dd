// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktConformingRefiner.h"
#include "ktRefinementMesh.h"
#include "ktTracedScene.h"

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

/// Meshes that are refined together: their triangles, and which vertex of which mesh each vertex of the refiner is.
/// Base of the two ways to choose what is split.
class ktRefinedMeshes {
public:
    /// Triangles of each mesh, as indices of its vertices. Leaves out triangles without area.
    std::vector<std::vector<std::uint32_t>> triangles() const;
    std::size_t newVertexCount() const {
        return refiner.vertices().size() - refiner.originalVertexCount() - unusedCount;
    }

protected:
    using Index = ktConformingRefiner::Index;
    using Edge = ktConformingRefiner::Edge;
    static constexpr std::size_t cancelInterval = 1024;

    /// @param meshes in an order that does not depend on that of the nodes; must outlive this object
    /// @param inside the geometries of the meshes; edges that other geometries share are not split
    /// @throws ktCanceled, std::exception
    ktRefinedMeshes(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes, const ktTracedScene& scene,
                    const std::set<ktGeometryNumber>& inside);
    ~ktRefinedMeshes() = default;

    bool canSplit(Edge edge, const ktRefinementRequest& request) const;
    ktRefinementMesh& meshOf(Index triangle) const { return *meshes[refiner.triangles()[triangle].mesh]; }
    /// Appends the vertices that splits have made to their meshes. @throws ktCanceled, std::bad_alloc
    void addNewVertices();
    /// Removes the new vertices that no triangle has, because a split was taken back. Call at most once, at the end.
    /// @throws ktCanceled, std::bad_alloc
    void removeUnusedVertices();

    std::vector<std::unique_ptr<ktRefinementMesh>>& meshes;
    ktConformingRefiner refiner;
    std::vector<Index> localIndex; ///< by vertex of the refiner: index in its mesh

private:
    std::size_t unusedCount = 0; ///< removed vertices
};
