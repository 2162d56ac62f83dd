// SPDX-License-Identifier: LGPL-2.1-or-later
// Samples of triangles stay where they are when the triangles are bisected and put together again.
#include "ktSurfaceSamples.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using Refiner = ktConformingRefiner;

Refiner::Point placeOf(const Refiner& refiner, Refiner::Index triangle, const std::array<float, 3>& weights) {
    Refiner::Point place = {0, 0, 0};
    for (std::size_t corner = 0; corner < 3; ++corner) {
        const auto& p = refiner.position(refiner.vertices()[refiner.triangles()[triangle].vertices[corner]].position);
        for (std::size_t axis = 0; axis < 3; ++axis)
            place[axis] += weights[corner] * p[axis];
    }
    return place;
}

// Expects each sample once, where it was.
void expectInPlace(const Refiner& refiner, const ktSurfaceSamples& samples, const std::vector<Refiner::Point>& places) {
    std::vector<int> seen(places.size(), 0);
    for (Refiner::Index t = 0; t < refiner.triangles().size(); ++t) {
        std::size_t count = 0;
        samples.forEach(t, [&](const ktSurfaceSample& sample) {
            ++count;
            const auto i = static_cast<std::size_t>(sample.light[0]);
            ++seen[i];
            for (const float weight : sample.weights)
                EXPECT_GE(weight, -1e-5f);
            const Refiner::Point now = placeOf(refiner, t, sample.weights);
            for (std::size_t axis = 0; axis < 3; ++axis)
                EXPECT_NEAR(now[axis], places[i][axis], 1e-4);
        });
        EXPECT_EQ(samples.countOf(t), count);
    }
    for (const int times : seen)
        EXPECT_EQ(times, 1);
}

} // namespace

TEST(SurfaceSamples, GivenManySplitsAndMerges_KeepTheirPlaceInsideTheirTriangle) {
    Refiner refiner(1e-9);
    refiner.addMesh({{0, 0, 0}, {3, 0, 0}, {3, 2, 0}, {0, 2, 0}}, {0, 1, 2, 0, 2, 3});
    ktSurfaceSamples samples;
    samples.resize(refiner.triangles().size());
    std::mt19937 random(7);
    std::uniform_real_distribution<float> uniform(0, 1);
    std::vector<Refiner::Point> places;
    for (int i = 0; i < 200; ++i) {
        ktSurfaceSample sample;
        const float root = std::sqrt(uniform(random)), share = uniform(random);
        sample.weights = {1 - root, root * (1 - share), root * share};
        sample.light[0] = static_cast<float>(i);
        samples.add(i % 2, sample);
        places.push_back(placeOf(refiner, i % 2, sample.weights));
    }
    for (int i = 0; i < 60; ++i) {
        const Refiner::Edge edge = refiner.edge(random() % refiner.triangles().size(), static_cast<int>(random() % 3));
        if (i % 4 == 0)
            refiner.cut(edge, 0.25 + 0.01 * (i % 50));
        else
            refiner.split(edge);
        samples.resize(refiner.triangles().size());
        for (const Refiner::Bisection& bisection : refiner.takeBisections())
            samples.distribute(bisection);
    }
    expectInPlace(refiner, samples, places);
    EXPECT_GT(refiner.triangles().size(), 60u);

    // And back, from the last split to the first.
    for (std::size_t split = refiner.splitCount(); split-- > 0;) {
        ASSERT_TRUE(refiner.canMerge(split));
        const Refiner::Split taken = refiner.splitAt(split);
        for (Refiner::Index i = 0; i < taken.bisectionCount; ++i)
            samples.collect(refiner.bisection(taken.firstBisection + i));
        refiner.merge(split);
    }
    expectInPlace(refiner, samples, places);
    EXPECT_EQ(samples.countOf(0), 100u);
    EXPECT_EQ(samples.countOf(1), 100u);
}
