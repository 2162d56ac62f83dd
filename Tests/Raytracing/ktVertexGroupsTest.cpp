// SPDX-License-Identifier: LGPL-2.1-or-later
// Groups of equal vertices, sorted so that neighbours in space are traced together.
#include "ktVertexGroups.h"
#include "ktCancelPoint.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using testing::ElementsAre;

namespace {

struct Vertices {
    std::vector<float> positions, normals;

    void add(float x, float y, float z, float nx = 0, float ny = 0, float nz = 1) {
        positions.insert(positions.end(), {x, y, z});
        normals.insert(normals.end(), {nx, ny, nz});
    }
    ktVertexGroups group() const {
        return ktGroupVertices(positions.data(), normals.data(), static_cast<std::uint32_t>(positions.size() / 3));
    }
};

} // namespace

TEST(VertexGroups, GivenEqualPositionAndNormal_MakesOneGroup) {
    Vertices vertices;
    vertices.add(1, 2, 3);
    vertices.add(1, 2, 3, 0, 1, 0);
    vertices.add(1, 2, 3);
    vertices.add(0, 0, 0);
    vertices.add(-0.0f, 0, 0, -0.0f, 0, 1);
    vertices.add(std::nextafter(1.0f, 2.0f), 2, 3);
    const ktVertexGroups groups = vertices.group();
    EXPECT_EQ(groups.size(), 4u);
    std::vector<std::vector<std::uint32_t>> members;
    for (std::size_t i = 0; i < groups.size(); ++i)
        members.emplace_back(groups.order.begin() + groups.starts[i], groups.order.begin() + groups.starts[i + 1]);
    EXPECT_THAT(members,
                testing::UnorderedElementsAre(ElementsAre(0, 2), ElementsAre(1), ElementsAre(3, 4), ElementsAre(5)));
    EXPECT_TRUE(groups.unusable.empty());
}

TEST(VertexGroups, GivenManyVertices_KeepsNeighboursTogether) {
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> place(0, 1);
    Vertices vertices;
    for (int i = 0; i < 64 * 64; ++i)
        vertices.add(place(generator), place(generator), place(generator));
    const ktVertexGroups groups = vertices.group();
    ASSERT_EQ(groups.size(), 64u * 64u);
    std::vector<std::uint32_t> sorted = groups.order;
    std::sort(sorted.begin(), sorted.end());
    for (std::uint32_t i = 0; i < sorted.size(); ++i)
        ASSERT_EQ(sorted[i], i);
    // 64 vertices fill a cube of a quarter of the side, or two cubes that touch. In random order the span is 0.97.
    double spans = 0;
    for (std::size_t piece = 0; piece < 64; ++piece) {
        float low = 2, high = -1;
        for (std::size_t i = 64 * piece; i < 64 * (piece + 1); ++i) {
            const float x = vertices.positions[3 * groups.first(i)];
            low = std::min(low, x);
            high = std::max(high, x);
        }
        spans += high - low;
    }
    EXPECT_LT(spans / 64, 0.6);
}

TEST(VertexGroups, GivenBadVertices_ListsThemAsUnusable) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    Vertices vertices;
    vertices.add(nan, 0, 0);
    vertices.add(0, 0, 0);
    vertices.add(0, 0, 0, 0, 0, 0);
    vertices.add(0, -infinity, 0);
    vertices.add(0, 0, 0, infinity, 0, 0);
    const ktVertexGroups groups = vertices.group();
    EXPECT_THAT(groups.unusable, ElementsAre(0, 2, 3, 4));
    EXPECT_THAT(groups.order, ElementsAre(1));
    EXPECT_EQ(groups.size(), 1u);
}

TEST(VertexGroups, GivenNoVertex_HasNoGroup) {
    EXPECT_EQ(Vertices().group().size(), 0u);
    EXPECT_EQ(ktVertexGroups().size(), 0u);
}

TEST(VertexGroups, GivenCancel_Stops) {
    Vertices vertices;
    vertices.add(0, 0, 0);
    ktCancelToken::the().cancel();
    EXPECT_THROW(vertices.group(), ktCanceled);
    ktCancelToken::the().reset();
}
