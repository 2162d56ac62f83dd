// SPDX-License-Identifier: LGPL-2.1-or-later
// Smooth normals that are calculated when a file has none.
#include "ktSmoothNormals.h"

#include <cmath>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::FloatNear;

namespace {

std::vector<float> normalAt(const std::vector<float>& normals, std::size_t vertex) {
    return {normals.begin() + static_cast<std::ptrdiff_t>(3 * vertex),
            normals.begin() + static_cast<std::ptrdiff_t>(3 * vertex + 3)};
}

} // namespace

TEST(SmoothNormals, GivenCorner_WeighsByAngleAndNotByTriangulation) {
    // The corner of a cube: its faces have one, two and three triangles there. The angles of a face sum to 90 degrees.
    const std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 1, 0, 1, 1, 0, 0.5f};
    const std::vector<std::uint32_t> triangles = {0, 1, 2, 0, 2, 4, 0, 4, 3, 0, 3, 5, 0, 5, 6, 0, 6, 1};
    const auto normals = ktMakeSmoothNormals(positions.data(), 7, triangles);
    const float third = std::sqrt(1.0f / 3.0f);
    EXPECT_THAT(normalAt(normals, 0),
                ElementsAre(FloatNear(third, 1e-5f), FloatNear(third, 1e-5f), FloatNear(third, 1e-5f)));
}

TEST(SmoothNormals, GivenSheetsBackToBack_EachKeepsItsSide) {
    const std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0};
    const auto normals = ktMakeSmoothNormals(positions.data(), 6, {0, 1, 2, 3, 5, 4});
    EXPECT_THAT(normalAt(normals, 0), ElementsAre(0, 0, 1));
    EXPECT_THAT(normalAt(normals, 3), ElementsAre(0, 0, -1));
}

TEST(SmoothNormals, GivenNoArea_PointsUp) {
    const std::vector<float> positions = {0, 0, 0, 1, 0, 0, 2, 0, 0, 5, 5, 5};
    const auto normals = ktMakeSmoothNormals(positions.data(), 4, {0, 1, 2, 3, 3, 3});
    for (std::size_t vertex = 0; vertex < 4; ++vertex)
        EXPECT_THAT(normalAt(normals, vertex), ElementsAre(0, 1, 0));
}

TEST(SmoothNormals, GivenTinyAndHugeTriangles_StillFindsTheirNormals) {
    for (const float size : {1e-30f, 1e-10f, 1e15f, 1e30f}) {
        const std::vector<float> positions = {0, 0, 0, size, 0, 0, 0, size, -0.0f};
        EXPECT_THAT(normalAt(ktMakeSmoothNormals(positions.data(), 3, {0, 1, 2}), 1), ElementsAre(0, 0, 1)) << size;
    }
}

TEST(SmoothNormals, GivenPositiveAndNegativeZero_AreOnePosition) {
    const std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, -0.0f, -0.0f, -0.0f, 0, 1, 0, 0, 0, 1};
    const auto normals = ktMakeSmoothNormals(positions.data(), 6, {0, 1, 2, 3, 4, 5});
    EXPECT_EQ(normalAt(normals, 0), normalAt(normals, 3));
}
