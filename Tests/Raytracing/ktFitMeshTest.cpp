// SPDX-License-Identifier: LGPL-2.1-or-later
// The surface as the fit sees it: unknowns, faces that count, pieces, fine unknowns.
#include "ktFitExample.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

/// A square of one unit in the plane z = 0, its lower left corner at (x, y).
void addSquare(ktFitExample& example, double x, double y) {
    example.addQuad({x, y, 0}, {1, 0, 0}, {0, 1, 0});
}

/// A grid of 4 * 4 cells with an edge of 0.001, which is small beside a square of one unit.
void addSmallGrid(ktFitExample& example, double x, double y) {
    example.addGrid(4, 4, [=](double s, double t) { return std::array<double, 3>{x + 0.004 * s, y + 0.004 * t, 0}; });
}

} // namespace

TEST(FitMesh, GivenEqualVertices_MakesThemOneUnknown) {
    ktFitExample example;
    addSquare(example, 0, 0);
    addSquare(example, 1, 0);
    const ktFitMesh mesh = example.fitMesh();
    EXPECT_EQ(mesh.unknownCount, 6u);
    EXPECT_EQ(mesh.unknownOf[1], mesh.unknownOf[4]);
    EXPECT_EQ(mesh.unknownOf[2], mesh.unknownOf[7]);
    EXPECT_NE(mesh.unknownOf[0], mesh.unknownOf[1]);
    ASSERT_EQ(mesh.faces.size(), 4u);
    EXPECT_EQ(mesh.pieceCount(), 1u);
    for (const ktFitMesh::Face& face : mesh.faces)
        for (std::size_t corner = 0; corner < 3; ++corner) {
            EXPECT_EQ(face.unknowns[corner], mesh.unknownOf[face.vertices[corner]]);
            for (std::size_t axis = 0; axis < 3; ++axis)
                EXPECT_EQ(mesh.positions[3 * face.unknowns[corner] + axis],
                          example.positions[3 * face.vertices[corner] + axis]);
        }
}

TEST(FitMesh, GivenHardEdge_HasAPieceOnEachSide) {
    ktFitExample example;
    addSquare(example, 0, 0);
    for (int i = 0; i < 4; ++i)
        example.normals.insert(example.normals.end(), {0, 0, 1});
    example.addQuad({1, 0, 0}, {0, 0, -1}, {0, 1, 0});
    for (int i = 0; i < 4; ++i)
        example.normals.insert(example.normals.end(), {1, 0, 0});
    const ktFitMesh mesh = example.fitMesh();
    EXPECT_EQ(mesh.unknownCount, 8u);
    EXPECT_EQ(mesh.pieceCount(), 2u);
}

TEST(FitMesh, GivenBadFaces_LeavesThemOut) {
    ktFitExample example;
    addSquare(example, 0, 0);
    const float notANumber = std::numeric_limits<float>::quiet_NaN(), infinite = std::numeric_limits<float>::infinity();
    const std::uint32_t nan = example.addVertex(notANumber, 0, 0), far = example.addVertex(0, infinite, 0),
                        middle = example.addVertex(0.5, 0.5, 0), turned = example.addVertex(0, 2, 0),
                        flat = example.addVertex(2, 0, 0), good = example.addVertex(0, 3, 0);
    example.task(); // fills in the normals
    example.normals[3 * turned + 2] = 0;
    example.normals[3 * flat + 1] = notANumber;
    example.addTriangle(0, 1, nan);
    example.addTriangle(0, 1, far);
    example.addTriangle(0, 2, middle); // in one line
    example.addTriangle(1, 1, 3);
    example.addTriangle(0, 1, turned); // a zero normal
    example.addTriangle(0, 1, flat);   // a normal that is no number
    example.addTriangle(0, 1, good + 1);
    example.addTriangle(0xFFFFFFFFu, 1, 2);
    const ktFitMesh mesh = example.fitMesh();
    ASSERT_EQ(mesh.faces.size(), 2u);
    EXPECT_EQ(mesh.faces[0].vertices[1], 1u);
    EXPECT_EQ(mesh.faces[1].vertices[1], 2u);
    for (std::uint32_t vertex = 0; vertex < 4; ++vertex)
        EXPECT_NE(mesh.unknownOf[vertex], ktFitMesh::none);
    for (std::uint32_t vertex = 4; vertex <= good; ++vertex)
        EXPECT_EQ(mesh.unknownOf[vertex], ktFitMesh::none) << "no face has vertex " << vertex;
    EXPECT_EQ(mesh.faceStart, (std::vector<std::uint32_t>{0, 2}));
}

