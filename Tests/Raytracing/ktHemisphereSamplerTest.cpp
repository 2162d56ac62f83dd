// SPDX-License-Identifier: LGPL-2.1-or-later
// The direction sets of the hemisphere: strata, cosine distribution, tiles.
#include "ktHemisphereSampler.h"
#include "ktHemisphereMap.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>

namespace {

struct Sample {
    float direction[3];
    double u, v;
};

std::vector<Sample> samplesOf(const ktDirectionSet& set) {
    std::vector<Sample> samples;
    for (std::uint32_t i = 0; i < set.count; ++i) {
        const ktDirectionTile& tile = set.tiles[i / ktDirectionTile::width];
        const std::uint32_t lane = i % ktDirectionTile::width;
        Sample sample{{tile.x[lane], tile.y[lane], tile.z[lane]}, 0, 0};
        ktHemisphereMap::toSquare(sample.direction, sample.u, sample.v);
        samples.push_back(sample);
    }
    return samples;
}

bool isSame(const ktDirectionSet& a, const ktDirectionSet& b) {
    return a.count == b.count && a.tiles.size() == b.tiles.size() &&
           std::memcmp(a.tiles.data(), b.tiles.data(), a.tiles.size() * sizeof(ktDirectionTile)) == 0;
}

} // namespace

TEST(HemisphereMap, GivenSquarePoint_IsRecoveredFromItsDirection) {
    for (int row = 0; row < 100; ++row) {
        for (int column = 0; column < 100; ++column) {
            const double u = 0.005 + 0.01 * row, v = 0.005 + 0.01 * column;
            float direction[3];
            ktHemisphereMap::toDirection(u, v, direction);
            const double length =
                std::hypot(std::hypot(double(direction[0]), double(direction[1])), double(direction[2]));
            EXPECT_NEAR(length, 1.0, 1e-6);
            EXPECT_GE(direction[2], 0.0f);
            double backU = 0, backV = 0;
            ktHemisphereMap::toSquare(direction, backU, backV);
            EXPECT_NEAR(backU, u, 1e-6);
            EXPECT_NEAR(backV, v, 1e-6);
        }
    }
}

TEST(HemisphereSampler, GivenCounts_PutsOneSampleInEachStratum) {
    for (const auto& [countU, countV] : {std::pair{8u, 8u}, {16u, 16u}, {24u, 24u}, {5u, 7u}, {1u, 1u}, {3u, 64u}}) {
        const auto samples = samplesOf(ktMakeHemisphereDirections(countU, countV, 0.25f, 0.25f, 1));
        ASSERT_EQ(samples.size(), countU * countV);
        std::set<std::pair<int, int>> strata;
        for (const Sample& sample : samples)
            strata.insert({int(sample.u * countU), int(sample.v * countV)});
        EXPECT_EQ(strata.size(), countU * countV) << countU << " x " << countV;
    }
}

TEST(HemisphereSampler, GivenCounts_PutsOneSampleInEachFineColumnAndRow) {
    const std::uint32_t count = 12;
    const auto samples = samplesOf(ktMakeHemisphereDirections(count, count, 0.25f, 0.25f, 7));
    std::set<int> columns, rows;
    for (const Sample& sample : samples) {
        columns.insert(int(sample.u * count * count));
        rows.insert(int(sample.v * count * count));
    }
    // Rounding to float moves a few samples across the edge of a fine cell.
    EXPECT_GE(columns.size(), count * count - 2);
    EXPECT_GE(rows.size(), count * count - 2);
}

TEST(HemisphereSampler, GivenSeeds_FollowsTheCosine) {
    // Chi-square test over cells of equal cosine-weighted solid angle that do not coincide with the strata. It takes
    // one sample of each set, so that the counts are independent. 5 * 7 - 1 degrees of freedom, significance 0.001.
    const int cellsU = 5, cellsV = 7, draws = 7000;
    int counts[cellsU * cellsV] = {};
    for (int seed = 0; seed < draws; ++seed) {
        const auto samples = samplesOf(ktMakeHemisphereDirections(4, 4, 1.0f, 1.0f, static_cast<std::uint64_t>(seed)));
        const Sample& sample = samples[static_cast<std::size_t>(seed) % samples.size()];
        ++counts[std::min(cellsU - 1, int(sample.u * cellsU)) * cellsV + std::min(cellsV - 1, int(sample.v * cellsV))];
    }
    const double expected = double(draws) / (cellsU * cellsV);
    double chiSquare = 0;
    for (int count : counts)
        chiSquare += (count - expected) * (count - expected) / expected;
    EXPECT_LT(chiSquare, 65.2);
}

TEST(HemisphereSampler, GivenManySamples_AveragesLikeTheCosine) {
    double sum = 0, sumX = 0;
    const auto samples = samplesOf(ktMakeHemisphereDirections(64, 64, 0.25f, 0.25f, 3));
    for (const Sample& sample : samples) {
        sum += sample.direction[2];
        sumX += sample.direction[0];
    }
    EXPECT_NEAR(sum / double(samples.size()), 2.0 / 3.0, 1e-4);
    EXPECT_NEAR(sumX / double(samples.size()), 0.0, 1e-3);
}

TEST(HemisphereSampler, GivenSameSeed_GivesSameBits) {
    const ktDirectionSet set = ktMakeHemisphereDirections(32, 32, 0.25f, 0.25f, 42);
    EXPECT_TRUE(isSame(set, ktMakeHemisphereDirections(32, 32, 0.25f, 0.25f, 42)));
    EXPECT_FALSE(isSame(set, ktMakeHemisphereDirections(32, 32, 0.25f, 0.25f, 43)));
}

TEST(HemisphereSampler, GivenNoJitter_StaysInCellCentres) {
    const auto samples = samplesOf(ktMakeHemisphereDirections(4, 4, 0.0f, 0.0f, 5));
    for (const Sample& sample : samples) {
        const double cell = sample.u * 16;
        EXPECT_NEAR(cell - std::floor(cell), 0.5, 1e-4);
    }
    EXPECT_TRUE(isSame(ktMakeHemisphereDirections(4, 4, std::numeric_limits<float>::quiet_NaN(), -1.0f, 5),
                       ktMakeHemisphereDirections(4, 4, 0.0f, 0.0f, 5)));
}

TEST(HemisphereSampler, GivenUnevenCount_RepeatsLastDirectionInLeftoverLanes) {
    const ktDirectionSet set = ktMakeHemisphereDirections(5, 7, 0.25f, 0.25f, 1);
    ASSERT_EQ(set.tileCount(), 3u);
    EXPECT_EQ(set.wordCount(), 1u);
    EXPECT_EQ(set.laneMask(0), 0xFFFFu);
    EXPECT_EQ(set.laneMask(2), 0x7u);
    for (std::uint32_t lane = 3; lane < ktDirectionTile::width; ++lane)
        EXPECT_EQ(set.tiles[2].x[lane], set.tiles[2].x[2]);
}

TEST(HemisphereSampler, GivenTiles_KeepsNeighboursTogether) {
    const ktDirectionSet set = ktMakeHemisphereDirections(32, 32, 0.25f, 0.25f, 1);
    for (const ktDirectionTile& tile : set.tiles) {
        float lowU = 2, highU = -1;
        for (std::uint32_t lane = 0; lane < ktDirectionTile::width; ++lane) {
            const float u = tile.x[lane] * tile.x[lane] + tile.y[lane] * tile.y[lane];
            lowU = std::min(lowU, u);
            highU = std::max(highU, u);
        }
        EXPECT_LE(highU - lowU, 0.25f + 1e-5f);
    }
}
