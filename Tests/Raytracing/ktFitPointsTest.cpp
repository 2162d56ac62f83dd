// SPDX-License-Identifier: LGPL-2.1-or-later
// How the points of the fit are spread over the faces.
#include "ktFitExample.h"

#include <gtest/gtest.h>

namespace {

/// Strips of 1 * length, two triangles each, apart from each other.
ktFitExample strips(const std::vector<double>& lengths) {
    ktFitExample example;
    for (std::size_t i = 0; i < lengths.size(); ++i)
        example.addQuad({0, 3.0 * double(i), 0}, {lengths[i], 0, 0}, {0, 1, 0});
    return example;
}

constexpr std::size_t noLimit = 1 << 30;

} // namespace

TEST(FitPoints, GivenNoDensity_PutsOnePointOnEachFace) {
    const ktFitMesh mesh = strips({1, 10, 100}).fitMesh();
    const ktFitPoints points(mesh, 0, noLimit);
    EXPECT_EQ(points.size(), 6u);
    for (std::size_t face = 0; face < 6; ++face)
        EXPECT_EQ(points.begin(face), face);
}

TEST(FitPoints, GivenADensity_SpreadsTheOthersByArea) {
    const ktFitMesh mesh = strips({0.5, 10, 100, 3}).fitMesh();
    const double density = 7;
    const ktFitPoints points(mesh, density, noLimit);
    for (std::size_t face = 0; face < mesh.faces.size(); ++face)
        EXPECT_NEAR(points.begin(face + 1) - points.begin(face), 1 + density * mesh.faces[face].area, 1.0) << face;
    EXPECT_NEAR(double(points.size()), 8 + density * 113.5, 1.0) << "small faces get their share together";
}

TEST(FitPoints, GivenFineFaces_PutsNoPointOnThem) {
    ktFitExample example = strips({10});
    example.addGrid(4, 4, [](double s, double t) { return std::array<double, 3>{20 + 0.04 * s, 0.04 * t, 0}; });
    const ktFitMesh mesh = example.fitMesh();
    const ktFitPoints points(mesh, 1e5, 1000);
    for (std::size_t face = 0; face < mesh.faces.size(); ++face)
        EXPECT_EQ(points.begin(face) == points.begin(face + 1), mesh.faces[face].isFine);
    EXPECT_EQ(points.size(), 1002u);
}

TEST(FitPoints, GivenALimit_LowersTheDensity) {
    const ktFitMesh mesh = strips({10, 30}).fitMesh();
    const ktFitPoints points(mesh, 1e9, 400);
    EXPECT_NEAR(double(points.size()), 404, 1);
    EXPECT_NEAR(points.begin(2), 102, 1) << "still by area";
}

TEST(FitPoints, GivenAHugeFace_KeepsToTheMostPerFace) {
    const ktFitMesh mesh = strips({1}).fitMesh();
    const ktFitPoints points(mesh, 1e6, noLimit);
    EXPECT_EQ(points.size(), 2 * ktFitPoints::mostPerFace);
}

TEST(FitPoints, GivenChunks_ReachesEachFaceOnce) {
    const ktFitMesh mesh = strips({1, 50, 2, 3}).fitMesh();
    const ktFitPoints points(mesh, 4, noLimit);
    for (const std::size_t size : {1u, 10u, 60u, 100000u}) {
        std::size_t face = 0;
        while (face < mesh.faces.size()) {
            const std::size_t next = points.faceAfter(face, size);
            ASSERT_GT(next, face);
            EXPECT_TRUE(next == face + 1 || points.begin(next) - points.begin(face) <= size);
            if (next < mesh.faces.size()) {
                EXPECT_GT(points.begin(next + 1) - points.begin(face), size) << "as many as possible";
            }
            face = next;
        }
        EXPECT_EQ(face, mesh.faces.size());
    }
}