TEST(FitMesh, GivenNoFaces_HasNoPieces) {
    ktFitExample example;
    example.addVertex(0, 0, 0);
    const ktFitMesh mesh = example.fitMesh();
    EXPECT_EQ(mesh.pieceCount(), 0u);
    EXPECT_TRUE(mesh.faces.empty());
    EXPECT_EQ(mesh.unknownOf, std::vector<std::uint32_t>{ktFitMesh::none});
}

TEST(FitMesh, GivenPiecesWithMixedFaces_SortsTheFacesByPiece) {
    ktFitExample example;
    for (int i = 0; i < 3; ++i)
        addSquare(example, 5.0 * i, 0);
    std::vector<std::uint32_t> mixed;
    for (const std::size_t face : {4u, 0u, 2u, 1u, 5u, 3u})
        mixed.insert(mixed.end(), &example.indices[3 * face], &example.indices[3 * face] + 3);
    example.indices = mixed;
    const ktFitMesh mesh = example.fitMesh();
    ASSERT_EQ(mesh.faceStart, (std::vector<std::uint32_t>{0, 2, 4, 6}));
    for (std::size_t piece = 0; piece < 3; ++piece) {
        const std::uint32_t square = mesh.faces[2 * piece].vertices[0] / 4;
        EXPECT_EQ(mesh.faces[2 * piece + 1].vertices[0] / 4, square);
        EXPECT_LT(mesh.faces[2 * piece].vertices[1], mesh.faces[2 * piece + 1].vertices[1]) << "order within a piece";
    }
}

TEST(FitMesh, GivenATransform_MeasuresInWorldSpace) {
    ktFitExample example;
    addSquare(example, 0, 0);
    osg::Matrix matrix;
    matrix.setScale(-2, 3, 1);
    example.toWorld = ktWorldTransform(matrix);
    ktFitMesh mesh = example.fitMesh();
    ASSERT_EQ(mesh.faces.size(), 2u);
    EXPECT_NEAR(mesh.faces[0].area, 3.0f, 1e-6f);
    EXPECT_EQ(mesh.positions[3 * mesh.unknownOf[2]], -2.0f);
    matrix.setScale(0, 1, 1);
    example.toWorld = ktWorldTransform(matrix);
    EXPECT_TRUE(example.fitMesh().faces.empty()) << "no area in world space";
}

TEST(FitMesh, GivenSmallFaces_MakesTheirUnknownsFine) {
    ktFitExample example;
    addSquare(example, 0, 0);
    EXPECT_TRUE(example.fitMesh().fine.empty());
    addSmallGrid(example, 2, 0);
    const ktFitMesh mesh = example.fitMesh();
    ASSERT_EQ(mesh.fine.size(), 25u);
    double area = 0;
    for (const ktFitMesh::FineUnknown& fine : mesh.fine) {
        EXPECT_EQ(mesh.unknownOf[fine.vertex], fine.unknown);
        EXPECT_GE(fine.vertex, 4u);
        area += fine.area;
    }
    EXPECT_NEAR(area, 0.004 * 0.004, 1e-9);
    for (const ktFitMesh::Face& face : mesh.faces)
        EXPECT_EQ(face.isFine, face.vertices[0] >= 4);
}

TEST(FitMesh, GivenSmallFacesAtALargeOne_MakesOnlyInnerUnknownsFine) {
    ktFitExample example;
    addSquare(example, 0, 0);
    addSmallGrid(example, 1, 1); // its first corner is a corner of the square
    const ktFitMesh mesh = example.fitMesh();
    EXPECT_EQ(mesh.pieceCount(), 1u);
    const std::uint32_t shared = mesh.unknownOf[2];
    EXPECT_EQ(shared, mesh.unknownOf[4]);
    for (const ktFitMesh::Face& face : mesh.faces) {
        bool hasShared = false;
        for (std::uint32_t unknown : face.unknowns)
            hasShared = hasShared || unknown == shared;
        EXPECT_EQ(face.isFine, face.vertices[0] >= 4 && !hasShared);
    }
    EXPECT_EQ(mesh.fine.size(), 24u);
}

TEST(FitMesh, GivenPositionsThatAreNotFinite_StillFindsTheSmallEdge) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> positions = {0, 0, 0, notANumber, 4, 0, 3, -std::numeric_limits<float>::infinity(), 0};
    EXPECT_NEAR(ktSmallEdge(positions.data(), 3), 0.05f, 1e-6f);
    EXPECT_EQ(ktSmallEdge(positions.data(), 0), 0.0f);
}
