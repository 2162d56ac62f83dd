// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the comparison, the operators and the component order of colours.
#include "ByLibrary.h"

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

TEST(Color, GivenHueSaturationAndValue_ConvertsBothWays) {
    struct Case {
        Color3f rgb;
        Real32 h, s, v;
    };
    for (const Case& each : {Case{Color3f(1, 0, 0), 0, 1, 1}, Case{Color3f(0, 1, 0), 120, 1, 1},
                             Case{Color3f(0, 0, 0.5f), 240, 1, 0.5f}, Case{Color3f(0.5f, 0.25f, 0.25f), 0, 0.5f, 0.5f},
                             Case{Color3f(1, 1, 0), 60, 1, 1}, Case{Color3f(1, 0, 0.5f), 330, 1, 1},
                             Case{Color3f(0, 0.5f, 1), 210, 1, 1}, Case{Color3f(0.25f, 0.25f, 0.25f), 0, 0, 0.25f}}) {
        Color3f rgb;
        rgb.setValuesHSV(each.h, each.s, each.v);
        EXPECT_EQ(each.rgb, rgb) << each.h;
        Real32 h = -1, s = -1, v = -1;
        rgb.getValuesHSV(h, s, v);
        EXPECT_FLOAT_EQ(each.h, h);
        EXPECT_FLOAT_EQ(each.s, s);
        EXPECT_FLOAT_EQ(each.v, v);
    }
    Color3f kept(0.1f, 0.2f, 0.3f);
    kept.setValuesHSV(400, 1, 1);
    EXPECT_EQ(Color3f(0.1f, 0.2f, 0.3f), kept) << "a hue out of range";
    Color4ub bytes;
    bytes.setValuesHSV(360, 1, 1);
    EXPECT_EQ(Color4ub(255, 0, 0, byLibrary(255, 1)), bytes);
}

TEST(Color, GivenPackedBytes_HaveTheFirstComponentLowest) {
    Color3ub bytes;
    bytes.setRGB(0x030201);
    EXPECT_EQ(Color3ub(1, 2, 3), bytes);
    EXPECT_EQ(0x030201u, bytes.getRGB());
    Color4f color;
    color.setRGBA(0x80ff3300);
    EXPECT_EQ(Color4f(0, 0.2f, 1, 128.0f / 255), color);
    EXPECT_EQ(0x80ff3300u, color.getRGBA());
}
