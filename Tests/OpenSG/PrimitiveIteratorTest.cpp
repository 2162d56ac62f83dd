// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the iteration over primitives with all kinds of indices.
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>

using namespace osg;

TEST(PrimitiveIterator, GivenSeveralPrimitives_VisitsEach) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 9));
    geometry->setTypes(makeTypes({GL_TRIANGLES, GL_LINES, GL_POINTS}));
    geometry->setLengths(makeLengths({3, 2, 4}));
    PrimitiveIterator it = geometry->beginPrimitives();
    EXPECT_EQ(UInt32(GL_TRIANGLES), it.getType());
    EXPECT_EQ(3u, it.getLength());
    EXPECT_EQ(2, it.getPositionIndex(2));
    ++it;
    EXPECT_EQ(1, it.getIndex());
    EXPECT_EQ(UInt32(GL_LINES), it.getType());
    EXPECT_EQ(Pnt3f(4, 0, 0), it.getPosition(1));
    ++it;
    EXPECT_EQ(4u, it.getLength());
    EXPECT_EQ(5, it.getPositionIndex(0));
    EXPECT_TRUE(it != geometry->endPrimitives());
    ++it;
    EXPECT_TRUE(it == geometry->endPrimitives());
    EXPECT_TRUE(it.isAtEnd());
    ++it;
    EXPECT_TRUE(it.isAtEnd());
}

TEST(PrimitiveIterator, GivenNoLengths_TakesAllVertices) {
    const GeometryRefPtr geometry(makeRow(GL_LINE_STRIP, 5));
    geometry->setLengths(NullFC);
    EXPECT_EQ(5u, geometry->beginPrimitives().getLength());
    geometry->setIndices(makeIndices({0, 1, 2, 3, 4, 0}));
    EXPECT_EQ(6u, geometry->beginPrimitives().getLength());
    geometry->getIndexMapping().push_back(Geometry::MapPosition);
    geometry->getIndexMapping().push_back(Geometry::MapNormal);
    EXPECT_EQ(3u, geometry->beginPrimitives().getLength());
}

TEST(PrimitiveIterator, GivenSingleIndex_PicksEveryProperty) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 3));
    geometry->setNormals(makeNormals({Vec3f(1, 0, 0), Vec3f(0, 1, 0), Vec3f(0, 0, 1)}));
    geometry->setIndices(makeIndices({2, 0, 1}));
    PrimitiveIterator it = geometry->beginPrimitives();
    EXPECT_EQ(Pnt3f(2, 0, 0), it.getPosition(0));
    EXPECT_EQ(Vec3f(0, 0, 1), it.getNormal(0));
    EXPECT_EQ(1, it.getIndexIndex(1));
    EXPECT_EQ(-1, GeometryRefPtr(makeRow(GL_TRIANGLES, 3))->beginPrimitives().getIndexIndex(1)) << "without indices";
    EXPECT_EQ(-1, it.getColorIndex(0)) << "no such property";
    EXPECT_EQ(Color3f(0, 0, 0), it.getColor(0));
    EXPECT_EQ(Vec2f(0, 0), it.getTexCoords7(0));
}

TEST(PrimitiveIterator, GivenInterleavedIndices_EachPropertyTakesItsOwn) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 6));
    geometry->setNormals(makeNormals({Vec3f(1, 0, 0), Vec3f(0, 1, 0)}));
    const GeoTexCoords2fPtr texCoords = GeoTexCoords2f::create();
    texCoords->push_back(Vec2f(7, 0));
    texCoords->push_back(Vec2f(8, 0));
    texCoords->push_back(Vec2f(9, 0));
    geometry->setTexCoords3(texCoords);
    geometry->setLengths(makeLengths({1, 3}));
    geometry->setTypes(makeTypes({GL_POINTS, GL_TRIANGLES}));
    // Three indices per vertex: normal, position, texture coordinate.
    geometry->setIndices(makeIndices({1, 5, 2, /**/ 0, 4, 0, /**/ 1, 3, 1, /**/ 0, 2, 2}));
    setMapping(geometry, {Geometry::MapNormal, Geometry::MapPosition, Geometry::MapTexCoords3});
    PrimitiveIterator it = geometry->beginPrimitives();
    EXPECT_EQ(5, it.getPositionIndex(0));
    EXPECT_EQ(1, it.getNormalIndex(0));
    ++it;
    EXPECT_EQ(4, it.getPositionIndex(0));
    EXPECT_EQ(2, it.getPositionIndex(2));
    EXPECT_EQ(Vec3f(0, 1, 0), it.getNormal(1));
    EXPECT_EQ(Vec2f(9, 0), it.getTexCoords3(2));
    EXPECT_EQ(2, it.getTexCoordsIndex3(2));
    EXPECT_EQ(6, it.getIndexIndex(1));
}

TEST(PrimitiveIterator, GivenNothingToVisit_IsAtEnd) {
    EXPECT_TRUE(PrimitiveIterator().isAtEnd());
    const GeometryRefPtr empty(Geometry::create());
    EXPECT_TRUE(PrimitiveIterator(empty.get()).isAtEnd());
    EXPECT_TRUE(empty->beginPrimitives() == empty->endPrimitives());
    const NodeRefPtr group(makeNodeFor(Group::create()));
    EXPECT_TRUE(PrimitiveIterator(group.get()).isAtEnd());
    const NodeRefPtr node(makeNodeFor(makeRow(GL_POINTS, 2)));
    EXPECT_EQ(2u, PrimitiveIterator(node.get()).getLength());
}

TEST(PrimitiveIterator, GivenSeek_GoesToThePrimitive) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 6));
    geometry->setTypes(makeTypes({GL_POINTS, GL_POINTS, GL_POINTS}));
    geometry->setLengths(makeLengths({1, 2, 3}));
    PrimitiveIterator it = geometry->beginPrimitives();
    it.seek(2);
    EXPECT_EQ(3, it.getPositionIndex(0));
    EXPECT_TRUE(geometry->beginPrimitives() < it);
    it.seek(0);
    EXPECT_EQ(0, it.getPositionIndex(0));
    it.seek(9);
    EXPECT_TRUE(it.isAtEnd());
}
