// SPDX-License-Identifier: LGPL-2.1-or-later
// Frames of vertices: inward directions, ray origins, rotations and world transforms.
#include "ktVertexFrames.h"
#include "ktOneRing.h"
#include "ktTestMesh.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>

namespace {

const float up[3] = {0, 0, 1};

double dot(const float* a, const float* b) {
    return double(a[0]) * b[0] + double(a[1]) * b[1] + double(a[2]) * b[2];
}

std::vector<ktOneRing> oneRingsOf(const ktTestMesh& mesh) {
    return ktMakeOneRings(mesh.positions.data(), static_cast<std::uint32_t>(mesh.positions.size() / 3), mesh.indices);
}

} // namespace

TEST(OneRing, GivenEdgeOfASheet_PointsOverTheSheet) {
    ktTestMesh mesh;
    mesh.addQuad({0, 0, 0}, {10, 0, 0}, {0, 10, 0});
    float way[3];
    ASSERT_TRUE(oneRingsOf(mesh)[0].findInward(up, way));
    EXPECT_GT(way[0], 0);
    EXPECT_GT(way[1], 0);
    EXPECT_EQ(way[2], 0);
}

TEST(OneRing, GivenSurfaceAllAround_HasNoInwardDirection) {
    ktTestMesh mesh;
    mesh.addDisc(10, 0, 7);
    float way[3];
    EXPECT_FALSE(oneRingsOf(mesh)[0].findInward(up, way));
    EXPECT_TRUE(oneRingsOf(mesh)[1].findInward(up, way));
}

TEST(OneRing, GivenSurfaceThatRises_HasNoInwardDirection) {
    ktTestMesh mesh;
    mesh.addQuad({0, 0, 0}, {1, 0, 2}, {0, 1, 0});
    float way[3];
    const float slope[3] = {0, 0, 5};
    EXPECT_FALSE(oneRingsOf(mesh)[3].findInward(slope, way));
    const float down[3] = {0, 0, -5};
    EXPECT_TRUE(oneRingsOf(mesh)[3].findInward(down, way));
}

TEST(OneRing, GivenDegenerateTriangles_StaysFinite) {
    ktTestMesh mesh;
    const auto a = mesh.addVertex(1, 1, 1), b = mesh.addVertex(1, 1, 1), c = mesh.addVertex(1e30, 0, 0);
    mesh.addTriangle(a, b, c);
    mesh.addTriangle(a, a, a);
    for (const ktOneRing& ring : oneRingsOf(mesh))
        for (float value : ring.sum)
            EXPECT_TRUE(std::isfinite(value));
}

TEST(VertexFrames, GivenVertex_MakesARightHandedFrameJustOffTheSurface) {
    osg::Matrix matrix;
    matrix.setTranslate(1000, 2000, -3000);
    const ktWorldTransform toWorld(matrix);
    const ktVertexFrames frames(toWorld, nullptr, 5000);
    for (int i = 0; i < 200; ++i) {
        const float normal[3] = {std::sin(float(i)), std::cos(float(2 * i)), i % 7 - 3.0f};
        const float position[3] = {float(i), 10, -5};
        ktRayVertex vertex;
        ASSERT_TRUE(frames.make(position, normal, ktOneRing(), vertex));
        EXPECT_NEAR(dot(vertex.normal, vertex.normal), 1, 1e-6);
        EXPECT_NEAR(dot(vertex.tangent, vertex.tangent), 1, 1e-6);
        EXPECT_NEAR(dot(vertex.tangent, vertex.normal), 0, 1e-6);
        EXPECT_NEAR(dot(vertex.tangent, vertex.bitangent), 0, 1e-6);
        const float cross[3] = {vertex.tangent[1] * vertex.bitangent[2] - vertex.tangent[2] * vertex.bitangent[1],
                                vertex.tangent[2] * vertex.bitangent[0] - vertex.tangent[0] * vertex.bitangent[2],
                                vertex.tangent[0] * vertex.bitangent[1] - vertex.tangent[1] * vertex.bitangent[0]};
        EXPECT_NEAR(dot(cross, vertex.normal), 1, 1e-6);
        const float off[3] = {vertex.origin[0] - (position[0] + 1000), vertex.origin[1] - (position[1] + 2000),
                              vertex.origin[2] - (position[2] - 3000)};
        EXPECT_GT(dot(off, vertex.normal), ktVertexFrames::minHitDistance(5000));
        EXPECT_LT(dot(off, off), 0.02 * 0.02); // at most twenty micrometres in a scene of five metres
    }
}

