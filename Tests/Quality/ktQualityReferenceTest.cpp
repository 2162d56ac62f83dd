// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the brute force of the quality report against closed forms.
#include "ktQualityReference.h"

#include "ktQualityError.h"
#include "ktTestSurface.h"

#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>

namespace {

ktQualityTracing plain(unsigned rays = 4096) {
    ktQualityTracing options;
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

TEST(QualityReference, GivenOpenPlane_SeesTheWholeSky) {
    ktQualityScene scene = floorAtWall(1);
    scene.meshes.pop_back();
    const auto points = ktChooseQualityPoints(scene, 200, 1);
    const auto estimates = ktQualityReference(scene).estimate(points, plain(64));
    const ktQualityError error = ktMeasureSkyError(ktInterpolateSky(scene, points), estimates);
    EXPECT_EQ(error.points, 200u);
    EXPECT_EQ(error.rms, 0);
}

TEST(QualityReference, GivenLongWall_FollowsTheClosedForm) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 2000, 1);
    const auto estimates = ktQualityReference(scene).estimate(points, plain(1024));
    std::vector<float> exact;
    for (const ktQualityPoint& point : points) {
        const std::uint32_t* corner = &scene.meshes[0].indices[3 * std::size_t(point.triangle)];
        const double x = (1.0 - point.u - point.v) * scene.meshes[0].position(corner[0])[0] +
                         point.u * scene.meshes[0].position(corner[1])[0] +
                         point.v * scene.meshes[0].position(corner[2])[0];
        exact.push_back(static_cast<float>(openShare(x, 0.5)));
    }
    const ktQualityError error = ktMeasureSkyError(exact, estimates);
    EXPECT_EQ(error.points, 2000u);
    // The noise of 1,024 rays is about 0.013. Without it, the exact values have no error.
    EXPECT_LT(error.rms, 0.003);
    std::vector<float> wrong;
    for (const float value : exact)
        wrong.push_back(value + 0.25f);
    EXPECT_NEAR(ktMeasureSkyError(wrong, estimates).rms, 0.25, 0.002);
}

TEST(QualityReference, GivenDistances_IgnoresOtherHits) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 50, 1);
    const ktQualityReference reference(scene);
    ktQualityTracing far = plain(64), near = plain(64);
    far.minDistance_mm = 2e6;
    near.maxDistance_mm = 1e-7;
    for (const ktQualityTracing& options : {far, near})
        for (const ktQualityEstimate& estimate : reference.estimate(points, options))
            EXPECT_EQ(estimate.sky, 1);
}

TEST(QualityReference, GivenBackOfAWall_IsOccludedToo) {
    ktQualityScene scene = floorAtWall(100);
    for (std::size_t i = 0; i < scene.meshes[1].indices.size(); i += 3)
        std::swap(scene.meshes[1].indices[i], scene.meshes[1].indices[i + 1]);
    const auto estimates = ktQualityReference(scene).estimate({{0, 0, 0.01f, 0}}, plain());
    EXPECT_NEAR(estimates[0].sky, 0.5, 0.03);
    EXPECT_TRUE(estimates[0].isInside); // all that it hits are back sides
}

TEST(QualityReference, GivenPlateThroughABox_FindsThePointsInside) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestQuad(scene.meshes[0], {-1, -0.5, 0.5}, {2, 0, 0}, {0, 1, 0});
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestBox(scene.meshes[1], {0, -1, 0}, {2, 2, 1}); // the half of the plate with x > 0 is inside
    scene.meshes[1].isMeasured = false;
    const auto points = ktChooseQualityPoints(scene, 500, 1);
    const auto estimates = ktQualityReference(scene).estimate(points, plain(64));
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::uint32_t* corner = &scene.meshes[0].indices[3 * std::size_t(points[i].triangle)];
        const double x = (1.0 - points[i].u - points[i].v) * scene.meshes[0].position(corner[0])[0] +
                         points[i].u * scene.meshes[0].position(corner[1])[0] +
                         points[i].v * scene.meshes[0].position(corner[2])[0];
        EXPECT_EQ(estimates[i].isInside, x > 0) << x;
    }
}

TEST(QualityReference, GivenTiltedShadingNormal_DoesNotTakeTheOwnSolidForAnother) {
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
    ktQualityTracing options = plain(256);
    options.minDistance_mm = 0.001;
    double sum = 0;
    for (const ktQualityEstimate& estimate :
         ktQualityReference(scene).estimate(ktChooseQualityPoints(scene, 500, 1), options)) {
        EXPECT_FALSE(estimate.isInside);
        sum += estimate.sky;
    }
    // Rays below the face go into the own solid: a share of (1 - cos 30 degrees) / 2.
    EXPECT_NEAR(sum / 500, 0.933, 0.004);
}

TEST(QualityReference, GivenOneAndTwoThreads_GivesEqualBits) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 300, 1);
    const ktQualityReference reference(scene);
    ktQualityTracing options = plain(100);
    options.threads = 1;
    const auto one = reference.estimate(points, options);
    options.threads = 2;
    const auto two = reference.estimate(points, options);
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(one[i].sky, two[i].sky);
        EXPECT_EQ(one[i].isInside, two[i].isInside);
    }
}

