// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits of edges keep meshes conforming: all triangles at an edge are split together.
#include "ktConformingRefiner.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

namespace {

using Refiner = ktConformingRefiner;
using Index = Refiner::Index;
using Point = Refiner::Point;

struct Grid {
    std::vector<Point> positions;
    std::vector<Index> indices;
};

// count x count quads of the given size, two triangles each.
Grid grid(int count, double size, double x0 = 0.0, double y0 = 0.0) {
    Grid result;
    for (int y = 0; y <= count; ++y)
        for (int x = 0; x <= count; ++x)
            result.positions.push_back({x0 + x * size, y0 + y * size, 0.0});
    const auto at = [count](int x, int y) { return static_cast<Index>(y * (count + 1) + x); };
    for (int y = 0; y < count; ++y)
        for (int x = 0; x < count; ++x)
            for (Index i : {at(x, y), at(x + 1, y), at(x + 1, y + 1), at(x, y), at(x + 1, y + 1), at(x, y + 1)})
                result.indices.push_back(i);
    return result;
}

double doubledArea(const Refiner& refiner, Index triangle) {
    const auto& t = refiner.triangles()[triangle];
    Point p[3];
    for (int i = 0; i < 3; ++i)
        p[i] = refiner.position(refiner.vertices()[t.vertices[i]].position);
    return (p[1][0] - p[0][0]) * (p[2][1] - p[0][1]) - (p[1][1] - p[0][1]) * (p[2][0] - p[0][0]);
}

double totalArea(const Refiner& refiner) {
    double sum = 0.0;
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        sum += 0.5 * doubledArea(refiner, t);
    return sum;
}

// Counts vertices that lie inside an edge of a triangle. In a flat scene each is a crack.
int countHangingVertices(const Refiner& refiner) {
    std::set<Index> used;
    for (const auto& t : refiner.triangles())
        for (Index v : t.vertices)
            used.insert(refiner.vertices()[v].position);
    int count = 0;
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        for (int corner = 0; corner < 3; ++corner) {
            const Refiner::Edge edge = refiner.edge(t, corner);
            const Point a = refiner.position(edge >> 32), b = refiner.position(edge & 0xFFFFFFFFu);
            for (Index index : used) {
                const Point p = refiner.position(index);
                const double along =
                    ((p[0] - a[0]) * (b[0] - a[0]) + (p[1] - a[1]) * (b[1] - a[1])) / refiner.squaredLength(edge);
                const double across = (p[0] - a[0]) * (b[1] - a[1]) - (p[1] - a[1]) * (b[0] - a[0]);
                count += along > 1e-9 && along < 1.0 - 1e-9 && std::abs(across) < 1e-9;
            }
        }
    return count;
}

void splitAtRandom(Refiner& refiner, int splits, unsigned int seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < splits; ++i) {
        const Index triangle = random() % refiner.triangles().size();
        refiner.split(refiner.edge(triangle, static_cast<int>(random() % 3)));
    }
}

// Triangles as positions of their corners, so that the numbering does not matter.
std::multiset<std::array<Point, 3>> shapes(const Refiner& refiner) {
    std::multiset<std::array<Point, 3>> result;
    for (const auto& t : refiner.triangles()) {
        std::array<Point, 3> corners;
        for (int i = 0; i < 3; ++i)
            corners[i] = refiner.position(refiner.vertices()[t.vertices[i]].position);
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
        result.insert(corners);
    }
    return result;
}

} // namespace

