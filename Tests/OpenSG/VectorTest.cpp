// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests memory layout, operators, tolerance and measures of vectors and points.
#include <gtest/gtest.h>
#include <OpenSG/OSGVector.h>

using namespace osg;

TEST(Vector, GivenArrayOfVectors_LiesWithoutGapsInMemory) {
    static_assert(sizeof(Vec3f) == 3 * sizeof(Real32) && sizeof(Pnt3f[2]) == 6 * sizeof(Real32), "no padding");
    const Vec4f vectors[2] = {Vec4f(1, 2, 3, 4), Vec4f(5, 6, 7, 8)};
    EXPECT_EQ(6.0f, vectors[0].getValues()[5]);
}

TEST(Vector, GivenFewerOrMoreComponents_FillsWithZerosOrDrops) {
    EXPECT_EQ(0.0f, Vec3f()[2]);
    EXPECT_EQ(Vec3f(5, 0, 0), Vec3f(5));
    EXPECT_EQ(Vec4f(1, 2, 3, 0), Vec4f(Vec3f(1, 2, 3)));
    EXPECT_EQ(Vec2f(1, 2), Vec2f(Vec3f(1, 2, 3)));
    EXPECT_EQ(Pnt3f(1, 2, 0), Pnt3f(Pnt2s(1, 2)));
    const Real32* const nothing = nullptr;
    EXPECT_EQ(Vec3f(0, 0, 0), Vec3f(nothing));
}

TEST(Vector, GivenShorterVector_SetValueKeepsTheRest) {
    Vec4f v(1, 2, 3, 4);
    v.setValue(Vec2f(8, 9));
    EXPECT_EQ(Vec4f(8, 9, 3, 4), v);
}

TEST(Vector, GivenDifferenceOfTheTolerance_IsEqual) {
    EXPECT_TRUE(Vec3f(0, 0, 0) == Vec3f(0, 0, Eps));
    EXPECT_FALSE(Vec3f(0, 0, 0) == Vec3f(0, 0, 2 * Eps));
    EXPECT_TRUE(Vec3f(0, 0, 0) != Vec3f(0, 0, -2 * Eps));
    EXPECT_FALSE(Vec3f(0, 0, 0).equals(Vec3f(0, 0, std::nanf("")), 1.0f)) << "not a number equals nothing";
}

TEST(Vector, GivenTwoPoints_DiffersByAVector) {
    const Vec3f way = Pnt3f(5, 7, 9) - Pnt3f(1, 2, 3);
    EXPECT_EQ(Vec3f(4, 5, 6), way);
    EXPECT_EQ(Pnt3f(5, 7, 9), Pnt3f(1, 2, 3) + way);
    EXPECT_EQ(Pnt3f(-3, -3, -3), Pnt3f(1, 2, 3) - way);
    EXPECT_FLOAT_EQ(std::sqrt(77.0f), Pnt3f(1, 2, 3).dist(Pnt3f(5, 7, 9)));
}

TEST(Vector, GivenOperators_ComputesTheVectorSpace) {
    const Vec3f a(1, 2, 3), b(4, -5, 6);
    EXPECT_EQ(Vec3f(5, -3, 9), a + b);
    EXPECT_EQ(Vec3f(-3, 7, -3), a - b);
    EXPECT_EQ(Vec3f(2, 4, 6), a * 2.0f);
    EXPECT_EQ(Vec3f(2, 4, 6), 2.0f * a);
    EXPECT_EQ(Vec3f(-1, -2, -3), -a);
    EXPECT_FLOAT_EQ(12.0f, a * b);
    EXPECT_FLOAT_EQ(12.0f, a.dot(b));
    EXPECT_EQ(Vec3f(27, 6, -13), a.cross(b));
    EXPECT_EQ(Vec3f(27, 6, -13), a % b);
    EXPECT_FLOAT_EQ(std::sqrt(14.0f), a.length());
}

TEST(Vector, GivenVectorShorterThanTheTolerance_NormalizeLeavesItAlone) {
    Vec3f v(3, 0, 4);
    v.normalize();
    EXPECT_EQ(Vec3f(0.6f, 0, 0.8f), v);
    Vec3f tiny(Eps / 2, 0, 0);
    tiny.normalize();
    EXPECT_FLOAT_EQ(Eps / 2, tiny[0]);
}

TEST(Vector, GivenAnotherDirection_MeasuresAngleAndProjection) {
    EXPECT_FLOAT_EQ(Pi / 4, Vec3f(1, 0, 0).enclosedAngle(Vec3f(2, 2, 0)));
    EXPECT_FLOAT_EQ(Pi, Vec3f(1, 0, 0).enclosedAngle(Vec3f(-3, 0, 0)));
    EXPECT_FLOAT_EQ(0.0f, Vec3f(0, 0, 0).enclosedAngle(Vec3f(1, 0, 0)));
    Vec3f v(1, 2, 3);
    EXPECT_FLOAT_EQ(0.4f, v.projectTo(Vec3f(0, 5, 0)));
    EXPECT_EQ(Vec3f(0, 2, 0), v);
}

TEST(Vector, GivenLexicographicOrder_ComparesExactly) {
    EXPECT_TRUE(Vec3f(1, 2, 3) < Vec3f(1, 2, 3.0000005f));
    EXPECT_FALSE(Vec3f(1, 3, 0) < Vec3f(1, 2, 9));
    EXPECT_FALSE(Vec3f(1, 2, 3) < Vec3f(1, 2, 3));
}
