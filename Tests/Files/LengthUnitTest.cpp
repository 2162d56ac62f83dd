// SPDX-License-Identifier: LGPL-2.1-or-later
// The length unit of a scene: given, or chosen by the size of the scene.
#include "ktSavedScene.h"

#include <cmath>
#include <gmock/gmock.h>

namespace {

// Opens a square of this side with a unit. Returns millimetres per unit and the messages.
std::pair<double, std::string> open(double side, const ktLengthUnit& unit, const std::string& name = "a.glb") {
    const ktTestFolder folder;
    ktTestGltf gltf = ktSquare();
    gltf.json["nodes"][0]["scale"] = {side, side, side};
    gltf.saveGlb(folder.path(name));
    ktFileReport report;
    ktOpenOptions options;
    options.unit = unit;
    const auto file = ktSceneFile::open(folder.path(name), options, report);
    if (!file)
        return {0.0, report.error};
    return {file->getUnit_mm(), report.messages.notes().empty() ? "" : report.messages.notes()[0]};
}

} // namespace

TEST(LengthUnit, GivenText_UnderstandsNamesAndFactors) {
    EXPECT_TRUE(ktParseLengthUnit("auto")->isAutomatic());
    EXPECT_EQ(ktParseLengthUnit("m")->millimetres, 1000.0);
    EXPECT_EQ(ktParseLengthUnit("cm")->millimetres, 10.0);
    EXPECT_EQ(ktParseLengthUnit("mm")->millimetres, 1.0);
    EXPECT_EQ(ktParseLengthUnit("inch")->millimetres, 25.4);
    EXPECT_EQ(ktParseLengthUnit("foot")->millimetres, 304.8);
    EXPECT_EQ(ktParseLengthUnit("2.5")->millimetres, 2.5);
    for (const char* text : {"", "yard", "0", "-1", "nan", "inf", "1e13", "2 m", "M"})
        EXPECT_FALSE(ktParseLengthUnit(text)) << text;
}

TEST(LengthUnit, GivenPlausibleGltf_UsesMetres) {
    for (const double side : {0.0072, 1.0, 70.0}) {
        EXPECT_EQ(open(side, {}).first, 1000.0) << side;
        EXPECT_EQ(open(side, {}).second, "") << side;
    }
}

TEST(LengthUnit, GivenImplausibleGltf_ScalesItsDiagonalToThreeMetres) {
    for (const double side : {0.0070, 71.0, 1e6, 1e-6}) {
        const auto [unit, note] = open(side, {});
        EXPECT_NEAR(unit * side * std::sqrt(2.0), 3000.0, 0.01) << side;
        EXPECT_THAT(note, testing::HasSubstr("is taken for 3 m")) << side;
    }
}

TEST(LengthUnit, GivenUnit_UsesIt) {
    EXPECT_EQ(open(1e6, {25.4}).first, 25.4);
    EXPECT_EQ(open(1e6, {25.4}).second, "");
}

TEST(LengthUnit, GivenSceneWithoutExtent_UsesMetres) {
    EXPECT_EQ(open(0.0, {}).first, 1000.0);
    EXPECT_THAT(open(0.0, {}).second, testing::HasSubstr("no extent"));
}
