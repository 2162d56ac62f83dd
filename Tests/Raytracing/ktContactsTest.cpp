// SPDX-License-Identifier: LGPL-2.1-or-later
// Lines where surfaces meet a triangle, and where it is cut along them.
#include "ktContactCut.h"
#include "ktContactLines.h"
#include "ktTriangleScene.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using Point = ktContactLines::Point;

// Half of a floor of 4 x 4, below the scene.
const Point floorCorners[3] = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}};
const Point up = {0, 0, 1};

// The sides of a box with its bottom at a height; each a quad.
ktTestMesh sides(double x, double y, double width, double depth, double bottom, double top) {
    ktTestMesh mesh;
    const double height = top - bottom;
    mesh.addQuad({x, y, bottom}, {width, 0, 0}, {0, 0, height});
    mesh.addQuad({x, y + depth, bottom}, {width, 0, 0}, {0, 0, height});
    mesh.addQuad({x, y, bottom}, {0, depth, 0}, {0, 0, height});
    mesh.addQuad({x + width, y, bottom}, {0, depth, 0}, {0, 0, height});
    return mesh;
}

std::vector<ktContactSegment> find(const std::vector<ktTestMesh>& meshes, const Point& front = up) {
    ktTriangleScene scene;
    ktTestMesh ground;
    ground.addQuad({0, 0, 0}, {4, 0, 0}, {0, 4, 0});
    scene.addMesh(ground);
    for (const ktTestMesh& mesh : meshes)
        scene.addMesh(mesh);
    ktTracedScene traced;
    ktEventPump pump;
    traced.collect(scene.geometryNodes, {}, pump);
    traced.makeMeshes();
    return ktContactLines(traced).find(floorCorners, front);
}

double lengthOf(const std::vector<ktContactSegment>& segments) {
    double sum = 0;
    for (const ktContactSegment& s : segments)
        sum += std::hypot(s.to[0] - s.from[0], s.to[1] - s.from[1], s.to[2] - s.from[2]);
    return sum;
}

ktContactCut cutAlong(const std::vector<ktContactSegment>& segments) {
    return ktChooseContactCut(floorCorners, segments);
}

} // namespace

TEST(Contacts, GivenABoxOnTheFloorOrThroughIt_FindsItsFoot) {
    for (const double bottom : {0.0, -0.5, 1e-5}) {
        const std::vector<ktContactSegment> found = find({sides(0.5, 0.5, 1.0, 0.6, bottom, 1.0)});
        EXPECT_NEAR(lengthOf(found), 3.2, 1e-3) << bottom;
        for (const ktContactSegment& s : found)
            EXPECT_NEAR(s.from[2], 0, 1e-4);
        for (std::size_t i = 1; i < found.size(); ++i)
            EXPECT_GE(lengthOf({found[i - 1]}), lengthOf({found[i]})) << "the longest first";
    }
}

TEST(Contacts, GivenWhatDoesNotRiseFromTheFace_FindsNothing) {
    EXPECT_TRUE(find({}).empty());
    EXPECT_TRUE(find({sides(0.5, 0.5, 1, 1, 0.1, 1)}).empty()) << "above it";
    EXPECT_TRUE(find({sides(0.5, 0.5, 1, 1, -1, 0)}).empty()) << "below it";
    EXPECT_FALSE(find({sides(0.5, 0.5, 1, 1, -1, 0)}, {0, 0, -1}).empty()) << "seen from below";
    EXPECT_TRUE(find({sides(3, 3, 0.5, 0.5, 0, 1)}).empty()) << "beside the triangle, on the other half";
    ktTestMesh plate, ramp;
    plate.addQuad({0.5, 0.5, 0}, {1, 0, 0}, {0, 1, 0});
    ramp.addQuad({0.5, 0.5, 0}, {1, 0, 0}, {0, 1, 0.1});
    EXPECT_TRUE(find({plate}).empty()) << "coplanar";
    EXPECT_TRUE(find({ramp}).empty()) << "flat";
}

TEST(Contacts, GivenALineAcrossATriangle_CutsBothEdgesThere) {
    const ktContactCut cut = cutAlong({{{1.5, 0, 0}, {1.5, 2.5, 0}}});
    ASSERT_EQ(cut.count, 2);
    for (const ktContactCut::Place& place : cut.places) {
        const Point &a = floorCorners[place.corner], &b = floorCorners[(place.corner + 1) % 3];
        EXPECT_NEAR(a[0] + place.at * (b[0] - a[0]), 1.5, 1e-9);
    }
    EXPECT_GT(cut.sides[0] * cut.sides[2], 0);
    EXPECT_LT(cut.sides[0] * cut.sides[1], 0);
}

TEST(Contacts, GivenALineThroughACorner_CutsTheEdgeAcross) {
    const ktContactCut cut = cutAlong({{{0, 0, 0}, {1.5, 1.5, 0}}});
    ASSERT_EQ(cut.count, 1);
    EXPECT_EQ(cut.places[0].corner, 1);
    EXPECT_NEAR(cut.places[0].at, 0.5, 1e-9);
}

TEST(Contacts, GivenPiecesOfALine_CutsAlongAllTogether) {
    std::vector<ktContactSegment> pieces;
    for (int i = 0; i < 10; ++i)
        pieces.push_back({{1.0, 0.3 * i, 0}, {1.0, 0.3 * (i + 1), 0}});
    pieces.push_back({{2.0, 0.2, 0}, {2.0, 0.6, 0}});
    const ktContactCut cut = cutAlong(pieces);
    ASSERT_EQ(cut.count, 2);
    EXPECT_NEAR(std::fabs(cut.sides[0]) / std::fabs(cut.sides[1]), 1.0 / 3.0, 1e-6);
}

TEST(Contacts, GivenAShortLineOrOneThatMakesASliver_DoesNotCut) {
    EXPECT_EQ(cutAlong({}).count, 0);
    EXPECT_EQ(cutAlong({{{1.5, 1.0, 0}, {1.5, 1.8, 0}}}).count, 0) << "most of the cut would be beside the contact";
    EXPECT_EQ(cutAlong({{{0, 0, 0}, {4, 0, 0}}}).count, 0) << "an edge of the triangle";
    EXPECT_EQ(cutAlong({{{0, 0.2, 0}, {3.8, 0.2, 0}}}).count, 0) << "near to an edge";
    EXPECT_EQ(cutAlong({{{0, 0.3, 0}, {0.3, 0, 0}}}).count, 0) << "near to a corner";
}

TEST(Contacts, GivenACurve_CutsOnlyWhereItLooksStraight) {
    const auto arc = [](double radius) {
        std::vector<ktContactSegment> pieces;
        for (int i = -8; i < 8; ++i) {
            const double a = 0.1 * i / radius, b = 0.1 * (i + 1) / radius;
            pieces.push_back({{1.5 + radius - radius * std::cos(a), 0.8 + radius * std::sin(a), 0},
                              {1.5 + radius - radius * std::cos(b), 0.8 + radius * std::sin(b), 0}});
        }
        return pieces;
    };
    EXPECT_EQ(cutAlong(arc(0.5)).count, 0);
    EXPECT_GT(cutAlong(arc(20)).count, 0);
}