// Uniform points have the mean 1/3 of each weight, and 1/6 and 1/12 as means of the products.
TEST(FitPoints, GivenManyPoints_CoverTheFaceEvenly) {
    constexpr std::uint32_t count = 1000;
    for (const std::size_t face : {0u, 1u, 77u, 123456u}) {
        double mean[3] = {}, squares = 0, products = 0;
        for (std::uint32_t point = 0; point < count; ++point) {
            float weights[3];
            ktFitPoints::weights(face, point, weights);
            EXPECT_NEAR(weights[0] + weights[1] + weights[2], 1.0f, 1e-6f);
            for (std::size_t corner = 0; corner < 3; ++corner) {
                ASSERT_GE(weights[corner], 0.0f);
                mean[corner] += weights[corner] / count;
            }
            squares += weights[1] * weights[1] / count;
            products += weights[1] * weights[2] / count;
        }
        for (double weight : mean)
            EXPECT_NEAR(weight, 1.0 / 3, 0.01) << face;
        EXPECT_NEAR(squares, 1.0 / 6, 0.01) << face;
        EXPECT_NEAR(products, 1.0 / 12, 0.005) << face;
    }
}

TEST(FitPoints, GivenOnePointPerFace_DiffersFromFaceToFace) {
    double mean[3] = {};
    for (std::size_t face = 0; face < 2000; ++face) {
        float weights[3];
        ktFitPoints::weights(face, 0, weights);
        for (std::size_t corner = 0; corner < 3; ++corner)
            mean[corner] += weights[corner] / 2000;
    }
    for (double weight : mean)
        EXPECT_NEAR(weight, 1.0 / 3, 0.03);
}

TEST(FitPoints, GivenNormalsOfAnyLength_InterpolatesTheirDirections) {
    ktFitExample example;
    for (const auto& p : {std::array<double, 3>{0, 0, 0}, {1, 0, 0}, {0, 1, 0}})
        example.addVertex(p[0], p[1], p[2]);
    example.addTriangle(0, 1, 2);
    example.normals = {5, 0, 0, 0, 0.01f, 0, 0, 0, 1};
    osg::Matrix matrix;
    matrix.setTranslate(10, 0, 0);
    example.toWorld = ktWorldTransform(matrix); // points are in object space
    const ktVertexTask task = example.task();
    const ktFitMesh mesh = example.fitMesh();
    const ktFitPoints points(mesh, 200, noLimit);
    ASSERT_GT(points.size(), 50u);
    std::vector<float> positions, normals;
    points.make(task, 0, 1, positions, normals);
    ASSERT_EQ(positions.size(), 3 * points.size());
    for (std::uint32_t point = 0; point < points.size(); ++point) {
        float weights[3];
        ktFitPoints::weights(0, point, weights);
        EXPECT_NEAR(positions[3 * point], weights[1], 1e-6f);
        EXPECT_NEAR(positions[3 * point + 1], weights[2], 1e-6f);
        EXPECT_EQ(positions[3 * point + 2], 0.0f);
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(normals[3 * point + axis], weights[axis], 1e-6f);
    }
}

TEST(FitPoints, GivenNormalsThatCancelOut_TakesThatOfTheFirstCorner) {
    ktFitExample example;
    for (const auto& p : {std::array<double, 3>{0, 0, 0}, {1, 0, 0}, {0, 1, 0}})
        example.addVertex(p[0], p[1], p[2]);
    example.addTriangle(0, 1, 2);
    example.normals = {0, 0, -1, 0, 0, 1, 0, 0, 1};
    const ktVertexTask task = example.task();
    const ktFitMesh mesh = example.fitMesh();
    const ktFitPoints points(mesh, 1e5, noLimit);
    std::vector<float> positions, normals;
    points.make(task, 0, 1, positions, normals);
    ASSERT_EQ(normals.size(), 3 * points.size());
    int replaced = 0;
    for (std::uint32_t point = 0; point < points.size(); ++point) {
        float weights[3];
        ktFitPoints::weights(0, point, weights);
        const float sum = 1 - 2 * weights[0];
        const bool cancelsOut = std::abs(sum) < 0.9e-3f;
        replaced += cancelsOut;
        if (std::abs(std::abs(sum) - 1e-3f) > 1e-4f) {
            EXPECT_NEAR(normals[3 * point + 2], cancelsOut ? -1.0f : sum, 1e-6f);
        }
    }
    EXPECT_GT(replaced, 0);
}
