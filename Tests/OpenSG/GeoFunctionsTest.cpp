// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the conversion of geometry to unshared properties and single indices, and primitive counts.
#include "ByLibrary.h"
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGTriangleIterator.h>

using namespace osg;

namespace {

/// Two triangles over four positions, with one normal per triangle: indices position, normal.
GeometryPtr makeInterleaved() {
    const GeometryPtr geometry = Geometry::create();
    geometry->setPositions(makePositions({Pnt3f(0, 0, 0), Pnt3f(1, 0, 0), Pnt3f(1, 1, 0), Pnt3f(0, 1, 0)}));
    geometry->setNormals(makeNormals({Vec3f(0, 0, 1), Vec3f(0, 1, 0)}));
    geometry->setTypes(makeTypes({GL_TRIANGLES}));
    geometry->setLengths(makeLengths({6}));
    geometry->setIndices(makeIndices({0, 0, 1, 0, 2, 0, 0, 1, 2, 1, 3, 1}));
    setMapping(geometry, {Geometry::MapPosition, Geometry::MapNormal});
    return geometry;
}

/// Positions and normals of the corners of all triangles.
std::vector<std::pair<Pnt3f, Vec3f>> cornersOf(const GeometryPtr& geometry) {
    std::vector<std::pair<Pnt3f, Vec3f>> corners;
    for (TriangleIterator it = geometry->beginTriangles(); !it.isAtEnd(); ++it)
        for (Int32 i = 0; i < 3; ++i)
            corners.emplace_back(it.getPosition(i), it.getNormal(i));
    return corners;
}

} // namespace

TEST(SeparateProperties, GivenSharedProperties_CopiesThemForThisGeometry) {
    const GeometryRefPtr a(makeInterleaved()), b(Geometry::create());
    b->setPositions(a->getPositions());
    b->setIndices(a->getIndices());
    const GeoNormalsPtr normals = a->getNormals();
    const RefPtr<GeoPTypesPtr> referenced(a->getTypes());
    separateProperties(a);
    EXPECT_TRUE(a->getPositions() != b->getPositions());
    EXPECT_TRUE(a->getIndices() != b->getIndices());
    EXPECT_EQ(12u, a->getIndices()->size());
    EXPECT_EQ(Pnt3f(1, 1, 0), a->getPositions()->getValue(2));
    EXPECT_EQ(1u, b->getPositions()->getParents().size());
    EXPECT_TRUE(a->getNormals() == normals) << "has no other parent";
    EXPECT_TRUE(a->getTypes() == referenced.get()) << "a reference without a parent does not count as sharing";
}

TEST(SeparateProperties, GivenOnePropertyInTwoChannels_SeparatesTheChannels) {
    const GeometryRefPtr geometry(makeInterleaved());
    const GeoTexCoords4fPtr property = GeoTexCoords4f::create();
    geometry->setTexCoords5(property);
    geometry->setTexCoords7(property);
    separateProperties(geometry);
    EXPECT_TRUE(geometry->getTexCoords5() != geometry->getTexCoords7());
    EXPECT_TRUE(GeoTexCoords4fPtr::dcast(geometry->getTexCoords5()) != NullFC);
}

TEST(CreateSingleIndex, GivenInterleavedIndices_MakesAVertexOfEachCombination) {
    const GeometryRefPtr geometry(makeInterleaved());
    const auto corners = cornersOf(geometry);
    EXPECT_EQ(6, createSingleIndex(geometry));
    EXPECT_EQ(6u, geometry->getPositions()->size());
    EXPECT_EQ(6u, geometry->getNormals()->size());
    EXPECT_EQ(6u, geometry->getIndices()->size());
    ASSERT_EQ(1u, geometry->getIndexMapping().size());
    EXPECT_EQ(Geometry::MapPosition | Geometry::MapNormal, geometry->getIndexMapping(0));
    EXPECT_EQ(corners, cornersOf(geometry));
    for (UInt32 i = 0; i < 6; ++i)
        EXPECT_EQ(i, geometry->getIndices()->getValue(i)) << "in order of first appearance";
}

TEST(CreateSingleIndex, GivenRepeatedCombinations_SharesTheirVertex) {
    const GeometryRefPtr geometry(makeInterleaved());
    geometry->setIndices(makeIndices({0, 0, 1, 0, 2, 0, 0, 0, 2, 0, 3, 0}));
    const auto corners = cornersOf(geometry);
    EXPECT_EQ(4, createSingleIndex(geometry));
    EXPECT_EQ(4u, geometry->getPositions()->size());
    const UInt32 expected[] = {0, 1, 2, 0, 2, 3};
    for (UInt32 i = 0; i < 6; ++i)
        EXPECT_EQ(expected[i], geometry->getIndices()->getValue(i));
    EXPECT_EQ(corners, cornersOf(geometry));
}

