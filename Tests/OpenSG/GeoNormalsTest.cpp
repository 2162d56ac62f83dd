// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the computed vertex and face normals, with creases and degenerate triangles.
#include "ByLibrary.h"
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGTriangleIterator.h>

using namespace osg;

namespace {

/// Two squares that meet at a right angle along the y axis, and a point that no triangle uses.
GeometryPtr makeCorner() {
    const GeometryPtr geometry = Geometry::create();
    geometry->setPositions(makePositions({Pnt3f(0, 0, 0), Pnt3f(0, 1, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0),
                                          Pnt3f(0, 0, 1), Pnt3f(0, 1, 1), Pnt3f(9, 9, 9)}));
    geometry->setTypes(makeTypes({GL_QUADS, GL_POINTS}));
    geometry->setLengths(makeLengths({8, 1}));
    geometry->setIndices(makeIndices({0, 2, 3, 1, /**/ 0, 1, 5, 4, /**/ 6}));
    return geometry;
}

Vec3f unit(Vec3f v) {
    v.normalize();
    return v;
}

} // namespace

TEST(CalcVertexNormals, GivenCorner_AveragesTheTrianglesAround) {
    const GeometryRefPtr geometry(makeCorner());
    calcVertexNormals(geometry);
    const GeoNormals3fPtr normals = GeoNormals3fPtr::dcast(geometry->getNormals());
    ASSERT_TRUE(normals != NullFC);
    ASSERT_EQ(7u, normals->size());
    EXPECT_EQ(Vec3f(0, 0, 1), normals->getField()[2]);
    EXPECT_EQ(Vec3f(1, 0, 0), normals->getField()[4]);
    EXPECT_EQ(unit(Vec3f(1, 0, 1)), unit(normals->getField()[0])) << "two triangles on each side";
    EXPECT_EQ(Vec3f(0, 0, 0), normals->getField()[6]) << "no triangle there";
}

TEST(CalcVertexNormals, GivenMultiIndex_NormalsGoWithThePositions) {
    const GeometryRefPtr geometry(makeCorner());
    geometry->setIndices(makeIndices({0, 0, 2, 0, 3, 0, 1, 0, 0, 0, 1, 0, 5, 0, 4, 0, 6, 0}));
    geometry->setNormals(makeNormals({Vec3f(7, 7, 7)}));
    setMapping(geometry, {Geometry::MapPosition, UInt16(Geometry::MapNormal | Geometry::MapColor)});
    calcVertexNormals(geometry);
    EXPECT_EQ(Geometry::MapPosition | Geometry::MapNormal, geometry->getIndexMapping(0));
    EXPECT_EQ(Geometry::MapColor, geometry->getIndexMapping(1));
    EXPECT_EQ(7u, geometry->getNormals()->size());
    EXPECT_EQ(Vec3f(0, 0, 1), geometry->beginTriangles().getNormal(1));
}

TEST(CalcVertexNormals, GivenExistingProperty_WritesIntoItInItsType) {
    const GeometryRefPtr geometry(makeCorner());
    const GeoNormals3bPtr bytes = GeoNormals3b::create();
    geometry->setNormals(bytes);
    calcVertexNormals(geometry);
    EXPECT_TRUE(geometry->getNormals() == bytes);
    EXPECT_EQ(byLibrary(127, 126), bytes->getField()[2][2]);
}

TEST(CalcVertexNormals, GivenTinyAndDegenerateTriangles_GetsUnitOrZeroNormals) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 6));
    geometry->setPositions(makePositions(
        {Pnt3f(0, 0, 0), Pnt3f(1e-12f, 0, 0), Pnt3f(0, 1e-12f, 0), Pnt3f(1, 1, 1), Pnt3f(1, 1, 1), Pnt3f(2, 2, 2)}));
    calcVertexNormals(geometry);
    EXPECT_EQ(Vec3f(0, 0, byLibrary(1.0f, 0.0f)), geometry->getNormals()->getValue(0))
        << "OpenSG 1.8 does not stretch it";
    EXPECT_EQ(Vec3f(0, 0, 0), geometry->getNormals()->getValue(3));
}

TEST(CalcVertexNormals, GivenCreaseAngle_KeepsSharpEdgesSharp) {
    const GeometryRefPtr geometry(makeCorner());
    calcVertexNormals(geometry, Pi / 4);
    UInt32 triangles = 0;
    for (TriangleIterator it = geometry->beginTriangles(); !it.isAtEnd(); ++it, ++triangles)
        for (Int32 i = 0; i < 3; ++i)
            EXPECT_EQ(triangles < 2 ? Vec3f(0, 0, 1) : Vec3f(1, 0, 0), it.getNormal(i));
    EXPECT_EQ(4u, triangles);
    EXPECT_EQ(7u, geometry->getPositions()->size()) << "positions stay shared";
    PrimitiveIterator points = geometry->beginPrimitives();
    ++points;
    EXPECT_EQ(UInt32(GL_POINTS), points.getType());
    EXPECT_EQ(Pnt3f(9, 9, 9), points.getPosition(0));
    if (!isOpenSG18) { // which leaves a point an index after the last normal
        EXPECT_EQ(Vec3f(0, 0, 0), points.getNormal(0));
    }
}

TEST(CalcVertexNormals, GivenLargeCreaseAngle_SmoothsAcross) {
    for (const Real32 angle : {Pi * 0.6f, 4.0f}) {
        const GeometryRefPtr geometry(makeCorner());
        calcVertexNormals(geometry, angle);
        const TriangleIterator it = geometry->beginTriangles();
        EXPECT_EQ(unit(Vec3f(1, 0, 1)), unit(it.getNormal(0))) << angle;
        EXPECT_EQ(Vec3f(0, 0, 1), it.getNormal(1)) << angle;
    }
}

TEST(CalcFaceNormals, GivenStrip_EachTriangleHasItsOwn) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLE_STRIP, 4));
    geometry->setPositions(makePositions({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(0, 1, 0), Pnt3f(1, 0, 5)}));
    const GeoColors3fPtr colors = GeoColors3f::create();
    for (Int32 i = 0; i < 4; ++i)
        colors->push_back(Color3f(static_cast<Real32>(i), 0, 0));
    geometry->setColors(colors);
    calcFaceNormals(geometry);
    TriangleIterator it = geometry->beginTriangles();
    // OpenSG 1.8 gives a triangle's normal to its last vertex only.
    const Vec3f none(0, 0, 0), first(0, 0, 1), second = unit(Vec3f(-5, -5, 0));
    EXPECT_EQ(byLibrary(first, none), it.getNormal(0));
    EXPECT_EQ(byLibrary(first, none), it.getNormal(1));
    EXPECT_EQ(first, it.getNormal(2));
    ++it;
    EXPECT_EQ(byLibrary(second, first), it.getNormal(0)) << "the strip's orientation is kept";
    EXPECT_EQ(second, it.getNormal(2));
    EXPECT_EQ(Color3f(3, 0, 0), it.getColor(2)) << "other properties are kept";
    ++it;
    EXPECT_TRUE(it.isAtEnd());
}
