// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates smooth, angle-weighted vertex normals, which replace broken ones.
#include "ktSmoothNormals.h"

#include "ktMeshVector.h"
#include "ktVertexPlaces.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = ktMeshVector;

// Calls add(vertex, vector) for each corner of each triangle with an area.
template <class Add>
void forEachCorner(const Vector* positions, const std::vector<std::uint32_t>& triangles, const Add& add) {
    for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
        const std::uint32_t* corner = &triangles[t];
        Vector edge[3] = {positions[corner[1]] - positions[corner[0]], positions[corner[2]] - positions[corner[1]],
                          positions[corner[0]] - positions[corner[2]]};
        if (!ktNormalize(edge[0]) || !ktNormalize(edge[1]) || !ktNormalize(edge[2]))
            continue;
        Vector normal = ktCross(edge[0], edge[1]);
        if (!ktNormalize(normal))
            continue;
        for (int c = 0; c < 3; ++c) {
            const float angle = std::acos(std::clamp(-ktDot(edge[c], edge[(c + 2) % 3]), -1.0f, 1.0f));
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
    const std::vector<std::uint32_t> first = ktFindVertexPlaces(positions, count);

    forEachCorner(places, triangles, [&](std::uint32_t i, const Vector& v) { normals[first[i]] += v; });
    std::vector<std::uint8_t> lost(count, 0);
    bool anyLost = false;
    for (std::size_t i = 0; i < count; ++i) {
        const bool cancelled = ktDot(normals[i], normals[i]) < 1e-6f;
        if (first[i] == i && (cancelled || !ktNormalize(normals[i])))
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
                normals[i] += v;
        });
        for (std::size_t i = 0; i < count; ++i)
            if (lost[i] && !ktNormalize(normals[i]))
                normals[i] = {0, 1, 0};
    }
    return out;
}
