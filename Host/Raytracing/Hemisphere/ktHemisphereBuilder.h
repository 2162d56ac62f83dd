// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHemisphereArray.h"
#include "ktHemisphereStructure.h"
#include "ktTracer.h"

#include <cstddef>
#include <vector>

/// Owns the tree and the triangles that rays are traced against, and knows which mesh a triangle came from.
class ktHemisphereStructure {
public:
    ktHemisphereStructure() = default;
    ktHemisphereStructure(const ktHemisphereStructure&) = delete; // holds addresses into itself
    ktHemisphereStructure& operator=(const ktHemisphereStructure&) = delete;

    /// Builds anew. Triangles with a corner that is no number or beyond 1.8e18, or with two equal corners, are left
    /// out.
    /// @return false when `progress` stopped it: the structure is then empty
    /// @throws std::exception when memory runs out, the library fails, or there are 2^32 triangles or more:
    ///         the structure is then empty
    bool build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& progress);

    /// Where every ray starts; 0 when there is nothing to meet. Valid until the next build.
    ktHemisphereRef rootRef() const { return root; }
    /// Index of the mesh that triangle `id` belongs to.
    std::uint32_t meshOf(std::uint32_t id) const;
    /// Number of the first triangle of a mesh.
    std::uint32_t firstOf(std::uint32_t mesh) const { return first[mesh]; }
    /// Bytes held, the caller's geometry not counted.
    std::size_t memory() const;
    /// Levels of nodes from the root to the deepest leaf.
    std::uint32_t depth() const { return levels; }
    std::size_t nodeCount() const { return nodes.size(); }
    std::size_t blockCount() const { return blocks.size(); }

private:
    void clear();
    bool collapse(const class ktBvhTree& tree, const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& goOn);
    /// Turns the numbers of nodes and blocks into their addresses, once both stay where they are.
    void link();
    void numberMeshes(const std::vector<ktTracerMesh>& meshes);

    static constexpr std::uint32_t bucketShift = 8;

    ktLargeArray<ktHemisphereNode> nodes;
    ktLargeArray<ktHemisphereBlock> blocks;
    ktHemisphereRef root = 0;
    std::uint32_t levels = 0;
    std::vector<std::uint32_t> first;  // number of each mesh's first triangle, and one beyond the last
    std::vector<std::uint32_t> bucket; // mesh of every 256th triangle
};
