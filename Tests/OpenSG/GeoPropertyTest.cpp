// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests geometry properties as arrays, and the conversion between their value types.
#include "ByLibrary.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGGeometry.h>

using namespace osg;

namespace {

template <class PropertyT>
class GeoPropertyOfType : public testing::Test {};

typedef testing::Types<GeoPositions2s, GeoPositions3s, GeoPositions4s, GeoPositions2f, GeoPositions3f, GeoPositions4f,
                       GeoPositions2d, GeoPositions3d, GeoPositions4d, GeoNormals3f, GeoNormals3s, GeoNormals3b,
                       GeoColors3f, GeoColors4f, GeoColors3ub, GeoColors4ub, GeoTexCoords1f, GeoTexCoords2f,
                       GeoTexCoords3f, GeoTexCoords4f, GeoTexCoords1d, GeoTexCoords2d, GeoTexCoords3d, GeoTexCoords4d,
                       GeoIndicesUI32, GeoIndicesUI16, GeoPTypesUI8, GeoPLengthsUI32, GeoPLengthsUI16, GeoPLengthsUI8>
    AllProperties;
TYPED_TEST_SUITE(GeoPropertyOfType, AllProperties);

} // namespace

TYPED_TEST(GeoPropertyOfType, GivenValues_BehavesAsAnArray) {
    typedef typename TypeParam::StoredGenericType Generic;
    const RefPtr<typename TypeParam::PtrType> property(TypeParam::create());
    EXPECT_EQ(0u, property->size());
    property->push_back(Generic());
    property->addValue(Generic());
    property->resize(5);
    EXPECT_EQ(5u, property->getSize());
    EXPECT_TRUE(property->insertValue(Generic(), 5));
    EXPECT_FALSE(property->insertValue(Generic(), 7));
    EXPECT_EQ(6u, property->size());
    // OpenSG 1.8 says that the components of GeoColors3ub are floats.
    const bool isWrong = isOpenSG18 && std::is_same<TypeParam, GeoColors3ub>::value;
    EXPECT_EQ(isWrong ? 3 * sizeof(Real32) : sizeof(typename TypeParam::StoredType),
              property->getFormatSize() * property->getDimension());
    EXPECT_EQ(reinterpret_cast<UInt8*>(&property->getField()[0]), property->getData());
    EXPECT_TRUE(property->getType() == TypeParam::getClassType());
    EXPECT_TRUE(property->getType().isDerivedFrom(Attachment::getClassType()));
    property->clear();
    EXPECT_EQ(0u, property->size());
}

TYPED_TEST(GeoPropertyOfType, GivenClone_HasValuesOfItsOwn) {
    const RefPtr<typename TypeParam::PtrType> property(TypeParam::create());
    property->resize(3);
    const FieldContainerRefPtr container(property->clone());
    const typename TypeParam::PtrType copy = TypeParam::PtrType::dcast(container.get());
    ASSERT_TRUE(copy != NullFC);
    EXPECT_EQ(3u, copy->size());
    EXPECT_NE(property->getData(), copy->getData());
    EXPECT_EQ(0u, copy->getParents().size());
}

TEST(GeoProperty, GivenWrongType_DcastGivesNull) {
    const RefPtr<GeoTexCoords4fPtr> property(GeoTexCoords4f::create());
    const GeoTexCoordsPtr general = property.get();
    EXPECT_TRUE(GeoTexCoords4fPtr::dcast(general) == property.get());
    EXPECT_TRUE(GeoTexCoords2fPtr::dcast(general) == NullFC);
    EXPECT_TRUE(GeoTexCoords4fPtr::dcast(GeoTexCoordsPtr()) == NullFC);
    EXPECT_TRUE(GeoPositionsPtr::dcast(general) == NullFC);
}

TEST(GeoProperty, GivenGenericValues_ConvertsPositions) {
    const RefPtr<GeoPositionsPtr> flat(GeoPositions2f::create()), homogeneous(GeoPositions4d::create());
    flat->push_back(Pnt3f(1, 2, 3));
    EXPECT_EQ(Pnt3f(1, 2, 0), flat->getValue(0));
    homogeneous->push_back(Pnt3f(1, 2, 3));
    EXPECT_EQ(Pnt3f(1, 2, 3), homogeneous->getValue(0));
    EXPECT_DOUBLE_EQ(1.0, GeoPositions4dPtr::dcast(homogeneous.get())->getField()[0][3]);
}

TEST(GeoProperty, GivenGenericValues_ConvertsNormalsAsOpenGLDoes) {
    const RefPtr<GeoNormals3bPtr> bytes(GeoNormals3b::create());
    bytes->push_back(Vec3f(1, -1, 0.5f));
    EXPECT_EQ(127, bytes->getField()[0][0]);
    EXPECT_EQ(-128, bytes->getField()[0][1]);
    EXPECT_EQ(1.0f, bytes->getValue(0)[0]);
    EXPECT_EQ(-1.0f, bytes->getValue(0)[1]);
    EXPECT_NEAR(0.5f, bytes->getValue(0)[2], 0.5f / 127);
    const RefPtr<GeoNormals3sPtr> shorts(GeoNormals3s::create());
    shorts->push_back(Vec3f(1, -1, 0.25f));
    EXPECT_EQ(32767, shorts->getField()[0][0]);
    EXPECT_NEAR(0.25f, shorts->getValue(0)[2], 0.5f / 32767);
}

TEST(GeoProperty, GivenGenericValues_ConvertsColours) {
    const RefPtr<GeoColors4ubPtr> bytes(GeoColors4ub::create());
    bytes->push_back(Color3f(1, 0, 0.2f));
    EXPECT_EQ(Color4ub(255, 0, 51, 255), bytes->getField()[0]);
    EXPECT_EQ(Color3f(1, 0, 0.2f), bytes->getValue(0));
    const RefPtr<GeoColors4fPtr> floats(GeoColors4f::create());
    floats->push_back(Color3f(1, 2, 3));
    EXPECT_EQ(Color4f(1, 2, 3, 1), floats->getField()[0]);
}

TEST(GeoProperty, GivenGenericValues_ConvertsTexCoords) {
    const RefPtr<GeoTexCoords1fPtr> one(GeoTexCoords1f::create());
    one->push_back(Vec2f(5, 6));
    EXPECT_EQ(Vec2f(5, 0), one->getValue(0));
    const RefPtr<GeoTexCoords4fPtr> four(GeoTexCoords4f::create());
    four->push_back(Vec2f(5, 6));
    EXPECT_EQ(Vec4f(5, 6, 0, 0), four->getField()[0]);
    Vec2f value;
    four->getValue(value, 0);
    EXPECT_EQ(Vec2f(5, 6), value);
}

TEST(GeoProperty, GivenFormat_IsTheOpenGLCode) {
    const RefPtr<GeoColors3ubPtr> bytes(GeoColors3ub::create());
    EXPECT_EQ(UInt32(byLibrary(GL_UNSIGNED_BYTE, GL_FLOAT)), bytes->getFormat());
    EXPECT_EQ(byLibrary(1u, 4u), bytes->getFormatSize());
    EXPECT_EQ(3u, bytes->getDimension());
    const RefPtr<GeoPositions2dPtr> doubles(GeoPositions2d::create());
    EXPECT_EQ(UInt32(GL_DOUBLE), doubles->getFormat());
    EXPECT_EQ(2u, doubles->getDimension());
}