TEST(ConformingRefiner, GivenAnEdgeBesideLongerOnes_TellsTheLongestAndTheCost) {
    Refiner refiner(1e-6);
    const Grid quads = grid(2, 1.0);
    refiner.addMesh(quads.positions, quads.indices);
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        EXPECT_DOUBLE_EQ(refiner.squaredLength(refiner.longestEdge(t)), 2.0);
    // A diagonal is the longest edge of both triangles beside it.
    EXPECT_EQ(refiner.splitCost(refiner.longestEdge(0)), 2u);
    // At a side between two quads, one of the diagonals is split first.
    const Refiner::Edge side = refiner.edge(0, 1);
    const std::size_t cost = refiner.splitCost(side), before = refiner.triangles().size();
    EXPECT_EQ(cost, 4u);
    ASSERT_TRUE(refiner.split(side));
    EXPECT_GE(refiner.triangles().size(), before + cost);
}

TEST(ConformingRefiner, GivenOneSplitOfAnInnerEdge_BisectsBothTriangles) {
    Refiner refiner(1e-6);
    const Grid quad = grid(1, 1.0);
    refiner.addMesh(quad.positions, quad.indices);
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(0, 3)));
    EXPECT_EQ(refiner.triangles().size(), 4u);
    EXPECT_EQ(refiner.vertices().size(), 5u);
    EXPECT_EQ(refiner.position(refiner.vertices()[4].position), (Point{0.5, 0.5, 0.0}));
}

TEST(ConformingRefiner, GivenASplitOfAShortEdge_SplitsTheLongerEdgesFirst) {
    Refiner refiner(1e-6);
    const Grid quad = grid(1, 1.0);
    refiner.addMesh(quad.positions, quad.indices);
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(0, 1)));
    EXPECT_EQ(refiner.vertices().size(), 6u) << "the diagonal and the edge itself";
    EXPECT_EQ(countHangingVertices(refiner), 0);
}

TEST(ConformingRefiner, GivenManyRandomSplits_StaysConformingAndKeepsAreaAndOrientation) {
    for (unsigned int seed = 1; seed <= 5; ++seed) {
        Refiner refiner(1e-6);
        const Grid left = grid(3, 1.0), right = grid(3, 1.0, 3.0);
        refiner.addMesh(left.positions, left.indices);
        refiner.addMesh(right.positions, right.indices);
        splitAtRandom(refiner, 120, seed);
        ASSERT_GT(refiner.vertices().size(), refiner.originalVertexCount() + 100);
        EXPECT_EQ(countHangingVertices(refiner), 0);
        EXPECT_NEAR(totalArea(refiner), 18.0, 1e-9);
        for (Index t = 0; t < refiner.triangles().size(); ++t)
            EXPECT_GT(doubledArea(refiner, t), 0.0);
    }
}

TEST(ConformingRefiner, GivenTwoMeshesThatShareASide_SplitsItInBothWithSeparateVertices) {
    Refiner refiner(1e-6);
    const Grid left = grid(1, 1.0), right = grid(1, 1.0, 1.0);
    refiner.addMesh(left.positions, left.indices);
    refiner.addMesh(right.positions, right.indices);
    const auto positionOf = [&](Index v) { return refiner.vertices()[v].position; };
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(positionOf(1), positionOf(3))));
    std::map<Index, int> middles;
    for (std::size_t v = refiner.originalVertexCount(); v < refiner.vertices().size(); ++v)
        if (refiner.position(refiner.vertices()[v].position) == Point{1.0, 0.5, 0.0})
            ++middles[refiner.vertices()[v].mesh];
    EXPECT_EQ(middles, (std::map<Index, int>{{0, 1}, {1, 1}}));
    EXPECT_EQ(countHangingVertices(refiner), 0);
}

TEST(ConformingRefiner, GivenALockedEdge_NeverSplitsItAndStillRefinesBesideIt) {
    Refiner refiner(1e-6);
    const Grid quads = grid(3, 1.0);
    refiner.addMesh(quads.positions, quads.indices);
    refiner.lockEdge({1.0, 0.0, 0.0}, {1.0, 1.0, 0.0});
    const Refiner::Edge locked = Refiner::edgeBetween(1, 5);
    EXPECT_FALSE(refiner.split(locked));
    splitAtRandom(refiner, 120, 7);
    EXPECT_EQ(countHangingVertices(refiner), 0);
    int left = 0;
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        for (int corner = 0; corner < 3; ++corner)
            left += refiner.edge(t, corner) == locked;
    EXPECT_EQ(left, 2) << "both triangles at the locked edge keep it unsplit";
    EXPECT_GT(refiner.vertices().size(), refiner.originalVertexCount() + 20);
}

