// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how the quality report chooses points of a surface and interpolates baked values there.
#include "ktTestSurface.h"

#include <gtest/gtest.h>
#include <set>

TEST(QualityPoints, GivenFacesOfDifferentSize_ChoosesByArea) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[0], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[1], {0, 0, 5}, {3, 0, 0}, {0, 1, 0});
    std::size_t large = 0;
    for (const ktQualityPoint& point : ktChooseQualityPoints(scene, 1000, 1))
        large += point.mesh == 1;
    EXPECT_NEAR(static_cast<double>(large), 750, 1);
}

TEST(QualityPoints, GivenTriangle_CoversItEvenly) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestTriangle(scene.meshes[0], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    double u = 0, v = 0;
    const auto points = ktChooseQualityPoints(scene, 20000, 1);
    for (const ktQualityPoint& point : points) {
        EXPECT_LE(point.u + point.v, 1);
        u += point.u;
        v += point.v;
    }
    EXPECT_NEAR(u / 20000, 1.0 / 3, 0.005);
    EXPECT_NEAR(v / 20000, 1.0 / 3, 0.005);
}

TEST(QualityPoints, GivenMeshNotMeasuredOrWithoutArea_LeavesItOut) {
    ktQualityScene scene;
    for (int i = 0; i < 3; ++i)
        scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[0], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    scene.meshes[0].isMeasured = false;
    ktAddTestTriangle(scene.meshes[1], {0, 0, 0}, {1, 0, 0}, {2, 0, 0});
    EXPECT_TRUE(ktChooseQualityPoints(scene, 10, 1).empty());
    ktAddTestQuad(scene.meshes[2], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    for (const ktQualityPoint& point : ktChooseQualityPoints(scene, 10, 1))
        EXPECT_EQ(point.mesh, 2u);
}

TEST(QualityPoints, GivenSeed_GivesEqualPointsForEqualSeedsOnly) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[0], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    const auto a = ktChooseQualityPoints(scene, 10, 1), b = ktChooseQualityPoints(scene, 10, 1),
               c = ktChooseQualityPoints(scene, 10, 2);
    EXPECT_EQ(a[3].u, b[3].u);
    EXPECT_NE(a[3].u, c[3].u);
}

TEST(QualityPoints, GivenPointInTriangle_InterpolatesLinearly) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestTriangle(scene.meshes[0], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    scene.meshes[0].sky = {0.2f, 0.6f, 1};
    const std::vector<float> values =
        ktInterpolateSky(scene, {{0, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}, {0, 0, 0.25f, 0.5f}});
    EXPECT_FLOAT_EQ(values[0], 0.2f);
    EXPECT_FLOAT_EQ(values[1], 0.6f);
    EXPECT_FLOAT_EQ(values[2], 1);
    EXPECT_FLOAT_EQ(values[3], 0.7f);
}

TEST(QualityPoints, GivenOtherCorners_ChangesTheHash) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestTriangle(scene.meshes[0], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    ktQualityScene darker = scene, moved = scene;
    darker.meshes[0].sky[0] = 0;
    moved.meshes[0].positions[0] = 0.5f;
    EXPECT_EQ(scene.surfaceHash(), darker.surfaceHash());
    EXPECT_NE(scene.surfaceHash(), moved.surfaceHash());
}
