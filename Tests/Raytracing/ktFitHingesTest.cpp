// SPDX-License-Identifier: LGPL-2.1-or-later
// Pairs of faces with a common edge: what is a kink and what is not.
#include "ktFitHinges.h"
#include "ktFitExample.h"

#include <gtest/gtest.h>
#include <random>

namespace {

// Two triangles at an edge along x, bent around it. Corners lie at (foot, height) beside it.
struct BentPair {
    double length, footC, heightC, footD, heightD, angle;

    ktFitExample example() const {
        ktFitExample made;
        made.addVertex(0, 0, 0);
        made.addVertex(length, 0, 0);
        made.addVertex(footC * length, heightC, 0);
        made.addVertex(footD * length, -heightD * std::cos(angle), heightD * std::sin(angle));
        made.addTriangle(0, 1, 2);
        made.addTriangle(1, 0, 3);
        return made;
    }
    // The places in the unfolded plane.
    std::array<double, 2> unfolded(std::uint32_t vertex) const {
        const std::array<double, 2> places[] = {
            {0, 0}, {length, 0}, {footC * length, heightC}, {footD * length, -heightD}};
        return places[vertex];
    }
};

std::vector<ktFitHinge> hingesOf(const ktFitMesh& mesh) {
    return ktFindHinges(mesh, 0, mesh.faces.size());
}

std::vector<std::uint32_t> verticesOf(const ktFitMesh& mesh) {
    std::vector<std::uint32_t> vertices(mesh.unknownCount);
    for (std::uint32_t vertex = 0; vertex < mesh.unknownOf.size(); ++vertex)
        if (mesh.unknownOf[vertex] != ktFitMesh::none)
            vertices[mesh.unknownOf[vertex]] = vertex;
    return vertices;
}

} // namespace

TEST(FitHinges, GivenALinearFunctionOnTheUnfoldedPair_HasNoKink) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> size(0.2, 2), foot(-0.5, 1.5), angle(-2, 2), slope(-3, 3);
    for (int trial = 0; trial < 100; ++trial) {
        const BentPair pair{size(random), foot(random), size(random), foot(random), size(random), angle(random)};
        const ktFitMesh mesh = pair.example().fitMesh();
        const auto hinges = hingesOf(mesh);
        const auto vertexOf = verticesOf(mesh);
        ASSERT_EQ(hinges.size(), 1u);
        const double a = slope(random), b = slope(random), c = slope(random);
        double kink = 0, steps = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const auto place = pair.unfolded(vertexOf[hinges[0].unknowns[i]]);
            kink += hinges[0].factors[i] * (a + b * place[0] + c * place[1]);
            steps += std::abs(hinges[0].factors[i]);
        }
        EXPECT_NEAR(kink, 0.0, 1e-5 * steps);
        EXPECT_GT(steps, 1.9);
    }
}

TEST(FitHinges, GivenASymmetricPair_HasTheKnownFactors) {
    const ktFitMesh mesh = BentPair{2, 0.5, 1, 0.5, 1, 1.0}.example().fitMesh();
    const auto hinges = hingesOf(mesh);
    const auto vertexOf = verticesOf(mesh);
    ASSERT_EQ(hinges.size(), 1u);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(hinges[0].factors[i], i < 2 ? -1.0f : 1.0f, 1e-6f);
    EXPECT_LT(vertexOf[hinges[0].unknowns[0]], 2u);
    EXPECT_LT(vertexOf[hinges[0].unknowns[1]], 2u);
    EXPECT_NEAR(hinges[0].area, 1.0f, 1e-6f);
}

TEST(FitHinges, GivenUnequalHeights_MeasuresAtTheNearerCorner) {
    const ktFitMesh mesh = BentPair{2, 0.5, 1, 0.5, 4, 0.3}.example().fitMesh();
    const auto hinges = hingesOf(mesh);
    const auto vertexOf = verticesOf(mesh);
    ASSERT_EQ(hinges.size(), 1u);
    for (std::size_t i = 2; i < 4; ++i)
        EXPECT_NEAR(hinges[0].factors[i], vertexOf[hinges[0].unknowns[i]] == 2 ? 1.0f : 0.25f, 1e-6f);
    EXPECT_NEAR(hinges[0].area, 1.0f, 1e-6f) << "of the smaller face";
}

TEST(FitHinges, GivenBorders_HaveNone) {
    ktFitExample example;
    example.addGrid(3, 2, [](double s, double t) { return std::array<double, 3>{s, t, 0}; });
    // Inner edges: 6 diagonals, 2 * 2 upright ones, 3 level ones.
    EXPECT_EQ(hingesOf(example.fitMesh()).size(), 13u);
}

TEST(FitHinges, GivenThreeFacesAtAnEdge_HasNone) {
    ktFitExample example = BentPair{1, 0.5, 1, 0.5, 1, 0.5}.example();
    const std::uint32_t third = example.addVertex(0.5, 0, -1);
    example.addTriangle(0, 1, third);
    EXPECT_TRUE(hingesOf(example.fitMesh()).empty());
    example.indices.resize(6);
    EXPECT_EQ(hingesOf(example.fitMesh()).size(), 1u);
    example.addTriangle(0, 1, 2); // one of them twice
    EXPECT_TRUE(hingesOf(example.fitMesh()).empty());
}

TEST(FitHinges, GivenANeedle_HasNone) {
    EXPECT_EQ(hingesOf(BentPair{1, 2.9, 1, 0.5, 1, 0}.example().fitMesh()).size(), 1u);
    EXPECT_TRUE(hingesOf(BentPair{1, 3.1, 1, 0.5, 1, 0}.example().fitMesh()).empty());
    EXPECT_TRUE(hingesOf(BentPair{1, 0.5, 1, -2.1, 1, 0}.example().fitMesh()).empty());
}

TEST(FitHinges, GivenSomeFaces_UsesOnlyThese) {
    ktFitExample example;
    example.addGrid(4, 4, [](double s, double t) { return std::array<double, 3>{s, t, 0}; });
    const ktFitMesh mesh = example.fitMesh();
    EXPECT_EQ(ktFindHinges(mesh, 0, 2).size(), 1u);
    EXPECT_TRUE(ktFindHinges(mesh, 5, 5).empty());
}
