// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktWideBvhLayout.h"
#include "ktWideBvhWriter.h"

#include <cstddef>
#include <vector>

/// Owns the tree and the triangles that rays are traced against, and knows which mesh a triangle came from.
class ktWideBvh {
public:
    ktWideBvh() = default;
    ktWideBvh(const ktWideBvh&) = delete; // holds addresses into itself
    ktWideBvh& operator=(const ktWideBvh&) = delete;

    /// Builds anew, on all threads of the calling thread's arena; the result does not depend on their number. Triangles
    /// with a corner that is no number or beyond 1.8e18, or with two equal corners, are left out.
    /// @return false when `progress` stopped it: the structure is then empty
    /// @throws std::exception when memory runs out, the library fails, or there are 2^32 triangles or more:
    ///         the structure is then empty
    bool build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& progress,
               ktLeafKind kind = ktLeafKind::ByCount);

    /// Where every ray starts; 0 when there is nothing to meet. Valid until the next build.
    ktWideBvhRef rootRef() const { return arrays.root; }
    /// Index of the mesh that triangle `id` belongs to.
    std::uint32_t meshOf(std::uint32_t id) const { return numbers.meshOf(id); }
    /// Number of the first triangle of a mesh.
    std::uint32_t firstOf(std::uint32_t mesh) const { return numbers.firstOf(mesh); }
    /// Bytes held, the caller's geometry not counted.
    std::size_t memory() const;
    /// Levels of nodes from the root to the deepest leaf.
    std::uint32_t depth() const { return arrays.levels; }
    std::size_t nodeCount() const { return arrays.nodes.size(); }
    /// Cache lines of leaves.
    std::size_t cacheLineCount() const { return arrays.cacheLines.size(); }

private:
    bool buildBinary(ktBinaryBvh& binary, const std::vector<ktTracerMesh>& meshes, ktBuildProgress& progress) const;
    void clear();

    ktWideBvhArrays arrays;
    ktTriangleNumbers numbers;
};
