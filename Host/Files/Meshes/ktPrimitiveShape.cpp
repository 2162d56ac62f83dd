// SPDX-License-Identifier: LGPL-2.1-or-later
// Turns strips, fans and loops into lists, removes unusable elements, and packs the vertices in use.
#include "ktPrimitiveShape.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

const std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

std::size_t cornersOf(int mode) {
    return mode == 0 ? 1 : mode <= 3 ? 2 : 3;
}

bool isList(int mode) {
    return mode == 0 || mode == 1 || mode == 4;
}

// Converts strips, fans and loops to a list: each primitive has its own entries (one, two or three vertices).
std::vector<std::uint32_t> listOf(int mode, const std::vector<std::uint32_t>& v) {
    const std::size_t n = v.size();
    std::vector<std::uint32_t> list;
    switch (mode) {
    case 2:
    case 3:
        for (std::size_t i = 0; i + 1 < n; ++i)
            list.insert(list.end(), {v[i], v[i + 1]});
        if (mode == 2 && n > 1)
            list.insert(list.end(), {v[n - 1], v[0]});
        return list;
    case 5:
        for (std::size_t i = 0; i + 2 < n; ++i)
            list.insert(list.end(), {v[i], v[i + 1 + i % 2], v[i + 2 - i % 2]});
        return list;
    case 6:
        for (std::size_t i = 1; i + 1 < n; ++i)
            list.insert(list.end(), {v[0], v[i], v[i + 1]});
        return list;
    default:
        return v;
    }
}

std::vector<std::uint32_t> sequence(std::size_t count) {
    std::vector<std::uint32_t> all(count);
    std::iota(all.begin(), all.end(), 0u);
    return all;
}

// Removes the primitives with a vertex that `isBad`; the rest becomes a list. Returns how many were removed.
template <class Predicate>
std::size_t leaveOut(ktPrimitiveShape& shape, const Predicate& isBad) {
    const std::vector<std::uint32_t> list = listOf(shape.mode, shape.indices);
    const std::size_t corners = cornersOf(shape.mode);
    shape.mode = shape.mode == 0 ? 0 : shape.mode <= 3 ? 1 : 4;
    shape.indices.clear();
    std::size_t bad = 0;
    for (std::size_t i = 0; i + corners <= list.size(); i += corners) {
        const auto first = list.begin() + static_cast<std::ptrdiff_t>(i);
        const auto last = first + static_cast<std::ptrdiff_t>(corners);
        if (std::any_of(first, last, isBad))
            ++bad;
        else
            shape.indices.insert(shape.indices.end(), first, last);
    }
    return bad;
}

// Vertices at the end of a list that do not form a whole primitive. In a strip or fan: all, if there are too few.
std::size_t incompleteCount(int mode, std::size_t count) {
    const std::size_t corners = cornersOf(mode);
    if (isList(mode))
        return count % corners;
    return count < corners ? count : 0;
}

bool isFinite(const float* position) {
    return std::isfinite(position[0]) && std::isfinite(position[1]) && std::isfinite(position[2]);
}

} // namespace

ktPrimitiveShape ktVertexPacker::pack(int mode, std::vector<std::uint32_t>* indices, const ktGltfAccessor& positions) {
    ktPrimitiveShape shape;
    shape.mode = mode;
    const std::size_t count = positions.count();
    if (indices) {
        shape.indices.swap(*indices);
        const auto isOut = [count](std::uint32_t i) { return i >= count; };
        if (std::any_of(shape.indices.begin(), shape.indices.end(), isOut))
            shape.badIndices = leaveOut(shape, isOut);
        shape.incomplete = incompleteCount(shape.mode, shape.indices.size());
        shape.indices.resize(shape.indices.size() - shape.incomplete);
        if (shape.indices.empty())
            return shape;
        packUsed(shape, positions);
    } else {
        shape.incomplete = incompleteCount(mode, count);
        if (shape.incomplete == count)
            return shape;
        shape.positions.resize(3 * count);
        positions.readFloats(nullptr, count, 3, 0.0f, shape.positions.data());
        if (shape.incomplete) {
            shape.indices = sequence(count - shape.incomplete);
            packUsed(shape, positions);
        }
    }
    const auto isBad = [&](std::uint32_t i) { return !isFinite(&shape.positions[3 * std::size_t(i)]); };
    bool anyBad = false;
    for (std::size_t i = 0; i < shape.vertexCount() && !anyBad; ++i)
        anyBad = isBad(static_cast<std::uint32_t>(i));
    if (!anyBad)
        return shape;

    if (shape.indices.empty())
        shape.indices = sequence(shape.vertexCount());
    shape.badPositions = leaveOut(shape, isBad);
    // Back to source vertices, because the remaining primitives are packed again.
    if (!shape.source.empty())
        for (std::uint32_t& index : shape.indices)
            index = shape.source[index];
    shape.source.clear();
    shape.positions.clear();
    if (!shape.indices.empty())
        packUsed(shape, positions);
    return shape;
}

void ktVertexPacker::packUsed(ktPrimitiveShape& shape, const ktGltfAccessor& positions) {
    const std::size_t count = positions.count();
    if (places.size() < count)
        places.resize(count, none);
    shape.source.clear();
    for (const std::uint32_t index : shape.indices)
        if (places[index] == none) {
            places[index] = 0;
            shape.source.push_back(index);
        }
    std::sort(shape.source.begin(), shape.source.end());
    for (std::size_t i = 0; i < shape.source.size(); ++i)
        places[shape.source[i]] = static_cast<std::uint32_t>(i);
    for (std::uint32_t& index : shape.indices)
        index = places[index];
    for (const std::uint32_t index : shape.source)
        places[index] = none;

    shape.positions.resize(3 * shape.source.size());
    if (shape.source.size() == count)
        shape.source.clear();
    positions.readFloats(shape.sourceOrNull(), shape.vertexCount(), 3, 0.0f, shape.positions.data());
}

std::vector<std::uint32_t> ktTriangulate(const ktPrimitiveShape& shape) {
    if (shape.mode < 4)
        return {};
    return listOf(shape.mode, shape.indices.empty() ? sequence(shape.vertexCount()) : shape.indices);
}

std::size_t ktCountDegenerate(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles) {
    std::size_t count = 0;
    for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
        double edge[2][3];
        const float* a = &positions[3 * std::size_t(triangles[t])];
        for (int e = 0; e < 2; ++e)
            for (int c = 0; c < 3; ++c)
                edge[e][c] = double(positions[3 * std::size_t(triangles[t + 1 + e]) + c]) - a[c];
        const double x = edge[0][1] * edge[1][2] - edge[0][2] * edge[1][1];
        const double y = edge[0][2] * edge[1][0] - edge[0][0] * edge[1][2];
        const double z = edge[0][0] * edge[1][1] - edge[0][1] * edge[1][0];
        count += x == 0.0 && y == 0.0 && z == 0.0;
    }
    return count;
}