TEST(ConformingRefiner, GivenSplitsInAnotherOrder_GivesTheSameTriangles) {
    std::vector<std::pair<Point, Point>> wanted;
    std::multiset<std::array<Point, 3>> expected;
    for (bool reversed : {false, true}) {
        Refiner refiner(1e-6);
        const Grid quads = grid(2, 1.0);
        refiner.addMesh(quads.positions, quads.indices);
        std::vector<Refiner::Edge> edges;
        for (Index t = 0; t < refiner.triangles().size(); ++t)
            edges.push_back(refiner.edge(t, static_cast<int>(t % 3)));
        if (reversed)
            std::reverse(edges.begin(), edges.end());
        for (Refiner::Edge edge : edges)
            refiner.split(edge);
        if (!reversed)
            expected = shapes(refiner);
        else
            EXPECT_EQ(shapes(refiner), expected);
    }
    EXPECT_GT(expected.size(), 8u);
}

TEST(ConformingRefiner, GivenANeighbourWithAVertexInTheMiddleOfASide_ClosesThatGap) {
    Refiner refiner(1e-6);
    const Grid whole = grid(1, 2.0), halves = grid(2, 1.0, 2.0);
    refiner.addMesh(whole.positions, whole.indices);
    refiner.addMesh(halves.positions, halves.indices);
    ASSERT_GT(countHangingVertices(refiner), 0);
    const auto positionOf = [&](Index v) { return refiner.vertices()[v].position; };
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(positionOf(1), positionOf(3))));
    EXPECT_EQ(countHangingVertices(refiner), 0);
}

TEST(ConformingRefiner, GivenASeam_SplitsBothSidesWithSeparateVertices) {
    Refiner refiner(1e-6);
    // One mesh: two triangles without a common vertex.
    refiner.addMesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 3, 4, 5});
    const auto positionOf = [&](Index v) { return refiner.vertices()[v].position; };
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(positionOf(0), positionOf(2))));
    ASSERT_EQ(refiner.vertices().size(), 8u);
    EXPECT_EQ(refiner.vertices()[6].position, refiner.vertices()[7].position);
}

TEST(ConformingRefiner, GivenCollapsedTriangles_LeavesThemAloneAndSplitsTheRest) {
    Refiner refiner(1e-6);
    refiner.addMesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, {0, 0, 1, 0, 1, 2});
    EXPECT_TRUE(refiner.isCollapsed(0));
    EXPECT_FALSE(refiner.isCollapsed(1));
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(0, 2)));
    EXPECT_EQ(refiner.triangles().size(), 3u);
    EXPECT_TRUE(refiner.isCollapsed(0));
}

TEST(ConformingRefiner, GivenAVertexLimit_StopsThere) {
    Refiner refiner(1e-6);
    const Grid quads = grid(4, 1.0);
    refiner.addMesh(quads.positions, quads.indices);
    refiner.setVertexLimit(10);
    splitAtRandom(refiner, 500, 3);
    EXPECT_GE(refiner.vertices().size(), refiner.originalVertexCount() + 10);
    EXPECT_LT(refiner.vertices().size(), refiner.originalVertexCount() + 40);
}

