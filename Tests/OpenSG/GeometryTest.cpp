// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the properties, index mapping and copies of geometries.
#include "ByLibrary.h"
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGSimpleMaterial.h>

using namespace osg;

TEST(Geometry, GivenNewGeometry_HasNothing) {
    const GeometryRefPtr geometry(Geometry::create());
    EXPECT_TRUE(geometry->getPositions() == NullFC);
    EXPECT_TRUE(geometry->getTexCoords7() == NullFC);
    EXPECT_TRUE(geometry->getMaterial() == NullFC);
    EXPECT_EQ(0u, geometry->getMFIndexMapping()->size());
    EXPECT_STREQ("Geometry", geometry->getTypeName());
}

TEST(Geometry, GivenFieldMasks_AreDifferentBits) {
    const BitVector masks[] = {
        Geometry::MaterialFieldMask,        Geometry::TypesFieldMask,        Geometry::LengthsFieldMask,
        Geometry::PositionsFieldMask,       Geometry::NormalsFieldMask,      Geometry::ColorsFieldMask,
        Geometry::SecondaryColorsFieldMask, Geometry::TexCoordsFieldMask,    Geometry::TexCoords1FieldMask,
        Geometry::TexCoords2FieldMask,      Geometry::TexCoords3FieldMask,   Geometry::TexCoords4FieldMask,
        Geometry::TexCoords5FieldMask,      Geometry::TexCoords6FieldMask,   Geometry::TexCoords7FieldMask,
        Geometry::IndicesFieldMask,         Geometry::IndexMappingFieldMask, Geometry::AttachmentsFieldMask,
        Geometry::ParentsFieldMask};
    BitVector all = 0;
    for (const BitVector mask : masks) {
        EXPECT_NE(0u, mask);
        EXPECT_EQ(0u, mask & (mask - 1)) << "one bit";
        EXPECT_EQ(0u, all & mask) << "not used before";
        all |= mask;
    }
    EXPECT_EQ(Geometry::TexCoords7FieldMask, GeometryBase::TexCoords7FieldMask);
}

TEST(Geometry, GivenProperty_IsReferencedAndKnowsIt) {
    const GeoTexCoords4fPtr property = GeoTexCoords4f::create();
    const UInt32 id = property.getFieldContainerId();
    {
        const GeometryRefPtr a(Geometry::create()), b(Geometry::create());
        a->setTexCoords7(property);
        a->setTexCoords7(property);
        EXPECT_EQ(1, property.getRefCount());
        EXPECT_EQ(1u, property->getParents().size());
        a->setTexCoords5(property);
        EXPECT_EQ(2, property.getRefCount()) << "once per field";
        b->setTexCoords(property);
        EXPECT_EQ(3u, property->getParents().size());
        EXPECT_TRUE(a->getTexCoords5() == a->getTexCoords7());
        b->setTexCoords(NullFC);
        EXPECT_EQ(2, property.getRefCount());
        EXPECT_EQ(-1, property->findParent(b.get()));
    }
    EXPECT_TRUE(FieldContainerFactory::the()->getContainer(id) == NullFC);
}

TEST(Geometry, GivenReplacedProperty_ReleasesIt) {
    const GeometryRefPtr geometry(Geometry::create());
    const GeoPositionsPtr first = makePositions({Pnt3f(1, 2, 3)});
    const UInt32 id = first.getFieldContainerId();
    geometry->setPositions(first);
    geometry->setPositions(makePositions({}));
    EXPECT_TRUE(FieldContainerFactory::the()->getContainer(id) == NullFC);
}

