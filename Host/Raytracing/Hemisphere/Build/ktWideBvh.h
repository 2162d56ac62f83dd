// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBuildProgress.h"
#include "ktBvhHead.h"
#include "ktLeafWriter.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktWideBvhLayout.h"
#include "ktWideBvhWriter.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Builds a wide BVH over the triangles of meshes, on all threads of the calling thread's arena; the result does not
/// depend on their number. Ignores triangles with two equal corners, or with a coordinate that is NaN or beyond 1.8e18.
/// @param leafWriter for the same meshes and numbers
/// @param maxLevels  at least 31; if the tree gets deeper, the triangles are split at the median
/// @return empty if `progress` stopped it, or if there are no usable triangles
/// @throws std::exception if memory runs out or Embree fails
ktWideBvhArrays ktBuildTriangleBvh(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers,
                                   const ktLeafWriter& leafWriter, ktBuildProgress& progress,
                                   std::uint32_t maxLevels = ktWideBvhLayout::maxDepth);

/// The wide BVH that rays are traced against: builds and owns nodes and leaves, and finds the mesh of a triangle.
class ktWideBvh {
public:
    ktWideBvh() = default;
    ktWideBvh(const ktWideBvh&) = delete; // nodes hold addresses of nodes
    ktWideBvh& operator=(const ktWideBvh&) = delete;

    /// Builds a new tree, as ktBuildTriangleBvh() does.
    /// @return false if `progress` stopped it; the tree is then empty
    /// @throws std::exception if memory runs out, Embree fails, or there are 2^32 triangles or more; the tree is then
    ///         empty
    bool build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& progress,
               ktLeafKind kind = ktLeafKind::ByCount);

    /// Removes everything and frees the memory.
    void clear();

    /// @name Copying a tree, as ktTracer::beginCopy() says.
    /// @{
    ktBvhHead head() const;
    /// The memory of the two arrays.
    std::vector<ktStructureImage::Part> parts();
    void beginCopy(const std::vector<ktTracerMesh>& meshes, const ktBvhHead& original);
    void endCopy(const ktBvhHead& original);
    /// @}

    /// The root, where all rays start; 0 if there are no triangles. Valid until the next build.
    ktWideBvhRef rootRef() const { return arrays.root; }
    const ktTriangleNumbers& triangleNumbers() const { return numbers; }
    /// Bytes in use, without the caller's meshes.
    std::size_t memory() const;
    /// Levels of nodes from the root to the deepest leaf.
    std::uint32_t depth() const { return arrays.levels; }
    std::size_t nodeCount() const { return arrays.nodes.size(); }
    /// Cache lines of all leaves.
    std::size_t cacheLineCount() const { return arrays.cacheLines.size(); }

private:
    ktWideBvhArrays arrays;
    ktTriangleNumbers numbers;
};
