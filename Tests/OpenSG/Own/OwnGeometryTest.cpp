// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our geometry has: copies of shared properties, masks of fields, the primitive of a triangle.
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGTriangleIterator.h>

using namespace osg;

TEST(OwnGeometry, GivenReferencedProperties_UnshareCopiesThoseOfVertices) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 3));
    const RefPtr<GeoPositionsPtr> positions(geometry->getPositions());
    const RefPtr<GeoPTypesPtr> types(geometry->getTypes());
    const GeoNormalsPtr normals = makeNormals({Vec3f(0, 0, 1)});
    geometry->setNormals(normals);
    geometry->unshareProperties();
    EXPECT_TRUE(geometry->getPositions() != positions.get());
    EXPECT_EQ(Pnt3f(1, 0, 0), geometry->getPositions()->getValue(1));
    EXPECT_TRUE(geometry->getNormals() == normals) << "not shared";
    EXPECT_TRUE(geometry->getTypes() == types.get()) << "not a vertex property";
}

TEST(OwnGeometry, GivenProperty_TellsTheFieldsThatHoldIt) {
    const GeometryRefPtr geometry(Geometry::create());
    const GeoTexCoords4fPtr property = GeoTexCoords4f::create();
    geometry->setTexCoords7(property);
    EXPECT_EQ(Geometry::TexCoords7FieldMask, geometry->getFieldMaskOf(property));
    geometry->setTexCoords5(property);
    EXPECT_EQ(Geometry::TexCoords5FieldMask | Geometry::TexCoords7FieldMask, geometry->getFieldMaskOf(property));
    EXPECT_EQ(0u, geometry->getFieldMaskOf(GeoPositions3f::create()));
}

TEST(OwnGeometry, GivenTriangle_TellsItsPrimitive) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 12));
    geometry->setTypes(makeTypes({GL_LINES, GL_QUADS, GL_TRIANGLES}));
    geometry->setLengths(makeLengths({2, 4, 6}));
    TriangleIterator it = geometry->beginTriangles();
    EXPECT_EQ(1, it.getPrimitiveIndex());
    it.seek(3);
    EXPECT_EQ(2, it.getPrimitiveIndex());
}
