// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Gives the triangles of all meshes of a scene ids, mesh after mesh, and finds the mesh of an id.
class ktTriangleNumbers {
public:
    /// Replaces all ids. @throws std::length_error for 2^32 triangles or more
    void assign(const std::vector<ktTracerMesh>& meshes);
    /// Removes all ids and frees the memory.
    void clear();

    /// Number of triangles of all meshes.
    std::uint32_t total() const { return first.empty() ? 0 : first.back(); }
    /// Index of the mesh of triangle `id`, which must be below total().
    std::uint32_t meshOf(std::uint32_t id) const {
        std::uint32_t mesh = bucket[id >> bucketShift];
        while (first[mesh + 1] <= id)
            ++mesh;
        return mesh;
    }
    /// Id of the first triangle of a mesh; total() for the number of meshes.
    std::uint32_t firstOf(std::uint32_t mesh) const { return first[mesh]; }
    /// Bytes in use.
    std::size_t memory() const { return (first.capacity() + bucket.capacity()) * sizeof(std::uint32_t); }

private:
    static constexpr std::uint32_t bucketShift = 8;

    std::vector<std::uint32_t> first;  // id of each mesh's first triangle, and total()
    std::vector<std::uint32_t> bucket; // mesh of every 256th triangle
};
