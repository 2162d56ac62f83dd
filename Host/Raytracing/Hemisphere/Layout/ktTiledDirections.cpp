// SPDX-License-Identifier: LGPL-2.1-or-later
// Divides a direction set into tiles of neighbours.
#include "ktTiledDirections.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr std::uint32_t width = ktTileBatch::tileRays;

float component(const ktDirectionSet& set, std::uint32_t ray, int axis) {
    // A choice between three arrays would do, but GCC 12 with -fsanitize=undefined reads the wrong element of it.
    const ktDirectionTile& tile = set.tiles[ray / width];
    const float* const axes[] = {tile.x, tile.y, tile.z};
    return axes[axis][ray % width];
}

// Sorts rays into tiles: median splits along the axis of largest extent, at multiples of 16 ("Multidimensional binary
// search trees used for associative searching", Jon Louis Bentley, 1975). So tiles are narrow for any sampling pattern,
// and neighbouring tiles follow each other.
void sortIntoTiles(const ktDirectionSet& set, std::uint32_t* first, std::uint32_t* last) {
    const std::uint32_t count = static_cast<std::uint32_t>(last - first);
    if (count <= width)
        return;
    int widest = 0;
    float extent = -1;
    for (int axis = 0; axis < 3; ++axis) {
        const auto less = [&](std::uint32_t a, std::uint32_t b) {
            return component(set, a, axis) < component(set, b, axis);
        };
        const auto range = std::minmax_element(first, last, less);
        const float size = component(set, *range.second, axis) - component(set, *range.first, axis);
        if (size > extent) {
            extent = size;
            widest = axis;
        }
    }
    const std::uint32_t tiles = (count + width - 1) / width;
    std::uint32_t leftTiles = 1;
    while (leftTiles * 2 < tiles)
        leftTiles *= 2;
    std::uint32_t* middle = first + std::size_t(leftTiles) * width;
    std::nth_element(first, middle, last, [&](std::uint32_t a, std::uint32_t b) {
        const float x = component(set, a, widest), y = component(set, b, widest);
        return x < y || (x == y && a < b);
    });
    sortIntoTiles(set, first, middle);
    sortIntoTiles(set, middle, last);
}

} // namespace

ktTiledDirections::ktTiledDirections(const ktDirectionSet& set_) : ktPreparedDirections(set_) {
    std::vector<std::uint32_t> order(set.count);
    std::iota(order.begin(), order.end(), 0u);
    sortIntoTiles(set, order.data(), order.data() + order.size());

    constexpr std::uint32_t batchRays = ktTileBatch::maxTiles * width;
    batches.resize((set.count + batchRays - 1) / batchRays);
    for (std::size_t b = 0; b < batches.size(); ++b) {
        ktTileBatch& batch = batches[b];
        const std::uint32_t start = static_cast<std::uint32_t>(b) * batchRays;
        const std::uint32_t rays = std::min(set.count - start, batchRays);
        batch.tileCount = (rays + width - 1) / width;
        batch.minCosine = 1;
        for (std::uint32_t tile = 0; tile < ktTileBatch::maxTiles; ++tile) {
            const std::uint32_t base = tile < batch.tileCount ? tile * width : 0;
            batch.validRays[tile] = 0;
            for (std::uint32_t lane = 0; lane < width; ++lane) {
                const std::uint32_t position = std::min(base + lane, rays - 1);
                const std::uint32_t ray = order[start + position];
                batch.sourceRay[tile][lane] = ray;
                if (tile < batch.tileCount && base + lane < rays)
                    batch.validRays[tile] = static_cast<std::uint16_t>(batch.validRays[tile] | 1u << lane);
                for (int axis = 0; axis < 3; ++axis) {
                    const float value = component(set, ray, axis);
                    batch.direction[tile][axis][lane] = value;
                    batch.transposed[tile / 16][lane][axis][tile % 16] = value;
                }
                batch.minCosine = std::min(batch.minCosine, component(set, ray, 2));
            }
        }
    }
}
