// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our numbers have: products as operators and by other names, vectors as bytes, bounds of volumes.
#include <gtest/gtest.h>
#include <OpenSG/OSGDynamicVolume.h>
#include <OpenSG/OSGMatrix.h>
#include <type_traits>

using namespace osg;

TEST(OwnMatrix, GivenOperators_MovePointsAndLeaveVectors) {
    Matrix m;
    m.setTranslate(10, 20, 30);
    EXPECT_EQ(Pnt3f(11, 22, 33), m * Pnt3f(1, 2, 3));
    EXPECT_EQ(Vec3f(1, 2, 3), m * Vec3f(1, 2, 3));
    Pnt3f point(1, 2, 3);
    m.mult(point, point);
    EXPECT_EQ(Pnt3f(11, 22, 33), point) << "source and destination may be the same";
    Vec3f vec;
    m.mult3x3(Vec3f(1, 2, 3), vec);
    EXPECT_EQ(Vec3f(1, 2, 3), vec);
}

TEST(OwnMatrix, GivenPerspective_MultFullDividesByW) {
    const Matrix m(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0);
    Pnt3f result;
    m.multFull(Pnt3f(1, 2, 4), result);
    EXPECT_EQ(Pnt3f(0.5f, 1, 2), result);
}

TEST(OwnVector, GivenVector_MayBeCopiedAsBytes) {
    static_assert(std::is_trivially_copyable<Vec4f>::value, "may be copied as bytes");
}

TEST(OwnDynamicVolume, GivenBounds_IsNotEmpty) {
    DynamicVolume volume;
    volume.setEmpty(true);
    volume.setBounds(Pnt3f(0, 0, 0), Pnt3f(1, 2, 3));
    EXPECT_FALSE(volume.isEmpty());
    EXPECT_TRUE(volume.isValid());
}