TEST(CreateSingleIndex, GivenUnmappedChannel_LeavesIt) {
    const GeometryRefPtr geometry(makeInterleaved());
    const GeoTexCoords4fPtr channel = GeoTexCoords4f::create();
    channel->resize(3);
    geometry->setTexCoords7(channel);
    EXPECT_EQ(6, createSingleIndex(geometry));
    EXPECT_EQ(3u, channel->size());
    EXPECT_EQ(0, geometry->getIndexMapping(0) & Geometry::MapTexCoords7);
}

TEST(CreateSingleIndex, GivenSharedPropertiesOfAnotherGeometry_LeavesThose) {
    const GeometryRefPtr a(makeInterleaved()), b(Geometry::create());
    b->setPositions(a->getPositions());
    b->setIndices(a->getIndices());
    EXPECT_EQ(6, createSingleIndex(a));
    // OpenSG 1.8 writes into the shared properties.
    EXPECT_EQ(byLibrary(4u, 6u), b->getPositions()->size());
    EXPECT_EQ(byLibrary(12u, 6u), b->getIndices()->size());
    EXPECT_EQ(6u, a->getPositions()->size());
}

TEST(CreateSingleIndex, GivenNoIndices_NumbersTheVertices) {
    const GeometryRefPtr geometry(makeRow(GL_TRIANGLES, 6));
    EXPECT_EQ(0, createSingleIndex(geometry));
    ASSERT_EQ(!isOpenSG18, geometry->getIndices() != NullFC);
    if (!isOpenSG18) {
        EXPECT_EQ(6u, geometry->getIndices()->size());
        EXPECT_EQ(5u, geometry->getIndices()->getValue(5));
    }
    EXPECT_EQ(0u, geometry->getIndexMapping().size());
}

TEST(CreateSingleIndex, GivenSmallIndexType_IsKeptWhileItIsLargeEnough) {
    const GeometryRefPtr geometry(makeInterleaved());
    const GeoIndicesUI16Ptr small = GeoIndicesUI16::create();
    for (UInt32 i = 0; i < 12; ++i)
        small->push_back(geometry->getIndices()->getValue(i));
    geometry->setIndices(small);
    EXPECT_EQ(6, createSingleIndex(geometry));
    EXPECT_TRUE(geometry->getIndices() == small);
}

TEST(CreateSingleIndex, GivenMoreVerticesThanTheIndexTypeCounts_TakesALargerOne) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 300));
    GeoNormalsPtr normals = makeNormals(std::vector<Vec3f>(300));
    geometry->setNormals(normals);
    const GeoIndicesUI16Ptr small = GeoIndicesUI16::create();
    for (UInt32 i = 0; i < 300; ++i)
        for (UInt32 j = 0; j < 300; ++j) {
            small->push_back(i);
            small->push_back(j);
        }
    geometry->setIndices(small);
    geometry->setLengths(makeLengths({90000}));
    setMapping(geometry, {Geometry::MapPosition, Geometry::MapNormal});
    EXPECT_EQ(90000, createSingleIndex(geometry));
    EXPECT_EQ(!isOpenSG18, GeoIndicesUI32Ptr::dcast(geometry->getIndices()) != NullFC);
    EXPECT_EQ(byLibrary(89999u, 89999u & 0xffffu), geometry->getIndices()->getValue(89999));
    EXPECT_EQ(Pnt3f(299, 0, 0), geometry->getPositions()->getValue(89999));
}

TEST(CreateSingleIndex, GivenNothing_Refuses) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(byLibrary(-1, 0), createSingleIndex(NullFC));
    const GeometryRefPtr empty(Geometry::create());
    EXPECT_EQ(byLibrary(-1, 0), createSingleIndex(empty));
    testing::internal::GetCapturedStderr();
}

TEST(CalcPrimitiveCount, GivenAllTypes_CountsTheirParts) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 60));
    geometry->setTypes(makeTypes({GL_POINTS, GL_LINES, GL_LINE_LOOP, GL_LINE_STRIP, GL_TRIANGLES, GL_TRIANGLE_STRIP,
                                  GL_TRIANGLE_FAN, GL_QUADS, GL_QUAD_STRIP, GL_POLYGON}));
    geometry->setLengths(makeLengths({5, 5, 5, 5, 7, 5, 5, 9, 7, 5}));
    UInt32 triangles = 0, lines = 0, points = 0;
    // OpenSG 1.8 takes an incomplete pair of a quad strip, and its iterator also takes what is left of triangles and
    // quads.
    const UInt32 expected = byLibrary(2u + 3u + 3u + 4u + 4u + 3u, 2u + 3u + 3u + 4u + 5u + 3u);
    EXPECT_EQ(16u + expected, calcPrimitiveCount(geometry, triangles, lines, points));
    EXPECT_EQ(5u, points);
    EXPECT_EQ(2u + 5u + 4u, lines);
    EXPECT_EQ(expected, triangles);
    UInt32 visited = 0;
    for (TriangleIterator it = geometry->beginTriangles(); !it.isAtEnd(); ++it)
        ++visited;
    EXPECT_EQ(byLibrary(triangles, triangles + 2), visited);
    EXPECT_EQ(0u, calcPrimitiveCount(NullFC, triangles, lines, points));
}
