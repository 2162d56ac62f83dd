// SPDX-License-Identifier: LGPL-2.1-or-later
// A refined calculation with bounces must not depend on the order of the nodes or the number of threads.
#include "ktRefinedScene.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

std::map<std::string, ktRefinedGeometry> bake(const std::vector<std::string>& order, const ktWholeSettings& settings) {
    const auto scene = ktMakeRefinedScene(order);
    std::map<std::string, std::size_t> before;
    scene->bake(settings);
    std::map<std::string, ktRefinedGeometry> baked;
    for (const std::string& name : order)
        baked[name] = ktReadRefined(*scene, name);
    return baked;
}

std::size_t vertexCount(const std::map<std::string, ktRefinedGeometry>& baked) {
    std::size_t count = 0;
    for (const auto& [name, geometry] : baked)
        count += geometry.positions.size();
    return count;
}

constexpr std::size_t verticesBefore = 9 + 9 + 8 + 20 + 20;

} // namespace

TEST(RefinedOrder, GivenShuffledNodes_GivesEqualBits) {
    std::vector<std::string> order = ktRefinedSceneParts();
    for (const int mode : {0, 2}) {
        const auto first = bake(order, ktRefinedSettings(mode));
        EXPECT_GT(vertexCount(first), 2 * verticesBefore) << "something was refined";
        std::mt19937 random(11);
        for (int round = 0; round < 3; ++round) {
            std::shuffle(order.begin(), order.end(), random);
            const auto other = bake(order, ktRefinedSettings(mode));
            for (const auto& [name, geometry] : first)
                EXPECT_TRUE(geometry == other.at(name)) << name << ", mode " << mode << ", round " << round;
        }
    }
}

TEST(RefinedOrder, GivenOneTwoOrThreeThreads_GivesEqualBits) {
    for (const int mode : {0, 2}) {
        ktWholeSettings settings = ktRefinedSettings(mode);
        settings.threads = 1;
        const auto one = bake(ktRefinedSceneParts(), settings);
        EXPECT_GT(vertexCount(one), 2 * verticesBefore);
        for (const unsigned threads : {2u, 3u}) {
            settings.threads = threads;
            EXPECT_TRUE(one == bake(ktRefinedSceneParts(), settings)) << threads << " threads, mode " << mode;
        }
    }
}

TEST(RefinedOrder, GivenBounces_RefinesBeyondTheDirectPass) {
    ktWholeSettings direct = ktRefinedSettings();
    direct.bounces = 0;
    ktWholeSettings both = ktRefinedSettings();
    both.overrideColor = true;
    both.color = osg::Color3f(0.95f, 0.95f, 0.95f);
    both.threshold = direct.threshold = 0.04f;
    EXPECT_GT(vertexCount(bake(ktRefinedSceneParts(), both)), vertexCount(bake(ktRefinedSceneParts(), direct)));
}
