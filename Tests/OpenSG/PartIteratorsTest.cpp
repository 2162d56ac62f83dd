// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the faces, lines and edges of all primitive types.
#include "ByLibrary.h"
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGEdgeIterator.h>
#include <OpenSG/OSGFaceIterator.h>
#include <OpenSG/OSGLineIterator.h>

using namespace osg;

namespace {

typedef std::vector<std::vector<Int32>> Parts;

template <class IteratorT>
Parts partsOf(IteratorT it, const IteratorT& end, const UInt32 corners) {
    Parts result;
    for (; it != end; ++it) {
        EXPECT_EQ(Int32(result.size()), it.getIndex());
        result.emplace_back();
        for (UInt32 i = 0; i < (corners != 0 ? corners : it.getLength()); ++i)
            result.back().push_back(it.getPositionIndex(Int32(i)));
    }
    return result;
}

Parts facesOfRow(const UInt8 type, const UInt32 count) {
    const GeometryRefPtr geometry(makeRow(type, count));
    return partsOf(geometry->beginFaces(), geometry->endFaces(), 0);
}
Parts linesOfRow(const UInt8 type, const UInt32 count) {
    const GeometryRefPtr geometry(makeRow(type, count));
    return partsOf(geometry->beginLines(), geometry->endLines(), 2);
}
Parts edgesOfRow(const UInt8 type, const UInt32 count) {
    const GeometryRefPtr geometry(makeRow(type, count));
    return partsOf(geometry->beginEdges(), geometry->endEdges(), 0);
}

} // namespace

TEST(FaceIterator, GivenTriangles_VisitsEach) {
    EXPECT_EQ((Parts{{0, 1, 2}, {3, 4, 5}}), facesOfRow(GL_TRIANGLES, 6));
    EXPECT_EQ((Parts{{0, 1, 2}, {2, 1, 3}, {2, 3, 4}}), facesOfRow(GL_TRIANGLE_STRIP, 5));
    EXPECT_EQ((Parts{{0, 1, 2}, {0, 2, 3}}), facesOfRow(GL_TRIANGLE_FAN, 4));
}

TEST(FaceIterator, GivenQuads_KeepsThemWhole) {
    EXPECT_EQ((Parts{{0, 1, 2, 3}, {4, 5, 6, 7}}), facesOfRow(GL_QUADS, 8));
    EXPECT_EQ((Parts{{0, 1, 3, 2}, {2, 3, 5, 4}}), facesOfRow(GL_QUAD_STRIP, 6));
}

TEST(FaceIterator, GivenIncompleteFaceAtTheEnd_LeavesItOut) {
    // OpenSG 1.8 visits it, with corners past the end.
    const auto expected = [](Parts complete, const std::vector<Int32>& incomplete) {
        if (isOpenSG18)
            complete.push_back(incomplete);
        return complete;
    };
    EXPECT_EQ(expected({{0, 1, 2}, {3, 4, 5}}, {6, 7, 8}), facesOfRow(GL_TRIANGLES, 8));
    EXPECT_EQ(expected({{0, 1, 2, 3}, {4, 5, 6, 7}}, {8, 9, 10, 11}), facesOfRow(GL_QUADS, 10));
    EXPECT_EQ(expected({{0, 1, 3, 2}, {2, 3, 5, 4}}, {4, 5, 7, 6}), facesOfRow(GL_QUAD_STRIP, 7));
    EXPECT_EQ(expected({{0, 1}, {2, 3}}, {4, 5}), linesOfRow(GL_LINES, 5));
}

TEST(FaceIterator, GivenPolygon_IsWholeWithFourCornersAndElseTriangles) {
    EXPECT_EQ((Parts{{0, 1, 2}}), facesOfRow(GL_POLYGON, 3));
    EXPECT_EQ((Parts{{0, 1, 2, 3}}), facesOfRow(GL_POLYGON, 4));
    EXPECT_EQ((Parts{{0, 1, 2}, {0, 2, 3}, {0, 3, 4}}), facesOfRow(GL_POLYGON, 5));
}

TEST(FaceIterator, GivenPointsAndLines_PassesThemOver) {
    for (const UInt8 type : {GL_POINTS, GL_LINES, GL_LINE_LOOP, GL_LINE_STRIP})
        EXPECT_TRUE(facesOfRow(type, 6).empty()) << int(type);
}

TEST(FaceIterator, GivenTriangle_HasNoFourthCorner) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 3));
    geometry->setNormals(makeNormals({Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1)}));
    const FaceIterator it = geometry->beginFaces();
    EXPECT_EQ(3u, it.getLength());
    EXPECT_EQ(Vec3f(0, 0, 1), it.getNormal(2));
    EXPECT_EQ(-1, it.getPositionIndex(3));
    EXPECT_EQ(-1, it.getIndexIndex(3));
    EXPECT_EQ(Pnt3f(0, 0, 0), it.getPosition(3));
}

TEST(FaceIterator, GivenStitchedStrip_LeavesOutTheSeams) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLE_STRIP, 8));
    geometry->setIndices(makeIndices({0, 1, 2, 2, 3, 3, 4, 5}));
    EXPECT_EQ((Parts{{0, 1, 2}, {3, 4, 5}}), [&] {
        Parts sorted = partsOf(geometry->beginFaces(), geometry->endFaces(), 3);
        for (std::vector<Int32>& corners : sorted)
            std::sort(corners.begin(), corners.end());
        return sorted;
    }());
}

TEST(FaceIterator, GivenSeek_GoesToTheFace) {
    const GeometryRefPtr geometry(makeRow(GL_QUADS, 12));
    FaceIterator it = geometry->beginFaces();
    it.seek(2);
    EXPECT_EQ(8, it.getPositionIndex(0));
    it.seek(0);
    EXPECT_EQ(0, it.getPositionIndex(0));
}

TEST(LineIterator, GivenLines_VisitsEach) {
    EXPECT_EQ((Parts{{0, 1}, {2, 3}}), linesOfRow(GL_LINES, 4));
    EXPECT_EQ((Parts{{0, 1}, {1, 2}}), linesOfRow(GL_LINE_STRIP, 3));
    EXPECT_EQ((Parts{{0, 1}, {1, 2}, {2, 0}}), linesOfRow(GL_LINE_LOOP, 3));
    EXPECT_TRUE(linesOfRow(GL_LINE_LOOP, 1).empty());
    EXPECT_TRUE(linesOfRow(GL_TRIANGLES, 6).empty());
}

TEST(EdgeIterator, GivenLines_TakesStripsAndLoopsAsAWhole) {
    EXPECT_EQ((Parts{{0, 1}, {2, 3}}), edgesOfRow(GL_LINES, 4));
    EXPECT_EQ((Parts{{0, 1, 2}}), edgesOfRow(GL_LINE_STRIP, 3));
    EXPECT_EQ((Parts{{0, 1, 2, 3}}), edgesOfRow(GL_LINE_LOOP, 4));
    EXPECT_TRUE(edgesOfRow(GL_LINE_STRIP, 1).empty());
    EXPECT_TRUE(edgesOfRow(GL_QUADS, 4).empty());
}
