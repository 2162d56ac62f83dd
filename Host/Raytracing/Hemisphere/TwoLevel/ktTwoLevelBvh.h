// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBvhHead.h"
#include "ktLargeArray.h"
#include "ktLeafWriter.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktTwoLevelLayout.h"

#include <cstddef>
#include <vector>

/// A BVH of two levels: one tree for each part, in object space, and above them one tree over the instances of the
/// parts and the triangles of all other meshes, in world space. Rays find the same hits as in a ktWideBvh of the same
/// meshes, written out in world space.
class ktTwoLevelBvh {
public:
    ktTwoLevelBvh() = default;
    ktTwoLevelBvh(const ktTwoLevelBvh&) = delete; // the view has addresses
    ktTwoLevelBvh& operator=(const ktTwoLevelBvh&) = delete;

    /// Builds a new BVH, as ktWideBvh::build() does. Instances of a part have the same positions and indices.
    /// @throws std::length_error also for more than ktTwoLevelLayout::maxInstances instances
    bool build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& progress, ktLeafKind kind);
    /// Removes everything and frees the memory.
    void clear();

    /// @name Copying a BVH, as ktWideBvh does.
    /// @{
    ktBvhHead head() const;
    std::vector<ktStructureImage::Part> parts();
    void beginCopy(const std::vector<ktTracerMesh>& meshes, const ktBvhHead& original);
    void endCopy(const ktBvhHead& original);
    /// @}

    /// For the kernels; valid until the next build().
    ktBvhView view() const;
    const ktTriangleNumbers& triangleNumbers() const { return numbers; }
    /// Bytes in use, without the caller's meshes.
    std::size_t memory() const;
    /// Bytes of all nodes and leaves.
    std::size_t nodeMemory() const { return lines.size() * sizeof(ktCacheLine); }
    /// Levels of nodes from the root to the deepest leaf.
    std::uint32_t depth() const { return levels; }
    /// Number of parts with instances.
    std::size_t partCount() const { return countOfParts; }

private:
    class Builder;

    ktTriangleNumbers numbers;       // of all meshes
    ktLargeArray<ktCacheLine> lines; // all nodes and leaves
    std::vector<ktBvhInstance> instances;
    ktWideBvhRef root = 0;
    std::uint32_t levels = 0;
    std::size_t countOfParts = 0;
};