TEST(ConformingRefiner, GivenANeedle_MakesNoFlatTriangles) {
    const double weld = 1e-3;
    Refiner refiner(weld);
    refiner.addMesh({{0, 0, 0}, {1000, 0, 0}, {1000, 0.1, 0}}, {0, 1, 2});
    for (int round = 0; round < 8; ++round)
        for (Index t = 0, count = static_cast<Index>(refiner.triangles().size()); t < count; ++t)
            for (int corner = 0; corner < 3; ++corner)
                refiner.split(refiner.edge(t, corner));
    EXPECT_GT(refiner.triangles().size(), 8u) << "splits it where it is wide enough";
    for (Index t = 0; t < refiner.triangles().size(); ++t) {
        double longest = 0;
        for (int corner = 0; corner < 3; ++corner)
            longest = std::max(longest, refiner.squaredLength(refiner.edge(t, corner)));
        EXPECT_GE(doubledArea(refiner, t) / std::sqrt(longest), 4 * weld) << t;
    }
}

TEST(ConformingRefiner, GivenATriangleWithoutHeightBetweenTwo_SplitsThemTogether) {
    // Such triangles close gaps in files. They must not prevent a split of the triangles beside them.
    Refiner refiner(1e-3);
    refiner.addMesh({{0, 0, 0}, {8, 0, 0}, {4, 6, 0}, {4, 0, 0}, {2, -1, 0}, {6, -1, 0}},
                    {0, 1, 2, 0, 3, 1, 0, 4, 3, 3, 5, 1});
    const auto& vertices = refiner.vertices();
    EXPECT_TRUE(refiner.split(Refiner::edgeBetween(vertices[0].position, vertices[1].position)));
    EXPECT_EQ(vertices.back().position, vertices[3].position)
        << "the new vertex is at the existing one, so no gap opens";
}

TEST(ConformingRefiner, GivenBisections_TellsWhichTrianglesTheyMade) {
    Refiner refiner(1e-6);
    const Grid quads = grid(2, 1);
    refiner.addMesh(quads.positions, quads.indices);
    const std::vector<Refiner::Triangle> before = refiner.triangles();
    ASSERT_TRUE(refiner.split(refiner.edge(0, 2)));
    const auto cuts = refiner.takeBisections();
    ASSERT_EQ(cuts.size(), 2u);
    for (const auto& cut : cuts) {
        const Refiner::Triangle &old = before[cut.triangle], &first = refiner.triangles()[cut.triangle],
                                &second = refiner.triangles()[cut.newTriangle];
        const Index a = old.vertices[cut.corner], b = old.vertices[(cut.corner + 1) % 3],
                    c = old.vertices[(cut.corner + 2) % 3];
        EXPECT_EQ(first.vertices[0], a);
        EXPECT_EQ(first.vertices[2], c);
        EXPECT_EQ(second.vertices[1], b);
        EXPECT_EQ(second.vertices[2], c);
        EXPECT_EQ(first.vertices[1], second.vertices[0]);
    }
    EXPECT_TRUE(refiner.takeBisections().empty());
}

TEST(ConformingRefiner, GivenACut_SplitsAllTrianglesAtItThere) {
    Refiner refiner(1e-6);
    const Grid left = grid(1, 1.0), right = grid(1, 1.0, 1.0);
    refiner.addMesh(left.positions, left.indices);
    refiner.addMesh(right.positions, right.indices);
    const auto positionOf = [&](Index v) { return refiner.vertices()[v].position; };
    const Refiner::Edge side = Refiner::edgeBetween(positionOf(1), positionOf(3)); // between the meshes
    EXPECT_EQ(refiner.cutCost(side), 2u);
    ASSERT_TRUE(refiner.cut(side, 0.45));
    EXPECT_EQ(refiner.triangles().size(), 6u);
    EXPECT_EQ(countHangingVertices(refiner), 0);
    EXPECT_NEAR(totalArea(refiner), 2.0, 1e-9);
    for (std::size_t v = refiner.originalVertexCount(); v < refiner.vertices().size(); ++v) {
        const auto& vertex = refiner.vertices()[v];
        const Point p = refiner.position(vertex.position), a = refiner.position(positionOf(vertex.parents[0])),
                    b = refiner.position(positionOf(vertex.parents[1]));
        EXPECT_NEAR(p[0], 1.0, 1e-12);
        EXPECT_NEAR(p[1], 0.45, 1e-6);
        EXPECT_NEAR(p[1], (1 - vertex.at) * a[1] + vertex.at * b[1], 1e-12);
    }
    for (const Refiner::Bisection& bisection : refiner.takeBisections())
        EXPECT_TRUE(bisection.isCut);
}