TEST(Geometry, GivenAllChannels_KeepsThemApart) {
    const GeometryRefPtr g(Geometry::create());
    const GeoTexCoordsPtr p[8] = {GeoTexCoords2f::create(), GeoTexCoords2f::create(), GeoTexCoords2f::create(),
                                  GeoTexCoords2f::create(), GeoTexCoords2f::create(), GeoTexCoords2f::create(),
                                  GeoTexCoords2f::create(), GeoTexCoords2f::create()};
    g->setTexCoords(p[0]);
    g->setTexCoords1(p[1]);
    g->setTexCoords2(p[2]);
    g->setTexCoords3(p[3]);
    g->setTexCoords4(p[4]);
    g->setTexCoords5(p[5]);
    g->setTexCoords6(p[6]);
    g->setTexCoords7(p[7]);
    const GeoTexCoordsPtr got[8] = {g->getTexCoords(),  g->getTexCoords1(), g->getTexCoords2(), g->getTexCoords3(),
                                    g->getTexCoords4(), g->getTexCoords5(), g->getTexCoords6(), g->getTexCoords7()};
    for (UInt32 i = 0; i < 8; ++i) {
        EXPECT_TRUE(got[i] == p[i]) << i;
        EXPECT_EQ(&*p[i], g->getProperty(Geometry::MapTexCoords << i)) << i;
    }
    EXPECT_TRUE(g->getProperty(Geometry::MapPosition) == nullptr);
    EXPECT_TRUE(g->getProperty(0) == nullptr);
    EXPECT_TRUE(g->getProperty(Geometry::MapEmpty) == nullptr);
}

TEST(Geometry, GivenIndexMapping_FindsTheEntryOfAProperty) {
    const GeometryRefPtr geometry(Geometry::create());
    geometry->getMFIndexMapping()->push_back(Geometry::MapPosition | Geometry::MapTexCoords7);
    geometry->getMFIndexMapping()->push_back(Geometry::MapNormal);
    EXPECT_EQ(0, geometry->calcMappingIndex(Geometry::MapPosition));
    EXPECT_EQ(0, geometry->calcMappingIndex(Geometry::MapTexCoords7));
    EXPECT_EQ(1, geometry->calcMappingIndex(Geometry::MapNormal));
    EXPECT_EQ(-1, geometry->calcMappingIndex(Geometry::MapColor));
    geometry->getIndexMapping(1) |= Geometry::MapColor;
    EXPECT_EQ(1, geometry->calcMappingIndex(Geometry::MapColor));
    EXPECT_EQ(1 << 11, Geometry::MapTexCoords7);
}

TEST(Geometry, GivenClone_HasPropertiesOfItsOwn) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 3));
    geometry->setMaterial(SimpleMaterial::create());
    geometry->setTexCoords7(GeoTexCoords4f::create());
    geometry->getMFIndexMapping()->push_back(Geometry::MapPosition);
    setName(geometry.get(), "row");
    const GeometryRefPtr clone(geometry->clone());
    EXPECT_TRUE(clone->getPositions() != geometry->getPositions());
    EXPECT_EQ(Pnt3f(2, 0, 0), clone->getPositions()->getValue(2));
    EXPECT_TRUE(GeoTexCoords4fPtr::dcast(clone->getTexCoords7()) != NullFC);
    EXPECT_TRUE(clone->getMaterial() == geometry->getMaterial());
    EXPECT_EQ(1u, clone->getMFIndexMapping()->size());
    EXPECT_TRUE(getName(clone.get()) == nullptr);
}

TEST(Geometry, GivenShallowCopy_SharesTheProperties) {
    const GeometryRefPtr geometry(makeRow(GL_POINTS, 3));
    const FieldContainerRefPtr container(geometry->shallowCopy());
    const GeometryPtr copy = GeometryPtr::dcast(container.get());
    EXPECT_TRUE(copy->getPositions() == geometry->getPositions());
    EXPECT_EQ(byLibrary(2u, 1u), geometry->getPositions()->getParents().size());
    EXPECT_EQ(byLibrary(2, 1), geometry->getPositions().getRefCount());
    if (isOpenSG18) {
        // The copy releases references that it does not have.
        addRefCP(geometry->getPositions());
        addRefCP(geometry->getTypes());
        addRefCP(geometry->getLengths());
    }
}

TEST(Geometry, GivenPrimitiveCodes_HaveNames) {
    EXPECT_STREQ("Points", Geometry::mapType(GL_POINTS));
    EXPECT_STREQ("TriangleStrip", Geometry::mapType(GL_TRIANGLE_STRIP));
    EXPECT_STREQ("Polygon", Geometry::mapType(GL_POLYGON));
    EXPECT_STREQ("Unknown Primitive", Geometry::mapType(10));
}
