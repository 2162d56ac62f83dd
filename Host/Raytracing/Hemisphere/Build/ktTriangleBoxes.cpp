// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects the boxes of usable triangles in chunks, then joins the chunks.
#include "ktTriangleBoxes.h"

#include "ktParallel.h"
#include "ktTriangleCorners.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace {

// Beyond this, products of coordinates overflow.
constexpr float maxCoordinate = 1.844e18f;

constexpr std::size_t chunkSize = 16384; // triangles per chunk

struct Chunk {
    std::size_t usable = 0;
    double sum = 0, squareSum = 0;
};

bool isEqual(const float* a, const float* b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

bool isUsable(const ktTracerMesh& mesh, std::uint32_t triangle) {
    const std::uint32_t* index = mesh.indices + std::size_t(3) * triangle;
    if (std::max({index[0], index[1], index[2]}) >= mesh.vertexCount)
        return false;
    const ktTriangleCorners corner(mesh, triangle);
    for (const float* p : corner.p)
        for (int axis = 0; axis < 3; ++axis)
            if (!(std::fabs(p[axis]) < maxCoordinate))
                return false;
    // Without area it is never hit.
    return !isEqual(corner.p[0], corner.p[1]) && !isEqual(corner.p[1], corner.p[2]) &&
           !isEqual(corner.p[2], corner.p[0]);
}

ktBvhPrimitive boxOf(const ktTriangleCorners& corner, std::uint32_t id) {
    ktBvhPrimitive box;
    for (int axis = 0; axis < 3; ++axis) {
        const auto range = std::minmax({corner.p[0][axis], corner.p[1][axis], corner.p[2][axis]});
        box.lower[axis] = range.first;
        box.upper[axis] = range.second;
    }
    box.group = 0;
    box.id = id;
    return box;
}

float longestSide(const ktBvhPrimitive& box) {
    return std::max({box.upper[0] - box.lower[0], box.upper[1] - box.lower[1], box.upper[2] - box.lower[2]});
}

Chunk collect(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers, std::uint32_t first,
              std::uint32_t last, ktBvhPrimitive* boxes) {
    Chunk chunk;
    std::uint32_t m = numbers.meshOf(first);
    for (std::uint32_t id = first; id < last; ++id) {
        while (numbers.firstOf(m + 1) <= id)
            ++m;
        const std::uint32_t triangle = id - numbers.firstOf(m);
        if (!isUsable(meshes[m], triangle))
            continue;
        const ktBvhPrimitive box = boxOf(ktTriangleCorners(meshes[m], triangle), id);
        const double size = longestSide(box);
        chunk.sum += size;
        chunk.squareSum += size * size;
        boxes[chunk.usable++] = box;
    }
    return chunk;
}

} // namespace

ktTriangleBoxes ktCollectTriangleBoxes(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers,
                                       double spareShare, ktBuildProgress& progress, float endShare) {
    ktTriangleBoxes primitives;
    ktBvhPrimitives& boxes = primitives.boxes;
    const std::size_t total = numbers.total();
    boxes.reserve(total + static_cast<std::size_t>(spareShare * static_cast<double>(total)));
    boxes.resize(total);

    // Each chunk of triangles fills the start of its chunk of boxes.
    std::vector<Chunk> chunks((total + chunkSize - 1) / chunkSize);
    std::atomic<std::size_t> done{0};
    ktParallel::forEach(chunks.size(), [&](std::size_t i) {
        if (!progress.goOn(endShare * static_cast<float>(done++) / static_cast<float>(chunks.size())))
            return;
        const std::size_t first = i * chunkSize, last = std::min(first + chunkSize, total);
        chunks[i] = collect(meshes, numbers, static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last),
                            boxes.data() + first);
    });

    std::size_t size = 0;
    double sum = 0, squareSum = 0;
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        const auto begin = boxes.begin() + static_cast<std::ptrdiff_t>(i * chunkSize);
        if (size < i * chunkSize)
            std::copy(begin, begin + static_cast<std::ptrdiff_t>(chunks[i].usable),
                      boxes.begin() + static_cast<std::ptrdiff_t>(size));
        size += chunks[i].usable;
        sum += chunks[i].sum;
        squareSum += chunks[i].squareSum;
    }
    boxes.resize(size);
    if (sum > 0)
        primitives.sizeSpread = squareSum * static_cast<double>(size) / (sum * sum);
    return primitives;
}