TEST(ConformingRefiner, GivenACutThatMakesSliversOrALockedEdge_RefusesIt) {
    Refiner refiner(1e-6);
    const Grid quads = grid(2, 1.0);
    refiner.addMesh(quads.positions, quads.indices);
    refiner.lockEdge({1, 0, 0}, {1, 1, 0});
    const Refiner::Edge diagonal = refiner.longestEdge(0), locked = Refiner::edgeBetween(1, 4);
    EXPECT_TRUE(refiner.canCut(diagonal, 0.5));
    for (const double at : {0.0, 1.0, 1e-7, 0.05, 0.95})
        EXPECT_FALSE(refiner.cut(diagonal, at)) << at;
    EXPECT_FALSE(refiner.cut(locked, 0.5));
    EXPECT_EQ(refiner.triangles().size(), 8u);
}

TEST(ConformingRefiner, GivenAllSplitsTakenBack_HasTheOriginalTriangles) {
    Refiner refiner(1e-6);
    const Grid left = grid(3, 1.0), right = grid(3, 1.0, 3.0);
    refiner.addMesh(left.positions, left.indices);
    refiner.addMesh(right.positions, right.indices);
    const auto original = shapes(refiner);
    std::mt19937 random(5);
    for (int i = 0; i < 60; ++i) {
        const Refiner::Edge edge = refiner.edge(random() % refiner.triangles().size(), static_cast<int>(random() % 3));
        if (i % 3 == 0)
            refiner.cut(edge, 0.2 + 0.6 * (random() % 100) / 100.0);
        else
            refiner.split(edge);
    }
    const std::size_t most = refiner.triangles().size();
    ASSERT_GT(most, 100u);
    for (bool isAny = true; isAny;) {
        isAny = false;
        for (std::size_t split = 0; split < refiner.splitCount(); ++split)
            if (refiner.canMerge(split)) {
                refiner.merge(split);
                EXPECT_FALSE(refiner.canMerge(split));
                isAny = true;
            }
        EXPECT_NEAR(totalArea(refiner), 18.0, 1e-9);
    }
    std::size_t collapsed = 0;
    for (Index t = 0; t < refiner.triangles().size(); ++t)
        collapsed += refiner.isCollapsed(t);
    EXPECT_EQ(collapsed, most - original.size());
    auto now = shapes(refiner);
    for (auto shape = now.begin(); shape != now.end();)
        shape = (*shape)[0] == (*shape)[1] ? now.erase(shape) : std::next(shape);
    EXPECT_EQ(now, original);
    // Where a split was taken back, another one can be made.
    EXPECT_TRUE(refiner.cut(refiner.longestEdge(0), 0.4));
    EXPECT_NEAR(refiner.vertices().back().at, 0.4, 1e-6) << "not the vertex of the split before";
}

TEST(ConformingRefiner, GivenAVertexThatOtherSplitsUse_DoesNotTakeItBack) {
    Refiner refiner(1e-6);
    const Grid quad = grid(1, 1.0);
    refiner.addMesh(quad.positions, quad.indices);
    ASSERT_TRUE(refiner.split(Refiner::edgeBetween(0, 3)));
    EXPECT_TRUE(refiner.canMerge(0));
    ASSERT_TRUE(refiner.split(refiner.longestEdge(0)));
    EXPECT_FALSE(refiner.canMerge(0));
    EXPECT_TRUE(refiner.canMerge(1));
    refiner.merge(1);
    EXPECT_TRUE(refiner.canMerge(0));
}
