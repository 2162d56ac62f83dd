// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the comparison, the operators and the component order of colours.
#include <gtest/gtest.h>
#include <OpenSG/OSGColor.h>

using namespace osg;

TEST(Color, GivenDifferenceOfTheTolerance_IsEqual) {
    EXPECT_TRUE(Color3f(0, 0, 0) == Color3f(Eps, 0, -Eps));
    EXPECT_TRUE(Color3f(0, 0, 0) != Color3f(0, 2 * Eps, 0));
    EXPECT_TRUE(Color4f(0, 0, 0, 0) != Color4f(0, 0, 0, 2 * Eps));
    EXPECT_TRUE(Color3ub(1, 2, 3) != Color3ub(1, 2, 4));
}

TEST(Color, GivenOperators_WorksByComponent) {
    Color3f color(0.1f, 0.2f, 0.3f);
    color *= 2.0f;
    EXPECT_EQ(Color3f(0.2f, 0.4f, 0.6f), color);
    EXPECT_EQ(Color3f(0.2f, 0.8f, 1.8f), color * Color3f(1, 2, 3));
    EXPECT_EQ(Color3f(1.2f, 1.4f, 1.6f), color + Color3f(1, 1, 1));
    EXPECT_EQ(Color3f(0.1f, 0.2f, 0.3f), color / 2.0f);
}

TEST(Color, GivenSeparateValues_KeepsTheirOrder) {
    const Color4f color(0.1f, 0.2f, 0.3f, 0.4f);
    EXPECT_FLOAT_EQ(0.1f, color.red());
    EXPECT_FLOAT_EQ(0.2f, color.green());
    EXPECT_FLOAT_EQ(0.3f, color.blue());
    EXPECT_FLOAT_EQ(0.4f, color.alpha());
    EXPECT_FLOAT_EQ(0.3f, color.getValuesRGBA()[2]);
    EXPECT_EQ(3 * sizeof(Real32), sizeof(Color3f));
}
