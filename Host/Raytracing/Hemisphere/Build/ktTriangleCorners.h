// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"
#include "ktTriangleNumbers.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Pointers to the corners of a triangle in its mesh, three floats each.
struct ktTriangleCorners {
    const float* p[3];

    ktTriangleCorners(const ktTracerMesh& mesh, std::uint32_t triangle) {
        const std::uint32_t* index = mesh.indices + std::size_t(3) * triangle;
        for (int i = 0; i < 3; ++i)
            p[i] = mesh.positions + std::size_t(3) * index[i];
    }
    /// @param id of the triangle, over all meshes
    ktTriangleCorners(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers, std::uint32_t id)
        : ktTriangleCorners(meshes, numbers, numbers.meshOf(id), id) {}

private:
    ktTriangleCorners(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers, std::uint32_t mesh,
                      std::uint32_t id)
        : ktTriangleCorners(meshes[mesh], id - numbers.firstOf(mesh)) {}
};
