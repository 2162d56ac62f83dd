// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our geometry guarantees: nothing is read outside, and values are clamped.
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGFaceIterator.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTriangleIterator.h>

using namespace osg;

TEST(OwnPrimitiveIterator, GivenBrokenGeometry_StaysInside) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 4));
    geometry->setTypes(makeTypes({GL_TRIANGLES, GL_TRIANGLES, GL_TRIANGLES}));
    geometry->setLengths(makeLengths({3, 1000}));
    geometry->setIndices(makeIndices({0, 1, 77, 3, 2}));
    PrimitiveIterator it = geometry->beginPrimitives();
    EXPECT_EQ(-1, it.getPositionIndex(2)) << "index outside";
    EXPECT_EQ(Pnt3f(0, 0, 0), it.getPosition(2));
    ++it;
    EXPECT_EQ(2u, it.getLength()) << "cut short where the indices end";
    ++it;
    EXPECT_EQ(0u, it.getLength()) << "no length";
    ++it;
    EXPECT_TRUE(it.isAtEnd());
}

TEST(OwnPrimitiveIterator, GivenNodeWithoutGeometry_Warns) {
    testing::internal::CaptureStderr();
    const NodeRefPtr group(makeNodeFor(Group::create()));
    EXPECT_TRUE(PrimitiveIterator(group.get()).isAtEnd());
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("no geometry"));
}

TEST(OwnPartIterators, GivenNumberPastTheEnd_SeekGoesToTheEnd) {
    const GeometryRefPtr geometry(makeRow(GL_QUADS, 12));
    FaceIterator face = geometry->beginFaces();
    face.seek(77);
    EXPECT_TRUE(face == geometry->endFaces());
    TriangleIterator triangle = geometry->beginTriangles();
    triangle.seek(50);
    EXPECT_TRUE(triangle.isAtEnd());
}

TEST(OwnCreateSingleIndex, GivenIndexOutside_RefusesAndLeavesTheGeometry) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 4));
    geometry->setLengths(makeLengths({6}));
    geometry->setNormals(makeNormals({Vec3f(0, 0, 1), Vec3f(0, 1, 0)}));
    geometry->setIndices(makeIndices({0, 0, 1, 99, 2, 0, 0, 1, 2, 1, 3, 1}));
    setMapping(geometry, {Geometry::MapPosition, Geometry::MapNormal});
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, createSingleIndex(geometry));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("outside"));
    EXPECT_EQ(2u, geometry->getIndexMapping().size());
    EXPECT_EQ(4u, geometry->getPositions()->size());
    EXPECT_EQ(12u, geometry->getIndices()->size());
}

TEST(OwnGeoProperty, GivenValuesOutside_ClampsThem) {
    const RefPtr<GeoNormals3sPtr> shorts(GeoNormals3s::create());
    shorts->push_back(Vec3f(2, -1, 0.25f));
    EXPECT_EQ(32767, shorts->getField()[0][0]);
    const RefPtr<GeoColors4ubPtr> bytes(GeoColors4ub::create());
    bytes->push_back(Color3f(7, -1, 0));
    EXPECT_EQ(Color4ub(255, 0, 0, 255), bytes->getField()[0]);
}
