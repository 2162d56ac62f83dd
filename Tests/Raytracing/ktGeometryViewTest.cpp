// SPDX-License-Identifier: LGPL-2.1-or-later
// Reading triangles from geometries with any primitive types, indices and positions.
#include "ktGeometryView.h"
#include "ktCancelPoint.h"
#include "ktTriangleScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <OpenSG/OSGTriangleIterator.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Primitive {
    osg::UInt32 type, length;
};

// A geometry of `positionCount` scattered positions.
template <class Indices = osg::GeoIndicesUI32, class Lengths = osg::GeoPLengthsUI32>
osg::GeometryRefPtr makeGeometry(const std::vector<Primitive>& primitives, osg::UInt32 positionCount,
                                 const std::vector<osg::UInt32>& indices = {}) {
    const osg::GeometryRefPtr geometry(osg::Geometry::create());
    const auto types = osg::GeoPTypesUI8::create();
    const auto lengths = Lengths::create();
    const auto positions = osg::GeoPositions3f::create();
    for (const Primitive& primitive : primitives) {
        types->addValue(primitive.type);
        lengths->addValue(primitive.length);
    }
    for (osg::UInt32 i = 0; i < positionCount; ++i)
        positions->addValue(osg::Pnt3f(osg::Real32(i), osg::Real32(i * i % 7), osg::Real32(i * i % 5)));
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setPositions(positions);
    if (!indices.empty()) {
        const auto property = Indices::create();
        for (osg::UInt32 index : indices)
            property->addValue(index);
        geometry->setIndices(property);
    }
    return geometry;
}

std::vector<std::uint32_t> read(const osg::GeometryRefPtr& geometry, std::uint64_t* bad = nullptr) {
    std::uint64_t count = 0;
    const auto triangles = ktReadTriangles(ktViewGeometry(geometry.get()), count);
    if (bad)
        *bad = count;
    return triangles;
}

// The same triangles, read by the scene graph's iterator.
std::vector<std::uint32_t> iterate(const osg::GeometryRefPtr& geometry) {
    std::vector<std::uint32_t> triangles;
    for (osg::TriangleIterator i = geometry->beginTriangles(); i != geometry->endTriangles(); ++i)
        for (osg::Int32 corner = 0; corner < 3; ++corner)
            triangles.push_back(std::uint32_t(i.getPositionIndex(corner)));
    return triangles;
}

} // namespace

TEST(GeometryView, GivenEachPrimitiveType_ReadsItsTriangles) {
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLES, 7}}, 7)), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLE_STRIP, 5}}, 5)), ElementsAre(0, 1, 2, 2, 1, 3, 2, 3, 4));
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLE_FAN, 5}}, 5)), ElementsAre(0, 1, 2, 0, 2, 3, 0, 3, 4));
    EXPECT_THAT(read(makeGeometry({{GL_POLYGON, 4}}, 4)), ElementsAre(0, 1, 2, 0, 2, 3));
    EXPECT_THAT(read(makeGeometry({{GL_QUADS, 9}}, 9)), ElementsAre(0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7));
    EXPECT_THAT(read(makeGeometry({{GL_QUAD_STRIP, 5}}, 5)), ElementsAre(0, 1, 2, 2, 1, 3));
    for (osg::UInt32 type : {GL_POINTS, GL_LINES, GL_LINE_LOOP, GL_LINE_STRIP, 77})
        EXPECT_THAT(read(makeGeometry({{type, 6}}, 6)), IsEmpty());
}

TEST(GeometryView, GivenMixedPrimitives_AgreesWithTheTriangleIterator) {
    const std::vector<Primitive> primitives{{GL_TRIANGLE_STRIP, 6}, {GL_LINES, 2},        {GL_QUADS, 8},
                                            {GL_TRIANGLES, 6},      {GL_TRIANGLE_FAN, 5}, {GL_QUAD_STRIP, 6},
                                            {GL_POLYGON, 5},        {GL_TRIANGLES, 2}};
    std::vector<osg::UInt32> indices;
    for (osg::UInt32 i = 0; i < 40; ++i)
        indices.push_back(i * 7 % 40);
    const auto plain = makeGeometry(primitives, 40);
    EXPECT_EQ(read(plain), iterate(plain));
    EXPECT_EQ(read(plain).size(), 3u * (4 + 4 + 2 + 3 + 4 + 3));
    const auto indexed = makeGeometry(primitives, 40, indices);
    EXPECT_EQ(read(indexed), iterate(indexed));
    const auto narrow = makeGeometry<osg::GeoIndicesUI16, osg::GeoPLengthsUI16>(primitives, 40, indices);
    EXPECT_EQ(read(narrow), iterate(indexed));
    const auto narrowest = makeGeometry<osg::GeoIndicesUI16, osg::GeoPLengthsUI8>(primitives, 40, indices);
    EXPECT_EQ(read(narrowest), iterate(indexed));
}

