// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the brute force of the quality report against closed forms.
#include "ktSkyReference.h"

#include "ktQualityError.h"
#include "ktTestSurface.h"

#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>

namespace {

ktSkyReferenceOptions plain(unsigned rays = 4096) {
    ktSkyReferenceOptions options;
    options.maxDistance_mm = FLT_MAX;
    options.rays = rays;
    return options;
}

// The floor of a unit square; a long wall along one of its edges hides half of the sky at that edge.
ktQualityScene floorAtWall(double height) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[0], {0, -0.5, 0}, {1, 0, 0}, {0, 1, 0});
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[1], {0, -100, 0}, {0, 200, 0}, {0, 0, height});
    scene.meshes[1].isMeasured = false;
    return scene;
}

// w at a distance from a long wall: it hides all directions up to its angle of elevation.
double openShare(double distance, double height) {
    return (1 + distance / std::hypot(distance, height)) / 2;
}

} // namespace

TEST(SkyReference, GivenOpenPlane_SeesTheWholeSky) {
    ktQualityScene scene = floorAtWall(1);
    scene.meshes.pop_back();
    const auto points = ktChooseQualityPoints(scene, 200, 1);
    const auto estimates = ktSkyReference(scene).estimate(points, plain(64));
    const ktQualityError error = ktMeasureError(ktInterpolateSky(scene, points), estimates);
    EXPECT_EQ(error.points, 200u);
    EXPECT_EQ(error.rms, 0);
}

TEST(SkyReference, GivenLongWall_FollowsTheClosedForm) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 2000, 1);
    const auto estimates = ktSkyReference(scene).estimate(points, plain(1024));
    std::vector<float> exact;
    for (const ktQualityPoint& point : points) {
        const std::uint32_t* corner = &scene.meshes[0].indices[3 * std::size_t(point.triangle)];
        const double x = (1.0 - point.u - point.v) * scene.meshes[0].position(corner[0])[0] +
                         point.u * scene.meshes[0].position(corner[1])[0] +
                         point.v * scene.meshes[0].position(corner[2])[0];
        exact.push_back(static_cast<float>(openShare(x, 0.5)));
    }
    const ktQualityError error = ktMeasureError(exact, estimates);
    EXPECT_EQ(error.points, 2000u);
    // The noise of 1,024 rays is about 0.013. Without it, the exact values have no error.
    EXPECT_LT(error.rms, 0.003);
    std::vector<float> wrong;
    for (const float value : exact)
        wrong.push_back(value + 0.25f);
    EXPECT_NEAR(ktMeasureError(wrong, estimates).rms, 0.25, 0.002);
}

TEST(SkyReference, GivenDistances_IgnoresOtherHits) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 50, 1);
    const ktSkyReference reference(scene);
    ktSkyReferenceOptions far = plain(64), near = plain(64);
    far.minDistance_mm = 2e6;
    near.maxDistance_mm = 1e-7;
    for (const ktSkyReferenceOptions& options : {far, near})
        for (const ktSkyEstimate& estimate : reference.estimate(points, options))
            EXPECT_EQ(estimate.sky, 1);
}

TEST(SkyReference, GivenBackOfAWall_IsOccludedToo) {
    ktQualityScene scene = floorAtWall(100);
    for (std::size_t i = 0; i < scene.meshes[1].indices.size(); i += 3)
        std::swap(scene.meshes[1].indices[i], scene.meshes[1].indices[i + 1]);
    const auto estimates = ktSkyReference(scene).estimate({{0, 0, 0.01f, 0}}, plain());
    EXPECT_NEAR(estimates[0].sky, 0.5, 0.03);
    EXPECT_TRUE(estimates[0].isInside); // all that it hits are back sides
}

TEST(SkyReference, GivenPlateThroughABox_FindsThePointsInside) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[0], {-1, -0.5, 0.5}, {2, 0, 0}, {0, 1, 0});
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestBox(scene.meshes[1], {0, -1, 0}, {2, 2, 1}); // the half of the plate with x > 0 is inside
    scene.meshes[1].isMeasured = false;
    const auto points = ktChooseQualityPoints(scene, 500, 1);
    const auto estimates = ktSkyReference(scene).estimate(points, plain(64));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::uint32_t* corner = &scene.meshes[0].indices[3 * std::size_t(points[i].triangle)];
        const double x = (1.0 - points[i].u - points[i].v) * scene.meshes[0].position(corner[0])[0] +
                         points[i].u * scene.meshes[0].position(corner[1])[0] +
                         points[i].v * scene.meshes[0].position(corner[2])[0];
        EXPECT_EQ(estimates[i].isInside, x > 0) << x;
    }
}

TEST(SkyReference, GivenTiltedShadingNormal_DoesNotTakeTheOwnSolidForAnother) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestBox(scene.meshes[0], {0, 0, 0}, {1, 1, 1});
    std::vector<float>& normals = scene.meshes[0].cornerNormals;
    for (std::size_t i = 0; i < normals.size(); i += 3) { // 30 degrees off the face
        const float x = normals[i];
        for (std::size_t axis = 0; axis < 3; ++axis)
            normals[i + axis] = 0.866f * normals[i + axis];
        (x == 0 ? normals[i] : normals[i + 1]) = 0.5f;
    }
    ktSkyReferenceOptions options = plain(256);
    options.minDistance_mm = 0.001;
    double sum = 0;
    for (const ktSkyEstimate& estimate :
         ktSkyReference(scene).estimate(ktChooseQualityPoints(scene, 500, 1), options)) {
        EXPECT_FALSE(estimate.isInside);
        sum += estimate.sky;
    }
    // Rays below the face go into the own solid: a share of (1 - cos 30 degrees) / 2.
    EXPECT_NEAR(sum / 500, 0.933, 0.004);
}

TEST(SkyReference, GivenOneAndTwoThreads_GivesEqualBits) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 300, 1);
    const ktSkyReference reference(scene);
    ktSkyReferenceOptions options = plain(100);
    options.threads = 1;
    const auto one = reference.estimate(points, options);
    options.threads = 2;
    const auto two = reference.estimate(points, options);
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(one[i].sky, two[i].sky);
        EXPECT_EQ(one[i].isInside, two[i].isInside);
    }
}
