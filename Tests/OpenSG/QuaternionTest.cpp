// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests rotations from axes, matrices, directions and Euler angles, their products and interpolation.
#include <gtest/gtest.h>
#include <OpenSG/OSGQuaternion.h>

using namespace osg;

namespace {

Vec3f turned(const Quaternion& rotation, const Vec3f& vec) {
    Matrix matrix;
    rotation.getValue(matrix);
    Vec3f result;
    matrix.multMatrixVec(vec, result);
    return result;
}

} // namespace

TEST(Quaternion, GivenAxisAndAngle_TurnsCounterClockwise) {
    EXPECT_EQ(Vec3f(0, 1, 0), turned(Quaternion(Vec3f(0, 0, 5), Pi / 2), Vec3f(1, 0, 0)));
    Quaternion degrees;
    degrees.setValueAsAxisDeg(1, 0, 0, 90);
    EXPECT_EQ(Vec3f(0, 0, 1), turned(degrees, Vec3f(0, 1, 0)));
    EXPECT_EQ(Quaternion(), Quaternion(Vec3f(0, 0, 0), 1.0f)) << "no axis, no rotation";
}

TEST(Quaternion, GivenMatrix_FindsItsRotation) {
    // Angles near half a turn around each axis: each component is the largest once.
    const Vec3f axes[] = {Vec3f(1, 0.1f, 0.2f), Vec3f(0.1f, 1, 0), Vec3f(0, 0.2f, 1), Vec3f(1, 1, 1)};
    for (const Vec3f& axis : axes)
        for (const Real32 angle : {0.1f, 1.0f, 3.1f}) {
            const Quaternion rotation(axis, angle);
            Matrix matrix;
            rotation.getValue(matrix);
            EXPECT_TRUE(Quaternion(matrix).equals(rotation, 1e-4f)) << rotation << " and " << Quaternion(matrix);
        }
}

TEST(Quaternion, GivenTwoDirections_TurnsOneIntoTheOther) {
    const Quaternion rotation(Vec3f(3, 0, 0), Vec3f(1, 2, 0));
    Vec3f to(1, 2, 0);
    to.normalize();
    EXPECT_EQ(to, turned(rotation, Vec3f(1, 0, 0)));
    EXPECT_EQ(Vec3f(-1, 0, 0), turned(Quaternion(Vec3f(1, 0, 0), Vec3f(-1, 0, 0)), Vec3f(1, 0, 0)));
    EXPECT_EQ(Vec3f(0, -1, 0), turned(Quaternion(Vec3f(0, 1, 0), Vec3f(0, -1, 0)), Vec3f(0, 1, 0)));
    EXPECT_EQ(Quaternion(), Quaternion(Vec3f(1, 2, 3), Vec3f(2, 4, 6)));
}

TEST(Quaternion, GivenProduct_TurnsByTheSecondFirst) {
    const Quaternion aroundX(Vec3f(1, 0, 0), Pi / 2), aroundZ(Vec3f(0, 0, 1), Pi / 2);
    Quaternion product = aroundX;
    product.mult(aroundZ);
    EXPECT_EQ(turned(aroundX, turned(aroundZ, Vec3f(1, 0, 0))), turned(product, Vec3f(1, 0, 0)));
    Quaternion left = aroundZ;
    left.multLeft(aroundX);
    EXPECT_EQ(product, left);
    product.mult(product.inverse());
    EXPECT_EQ(Quaternion(), product);
}

TEST(Quaternion, GivenEulerAngles_TurnsAroundXThenYThenZ) {
    Quaternion rotation, expected(Vec3f(0, 0, 1), 0.3f);
    rotation.setValue(0.1f, 0.2f, 0.3f);
    expected.mult(Quaternion(Vec3f(0, 1, 0), 0.2f));
    expected.mult(Quaternion(Vec3f(1, 0, 0), 0.1f));
    EXPECT_EQ(expected, rotation);
}

TEST(Quaternion, GivenAngle_IsReadBackInRadiansAndDegrees) {
    const Quaternion rotation(Vec3f(0, 3, 4), 1.2f);
    Vec3f axis;
    Real32 angle = 0;
    rotation.getValueAsAxisRad(axis, angle);
    EXPECT_EQ(Vec3f(0, 0.6f, 0.8f), axis);
    EXPECT_NEAR(1.2f, angle, 1e-5f);
    rotation.getValueAsAxisDeg(axis, angle);
    EXPECT_NEAR(68.7549f, angle, 1e-3f);
}

TEST(Quaternion, GivenTwoRotations_SlerpGoesTheShorterWay) {
    const Quaternion from(Vec3f(0, 0, 1), 0.0f), to(Vec3f(0, 0, 1), 1.0f);
    EXPECT_TRUE(Quaternion::slerp(from, to, 0.25f).equals(Quaternion(Vec3f(0, 0, 1), 0.25f), 1e-5f));
    Quaternion same;
    same.setValueAsQuat(-to[0], -to[1], -to[2], -to[3]);
    EXPECT_TRUE(Quaternion::slerp(from, same, 0.25f).equals(Quaternion(Vec3f(0, 0, 1), 0.25f), 1e-5f));
    EXPECT_EQ(to, Quaternion::slerp(to, to, 0.5f));
}