TEST(GeometryView, GivenSeveralIndicesPerVertex_TakesThePositionIndex) {
    const auto geometry = makeGeometry({{GL_TRIANGLES, 3}}, 9, {0, 5, 1, 6, 2, 7});
    geometry->getMFIndexMapping()->push_back(osg::Geometry::MapNormal);
    geometry->getMFIndexMapping()->push_back(osg::Geometry::MapPosition);
    EXPECT_THAT(read(geometry), ElementsAre(5, 6, 7));
    EXPECT_EQ(read(geometry), iterate(geometry));
}

TEST(GeometryView, GivenStripsJoinedByDegenerates_SkipsThem) {
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLE_STRIP, 8}}, 6, {0, 1, 2, 2, 3, 3, 4, 5})),
                ElementsAre(0, 1, 2, 4, 3, 5));
}

TEST(GeometryView, GivenBadIndicesOrPositions_CountsTheTriangles) {
    std::uint64_t bad = 0;
    const auto geometry = makeGeometry({{GL_TRIANGLES, 12}}, 6, {0, 1, 2, 0, 1, 6, 3, 4, 5, 4000000000u, 1, 2});
    geometry->getPositions()->setValue(osg::Pnt3f(std::numeric_limits<float>::quiet_NaN(), 0, 0), 4);
    EXPECT_THAT(read(geometry, &bad), ElementsAre(0, 1, 2));
    EXPECT_EQ(bad, 3u);
}

TEST(GeometryView, GivenWrongLengths_StaysInsideTheVertices) {
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLES, 300}}, 4)), ElementsAre(0, 1, 2));
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLES, 4}, {GL_TRIANGLES, 4000000000u}}, 8)), ElementsAre(0, 1, 2, 4, 5, 6));
    const auto tooFew = makeGeometry({{GL_TRIANGLES, 3}, {GL_TRIANGLES, 3}}, 6);
    tooFew->getLengths()->resize(1);
    EXPECT_THAT(read(tooFew), ElementsAre(0, 1, 2));
    tooFew->setLengths(osg::NullFC);
    EXPECT_THAT(read(tooFew), ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(GeometryView, GivenMissingProperties_HasNoTriangles) {
    EXPECT_THAT(read(osg::GeometryRefPtr()), IsEmpty());
    EXPECT_THAT(read(osg::GeometryRefPtr(osg::Geometry::create())), IsEmpty());
    const auto geometry = makeGeometry({{GL_TRIANGLES, 3}}, 3);
    geometry->setTypes(osg::NullFC);
    EXPECT_THAT(read(geometry), IsEmpty());
    EXPECT_THAT(read(makeGeometry({{GL_TRIANGLES, 3}}, 0, {0, 1, 2})), IsEmpty());
    EXPECT_THAT(read(makeGeometry({}, 3)), IsEmpty());
}

TEST(GeometryView, GivenPositionsOfAnotherType_ConvertsThem) {
    const auto geometry = makeGeometry({{GL_TRIANGLES, 3}}, 3);
    const auto positions = osg::GeoPositions3d::create();
    for (int i = 0; i < 3; ++i)
        positions->addValue(osg::Pnt3f(osg::Real32(i), 2, 3));
    geometry->setPositions(positions);
    const ktGeometryView view = ktViewGeometry(geometry.get());
    ASSERT_EQ(view.positionCount, 3u);
    EXPECT_EQ(view.positions()[3], 1.0f);
    EXPECT_EQ(view.positions()[8], 3.0f);
    EXPECT_THAT(read(geometry), ElementsAre(0, 1, 2));
}

TEST(GeometryView, GivenCancel_Stops) {
    const ktTestLog log;
    const auto geometry = makeGeometry({{GL_TRIANGLE_STRIP, 300000}}, 300000);
    ktCancelToken::the().cancel();
    EXPECT_THROW(read(geometry), ktCanceled);
}
