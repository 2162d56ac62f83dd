// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates smooth, angle-weighted vertex normals for meshes without normals.
#include "ktSmoothNormals.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

struct Vector {
    float x, y, z;
};

Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

float dot(const Vector& a, const Vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// False for a vector without direction, which stays unchanged.
bool normalize(Vector& v) {
    // Scaled so that its square neither underflows nor overflows.
    const float largest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    if (!(largest > 0.0f) || !std::isfinite(largest))
        return false;
    const Vector scaled = {v.x / largest, v.y / largest, v.z / largest};
    const float length = std::sqrt(dot(scaled, scaled));
    v = {scaled.x / length, scaled.y / length, scaled.z / length};
    return true;
}

std::uint64_t hashOf(const Vector& v) {
    std::uint32_t bits[3];
    std::memcpy(bits, &v, sizeof bits);
    std::uint64_t hash = 0x9E3779B97F4A7C15u;
    for (const std::uint32_t word : bits)
        hash = (hash ^ word) * 0xBF58476D1CE4E5B9u;
    return hash ^ hash >> 29;
}

bool isSamePlace(const Vector& a, const Vector& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// For each vertex, the first one at the same position. Open addressing, because there may be millions of vertices.
std::vector<std::uint32_t> firstInPlace(const Vector* positions, std::size_t count) {
    const auto none = static_cast<std::uint32_t>(count);
    std::size_t size = 16;
    while (size < 2 * count)
        size *= 2;
    std::vector<std::uint32_t> table(size, none);
    std::vector<std::uint32_t> first(count);
    for (std::size_t i = 0; i < count; ++i) {
        // Adding zero turns -0 into 0.
        const Vector place = {positions[i].x + 0.0f, positions[i].y + 0.0f, positions[i].z + 0.0f};
        std::size_t at = hashOf(place) & (size - 1);
        while (table[at] != none && !isSamePlace(positions[table[at]], place))
            at = (at + 1) & (size - 1);
        if (table[at] == none)
            table[at] = static_cast<std::uint32_t>(i);
        first[i] = table[at];
    }
    return first;
}

// Calls add(vertex, vector) for each corner of each triangle with an area.
template <class Add>
void forEachCorner(const Vector* positions, const std::vector<std::uint32_t>& triangles, const Add& add) {
    for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
        const std::uint32_t* corner = &triangles[t];
        Vector edge[3] = {positions[corner[1]] - positions[corner[0]], positions[corner[2]] - positions[corner[1]],
                          positions[corner[0]] - positions[corner[2]]};
        if (!normalize(edge[0]) || !normalize(edge[1]) || !normalize(edge[2]))
            continue;
        Vector normal = cross(edge[0], edge[1]);
        if (!normalize(normal))
            continue;
        for (int c = 0; c < 3; ++c) {
            const float angle = std::acos(std::clamp(-dot(edge[c], edge[(c + 2) % 3]), -1.0f, 1.0f));
            add(corner[c], Vector{normal.x * angle, normal.y * angle, normal.z * angle});
        }
    }
}

} // namespace

std::vector<float> ktMakeSmoothNormals(const float* positions, std::size_t count,
                                       const std::vector<std::uint32_t>& triangles) {
    std::vector<float> out(3 * count, 0.0f);
    const auto* places = reinterpret_cast<const Vector*>(positions);
    auto* normals = reinterpret_cast<Vector*>(out.data());
    const std::vector<std::uint32_t> first = firstInPlace(places, count);
    const auto addTo = [](Vector& sum, const Vector& v) { sum = {sum.x + v.x, sum.y + v.y, sum.z + v.z}; };

    forEachCorner(places, triangles, [&](std::uint32_t i, const Vector& v) { addTo(normals[first[i]], v); });
    std::vector<std::uint8_t> lost(count, 0);
    bool anyLost = false;
    for (std::size_t i = 0; i < count; ++i) {
        const bool cancelled = dot(normals[i], normals[i]) < 1e-6f;
        if (first[i] == i && (cancelled || !normalize(normals[i])))
            lost[i] = 1;
        else if (first[i] != i)
            lost[i] = lost[first[i]];
        anyLost = anyLost || lost[i];
    }
    for (std::size_t i = 0; i < count; ++i)
        normals[i] = lost[i] ? Vector{0, 0, 0} : normals[first[i]];
    if (anyLost) {
        forEachCorner(places, triangles, [&](std::uint32_t i, const Vector& v) {
            if (lost[i])
                addTo(normals[i], v);
        });
        for (std::size_t i = 0; i < count; ++i)
            if (lost[i] && !normalize(normals[i]))
                normals[i] = {0, 1, 0};
    }
    return out;
}
