// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Numbers the triangles of all meshes of a scene, mesh after mesh, and knows which mesh a number is of.
class ktTriangleNumbers {
public:
    /// Numbers anew. @throws std::length_error for 2^32 triangles or more
    void assign(const std::vector<ktTracerMesh>& meshes);
    /// Forgets all and frees the memory.
    void clear();

    /// Triangles of all meshes.
    std::uint32_t total() const { return first.empty() ? 0 : first.back(); }
    /// Index of the mesh that triangle `id` (below total()) is of.
    std::uint32_t meshOf(std::uint32_t id) const {
        std::uint32_t mesh = bucket[id >> bucketShift];
        while (first[mesh + 1] <= id)
            ++mesh;
        return mesh;
    }
    /// Number of the first triangle of a mesh; for the number of meshes: total().
    std::uint32_t firstOf(std::uint32_t mesh) const { return first[mesh]; }
    /// Bytes held.
    std::size_t memory() const { return (first.capacity() + bucket.capacity()) * sizeof(std::uint32_t); }

private:
    static constexpr std::uint32_t bucketShift = 8;

    std::vector<std::uint32_t> first;  // number of each mesh's first triangle, and one beyond the last
    std::vector<std::uint32_t> bucket; // mesh of every 256th triangle
};
