// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the vertices of a mesh that are at the same position.
#include "ktVertexPlaces.h"

#include "ktMeshVector.h"

#include <cstring>

namespace {

std::uint64_t hashOf(const ktMeshVector& v) {
    std::uint32_t bits[3];
    std::memcpy(bits, &v, sizeof bits);
    std::uint64_t hash = 0x9E3779B97F4A7C15u;
    for (const std::uint32_t word : bits)
        hash = (hash ^ word) * 0xBF58476D1CE4E5B9u;
    return hash ^ hash >> 29;
}

bool isSamePlace(const ktMeshVector& a, const ktMeshVector& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

} // namespace

// Open addressing, because there may be millions of vertices.
std::vector<std::uint32_t> ktFindVertexPlaces(const float* positions, std::size_t count) {
    const auto* vertices = reinterpret_cast<const ktMeshVector*>(positions);
    const auto none = static_cast<std::uint32_t>(count);
    std::size_t size = 16;
    while (size < 2 * count)
        size *= 2;
    std::vector<std::uint32_t> table(size, none);
    std::vector<std::uint32_t> first(count);
    for (std::size_t i = 0; i < count; ++i) {
        // Adding zero turns -0 into 0.
        const ktMeshVector place = {vertices[i].x + 0.0f, vertices[i].y + 0.0f, vertices[i].z + 0.0f};
        std::size_t at = hashOf(place) & (size - 1);
        while (table[at] != none && !isSamePlace(vertices[table[at]], place))
            at = (at + 1) & (size - 1);
        if (table[at] == none)
            table[at] = static_cast<std::uint32_t>(i);
        first[i] = table[at];
    }
    return first;
}