namespace {

// The inside of a unit sphere, whose points see the same everywhere. Surfaces reflect 60 %.
ktQualityScene insideOfSphere(bool areFrontsInside) {
    constexpr int around = 96, rings = 48;
    const auto at = [](int ring, int i) {
        const double polar = M_PI * ring / rings, angle = 2 * M_PI * i / around;
        return ktQualityVector{std::sin(polar) * std::cos(angle), std::sin(polar) * std::sin(angle), std::cos(polar)};
    };
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktQualityMesh& mesh = scene.meshes[0];
    for (int ring = 0; ring < rings; ++ring)
        for (int i = 0; i < around; ++i) {
            const ktQualityVector a = at(ring, i), b = at(ring, i + 1), c = at(ring + 1, i + 1), d = at(ring + 1, i);
            if (ring > 0)
                ktAddTestTriangle(mesh, a, areFrontsInside ? b : c, areFrontsInside ? c : b);
            if (ring + 1 < rings)
                ktAddTestTriangle(mesh, a, areFrontsInside ? c : d, areFrontsInside ? d : c);
        }
    for (std::size_t i = 0; i < mesh.indices.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            mesh.cornerNormals[3 * i + axis] = -mesh.positions[3 * std::size_t(mesh.indices[i]) + axis];
    mesh.albedo = [](std::uint32_t, float, float) { return std::array<float, 3>{0.6f, 0.3f, 0}; };
    return scene;
}

} // namespace

TEST(QualityReference, GivenInsideOfSphere_FollowsTheSeriesOfBounces) {
    const ktQualityScene scene = insideOfSphere(true);
    const auto points = ktChooseQualityPoints(scene, 400, 1);
    const ktQualityReference reference(scene);
    for (const unsigned bounces : {0u, 1u, 3u}) {
        ktQualityTracing tracing = plain(1024);
        tracing.bounces = bounces;
        // A ray at angle t to the normal has length 2 cos t. It hits nothing if that is more than 1.6: in 1 - 0.8^2.
        tracing.maxDistance_mm = 1.6;
        const double hit = 0.64;
        double sky = 0, light[3] = {0, 0, 0};
        for (const ktQualityEstimate& estimate : reference.estimate(points, tracing)) {
            EXPECT_FALSE(estimate.isInside);
            sky += estimate.sky / 400;
            for (std::size_t c = 0; c < 3; ++c)
                light[c] += estimate.light[c] / 400.0;
        }
        EXPECT_NEAR(sky, 1 - hit, 0.004);
        const double albedo[3] = {0.6, 0.3, 0};
        for (std::size_t c = 0; c < 3; ++c) {
            double expected = 0;
            for (unsigned i = 0; i <= bounces; ++i)
                expected += (1 - hit) * std::pow(albedo[c] * hit, i);
            EXPECT_NEAR(light[c], expected, 0.004) << bounces;
        }
    }
}

TEST(QualityReference, GivenBackSides_ReflectNothing) {
    const ktQualityScene scene = insideOfSphere(false);
    ktQualityTracing tracing = plain(256);
    tracing.bounces = 2;
    tracing.maxDistance_mm = 1.6;
    for (const ktQualityEstimate& estimate :
         ktQualityReference(scene).estimate(ktChooseQualityPoints(scene, 50, 1), tracing))
        EXPECT_EQ(estimate.light[0], estimate.sky);
}

TEST(QualityReference, GivenManySeeds_EstimatesItsOwnVariance) {
    const ktQualityScene scene = insideOfSphere(true);
    const auto points = ktChooseQualityPoints(scene, 1, 1);
    const ktQualityReference reference(scene);
    ktQualityTracing tracing = plain(64);
    tracing.bounces = 1;
    tracing.maxDistance_mm = 1.6;
    double sum = 0, squares = 0, variance = 0;
    constexpr int seeds = 2000;
    for (tracing.seed = 1; tracing.seed <= seeds; ++tracing.seed) {
        const ktQualityEstimate estimate = reference.estimate(points, tracing)[0];
        sum += estimate.light[0];
        squares += static_cast<double>(estimate.light[0]) * estimate.light[0];
        variance += estimate.lightVariance[0];
    }
    const double mean = sum / seeds;
    EXPECT_NEAR(variance / (squares - seeds * mean * mean), 1, 0.1);
}

TEST(QualityReference, GivenWallOnFloor_FindsTheDistanceToTheOtherMesh) {
    const ktQualityScene scene = floorAtWall(0.5);
    const auto points = ktChooseQualityPoints(scene, 200, 1);
    const std::vector<double> distances = ktQualityReference(scene).distancesToOthers(points, 0.4, 2);
    std::size_t near = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::uint32_t* corner = &scene.meshes[0].indices[3 * std::size_t(points[i].triangle)];
        const double x = (1.0 - points[i].u - points[i].v) * scene.meshes[0].position(corner[0])[0] +
                         points[i].u * scene.meshes[0].position(corner[1])[0] +
                         points[i].v * scene.meshes[0].position(corner[2])[0];
        if (x < 0.4)
            EXPECT_NEAR(distances[i], x, 1e-5);
        else
            EXPECT_EQ(distances[i], HUGE_VAL);
        near += x < 0.4;
    }
    EXPECT_GT(near, 70u);
    EXPECT_EQ(ktSelectNear(points, distances, 0.4).size(), near);
    EXPECT_LT(ktSelectNear(points, distances, 0.1).size(), near / 2);
}

TEST(QualityReference, GivenTriangleBelow_FindsTheDistanceToFaceEdgeAndCorner) {
    ktQualityScene scene;
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestTriangle(scene.meshes[0], {0.2, 0.2, 1}, {-3, 0.3, 0}, {-3, -4, 0});
    scene.meshes.push_back(ktMakeTestMesh());
    ktAddTestTriangle(scene.meshes[1], {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    const std::vector<double> distances =
        ktQualityReference(scene).distancesToOthers({{0, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}, 100, 1);
    EXPECT_NEAR(distances[0], 1, 1e-5);
    EXPECT_NEAR(distances[1], 3, 1e-5);
    EXPECT_NEAR(distances[2], 5, 1e-5);
}
