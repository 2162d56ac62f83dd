// SPDX-License-Identifier: LGPL-2.1-or-later
// Generates cosine-weighted hemisphere directions by correlated multi-jittered sampling.
#include "ktHemisphereSampler.h"

#include "ktHemisphereMap.h"
#include "ktRandom.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr std::uint32_t tileRings = 8; // on most of the sphere, eight rings by two sectors are about a square

std::vector<std::uint32_t> shuffled(std::uint32_t count, ktRandom& random) {
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0u);
    for (std::uint32_t i = count; i > 1; --i)
        std::swap(order[i - 1], order[random.nextBelow(i)]);
    return order;
}

// How far a sample moves, as a fraction of its fine cell. A stratum has `cells` fine cells along this axis.
double moveInCell(float jitter, std::uint32_t cells) {
    return jitter > 0.0f ? std::min(1.0, static_cast<double>(std::min(jitter, 1.0f)) * cells) : 0.0;
}

} // namespace

ktDirectionSet ktMakeHemisphereDirections(std::uint32_t countU, std::uint32_t countV, float jitterU, float jitterV,
                                          std::uint64_t seed) {
    ktRandom random(seed);
    // The fine column of a stratum depends only on its row, the fine row only on its column. So the samples are even in
    // both projections and in the square.
    const std::vector<std::uint32_t> fineU = shuffled(countV, random);
    const std::vector<std::uint32_t> fineV = shuffled(countU, random);
    const double moveU = moveInCell(jitterU, countV), moveV = moveInCell(jitterV, countU);

    ktDirectionSet set;
    set.count = countU * countV;
    set.tiles.resize((set.count + ktDirectionTile::width - 1) / ktDirectionTile::width);
    std::uint32_t index = 0;
    const auto append = [&](std::uint32_t ring, std::uint32_t sector) {
        const double u = (fineU[sector] + 0.5 + moveU * (random.nextUniform() - 0.5)) / countV;
        const double v = (fineV[ring] + 0.5 + moveV * (random.nextUniform() - 0.5)) / countU;
        float direction[3];
        ktHemisphereMap::toDirection((ring + u) / countU, (sector + v) / countV, direction);
        ktDirectionTile& tile = set.tiles[index / ktDirectionTile::width];
        // The last direction also fills the rest of its tile.
        for (std::uint32_t lane = index % ktDirectionTile::width; lane < ktDirectionTile::width; ++lane) {
            tile.x[lane] = direction[0];
            tile.y[lane] = direction[1];
            tile.z[lane] = direction[2];
        }
        ++index;
    };
    for (std::uint32_t firstRing = 0; firstRing < countU; firstRing += tileRings) {
        const std::uint32_t endRing = std::min(firstRing + tileRings, countU);
        for (std::uint32_t sector = 0; sector < countV; ++sector)
            for (std::uint32_t ring = firstRing; ring < endRing; ++ring)
                append(ring, sector);
    }
    return set;
}