TEST(VertexFrames, GivenEdge_AlsoMovesOverTheOwnSurface) {
    ktTestMesh mesh;
    mesh.addQuad({0, 0, 0}, {10, 0, 0}, {0, 10, 0});
    const auto oneRings = oneRingsOf(mesh);
    osg::Matrix matrix;
    matrix.setScale(1, -3, 1); // mirrored and stretched
    const ktWorldTransform toWorld(matrix);
    ktRayVertex vertex;
    ASSERT_TRUE(ktVertexFrames(toWorld, nullptr, 100).make(&mesh.positions[0], up, oneRings[0], vertex));
    EXPECT_GT(vertex.origin[0], 0);
    EXPECT_LT(vertex.origin[1], 0);
    EXPECT_GT(vertex.origin[2], 0);
    EXPECT_EQ(vertex.normal[2], 1);
}

TEST(VertexFrames, GivenNeighbours_RotatesThemDifferently) {
    const ktWorldTransform toWorld;
    const ktVertexFrames frames(toWorld, nullptr, 100);
    std::set<int> quadrants;
    for (int i = 0; i < 40; ++i) {
        const float position[3] = {0.001f * float(i), 0, 0};
        ktRayVertex vertex, again;
        ASSERT_TRUE(frames.make(position, up, ktOneRing(), vertex));
        ASSERT_TRUE(frames.make(position, up, ktOneRing(), again));
        EXPECT_EQ(vertex.tangent[0], again.tangent[0]);
        quadrants.insert((vertex.tangent[0] > 0) + 2 * (vertex.tangent[1] > 0));
    }
    EXPECT_EQ(quadrants.size(), 4u);
    const float zero[3] = {0, 0, 0}, negativeZero[3] = {-0.0f, 0, -0.0f};
    ktRayVertex a, b;
    ASSERT_TRUE(frames.make(zero, up, ktOneRing(), a));
    ASSERT_TRUE(frames.make(negativeZero, up, ktOneRing(), b));
    EXPECT_EQ(a.tangent[0], b.tangent[0]);
}

TEST(WorldTransform, GivenMatrices_RecognizesMirroredOnes) {
    osg::Matrix matrix;
    EXPECT_FALSE(ktWorldTransform(matrix).isMirrored());
    matrix.setScale(1, -1, 1);
    EXPECT_TRUE(ktWorldTransform(matrix).isMirrored());
    matrix.setScale(-1, -1, 1);
    EXPECT_FALSE(ktWorldTransform(matrix).isMirrored());
    matrix.setScale(0, -1, 1);
    EXPECT_FALSE(ktWorldTransform(matrix).isMirrored());
}

TEST(WorldTransform, GivenNormals_KeepsThemPerpendicularToTheSurface) {
    osg::Matrix matrix(2, 0.5f, 0, 7, 0, 1, 0, 8, 0.25f, 0, -3, 9, 0, 0, 0, 1);
    const ktWorldTransform toWorld(matrix);
    const float a[3] = {1, 2, 0.5f}, b[3] = {-1, 0.25f, 3};
    const float normal[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    float worldA[3], worldB[3], worldNormal[3];
    toWorld.direction(a, worldA);
    toWorld.direction(b, worldB);
    ASSERT_TRUE(toWorld.normal(normal, worldNormal));
    EXPECT_NEAR(dot(worldA, worldNormal), 0, 1e-5);
    EXPECT_NEAR(dot(worldB, worldNormal), 0, 1e-5);
    EXPECT_NEAR(dot(worldNormal, worldNormal), 1, 1e-6);
    // A point on the normal's side stays there, mirrored or not.
    float side[3];
    toWorld.direction(normal, side);
    EXPECT_GT(dot(side, worldNormal), 0);
}

TEST(WorldTransform, GivenNoNormal_SaysSo) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const ktWorldTransform toWorld;
    float world[3];
    for (const auto& normal : {std::array<float, 3>{0, 0, 0}, {notANumber, 0, 1}})
        EXPECT_FALSE(toWorld.normal(normal.data(), world));
    osg::Matrix line;
    line.setScale(1, 0, 0);
    EXPECT_FALSE(ktWorldTransform(line).normal(up, world));
    osg::Matrix plane;
    plane.setScale(1, 1, 0);
    const float slanted[3] = {0.6f, 0, 0.8f};
    ASSERT_TRUE(ktWorldTransform(plane).normal(slanted, world));
    EXPECT_EQ(world[2], 1);
}
