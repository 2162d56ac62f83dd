// SPDX-License-Identifier: LGPL-2.1-or-later
// Ids of triangles over all meshes.
#include "ktTriangleNumbers.h"

#include <limits>
#include <stdexcept>
#include <string>

void ktTriangleNumbers::assign(const std::vector<ktTracerMesh>& meshes) {
    clear();
    std::uint64_t total = 0;
    for (const ktTracerMesh& mesh : meshes) {
        first.push_back(static_cast<std::uint32_t>(total));
        total += mesh.triangleCount;
        if (total >= std::numeric_limits<std::uint32_t>::max())
            throw std::length_error("the scene has " + std::to_string(total) +
                                    " triangles or more; at most 4294967294 can be traced");
    }
    first.push_back(static_cast<std::uint32_t>(total));
    std::uint32_t mesh = 0;
    for (std::uint64_t id = 0; id < total; id += 1u << bucketShift) {
        while (first[mesh + 1] <= id)
            ++mesh;
        bucket.push_back(mesh);
    }
}

void ktTriangleNumbers::clear() {
    // Assigning {} would keep the memory.
    first = decltype(first)();
    bucket = decltype(bucket)();
}
