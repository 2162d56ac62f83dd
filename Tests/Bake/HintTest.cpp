// SPDX-License-Identifier: LGPL-2.1-or-later
// Scenes without the lights that a mode needs, and hints about results that are nearly all black or white.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace {

/// A cube, and a lamp of this intensity in candela above it.
nlohmann::json litBox(double intensity) {
    nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
    addLamp(scene, intensity);
    return scene;
}

ktBakeResult bake(const ktTestFolder& folder, const nlohmann::json& scene, const std::vector<std::string>& options) {
    folder.write("scene.gltf", scene.dump());
    std::vector<std::string> arguments = {"scene.gltf", "-o", "out.glb", "--shadow-quality", "0"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runBake(folder.path, arguments);
}

} // namespace

TEST(Lights, GivenModeLightAndShadowsAndNoneThatShines_SaysSo) {
    nlohmann::json hidden = litBox(100);
    hidden["nodes"][1]["extensions"]["KHR_node_visibility"] = {{"visible", false}};
    for (const nlohmann::json& scene : {makeBoxes({{"box", {0, 0, 0}}}), litBox(0), hidden}) {
        const ktTestFolder folder;
        const ktBakeResult result = bake(folder, scene, {"--mode", "light-and-shadows"});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, HasSubstr("error: scene.gltf: the mode light-and-shadows needs a light that shines, "
                                            "and the scene has none"));
        EXPECT_FALSE(std::filesystem::exists(folder.path / "out.glb")) << "no black file";
    }
}

TEST(Lights, GivenModeShadowsWithoutLights_WarnsAndBakesAsClassic) {
    const ktTestFolder folder;
    const nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}, {"other", {1.2f, 0, 0}}});
    EXPECT_EQ(bake(folder, scene, {}).exitCode, 0);
    const std::vector<float> classic = ktBakedFile(folder.file("out.glb")).allOcclusion();
    const ktBakeResult result = bake(folder, scene, {"--mode", "shadows"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.error, HasSubstr("warning: The scene has no light that shines; the mode shadows gives the same "
                                        "as the mode classic"));
    EXPECT_EQ(ktBakedFile(folder.file("out.glb")).allOcclusion(), classic);
}

TEST(Lights, GivenALightThatShines_Bakes) {
    const ktTestFolder folder;
    for (const std::string mode : {"shadows", "light-and-shadows"})
        EXPECT_EQ(bake(folder, litBox(100), {"--mode", mode}).exitCode, 0) << mode;
    EXPECT_EQ(bake(folder, litBox(100), {"--mode", "light-and-shadows", "--select", "box"}).exitCode, 0)
        << "the light need not be selected";
}

TEST(Hint, GivenConvexPart_SaysWhyItIsWhite) {
    const ktTestFolder folder;
    const nlohmann::json box = makeBoxes({{"box", {0, 0, 0}}});
    EXPECT_THAT(bake(folder, box, {}).error,
                HasSubstr("scene.gltf: The result is nearly all white. No surface hides the sky from another one"));
    EXPECT_THAT(bake(folder, box, {"--ground-plane"}).error, Not(HasSubstr("nearly all")));
}

TEST(Hint, GivenDistancesThatHideTheOccluders_NamesThem) {
    const ktTestFolder folder;
    const nlohmann::json boxes = makeBoxes({{"one", {0, 0, 0}}, {"two", {1.05f, 0, 0}}, {"three", {0, 1.05f, 0}}});
    EXPECT_THAT(bake(folder, boxes, {}).error, Not(HasSubstr("nearly all")));
    EXPECT_THAT(bake(folder, boxes, {"--max-distance", "10"}).error,
                HasSubstr("nearly all white. Only surfaces within the maximum distance of 10 mm occlude"));
    EXPECT_THAT(bake(folder, boxes, {"--min-distance", "2900"}).error,
                HasSubstr("nearly all white. Surfaces nearer than the minimum distance of 2900 mm do not occlude"));
}

TEST(Hint, GivenPartInAClosedRoom_SaysWhyItIsBlack) {
    const ktTestFolder folder;
    nlohmann::json boxes = makeBoxes({{"part", {0, 0, 0}}, {"room", {0, 0, 0}}});
    boxes["nodes"][0]["scale"] = {0.2, 0.2, 0.2};
    EXPECT_THAT(bake(folder, boxes, {"--select", "part", "--no-indirect"}).error,
                HasSubstr("scene.gltf: The result is nearly all black. Rays meet a surface within the maximum distance "
                          "of 3000 mm nearly everywhere."));
    EXPECT_THAT(bake(folder, boxes, {"--select", "part", "--max-distance", "10%"}).error, Not(HasSubstr("black")));
}

TEST(Hint, GivenWeakOrBrightLights_NamesTheExposure) {
    const ktTestFolder folder;
    EXPECT_THAT(bake(folder, litBox(1e-3), {"--mode", "light-and-shadows"}).error,
                HasSubstr("nearly all black. The lights are hidden, far away or weak; --exposure"));
}

TEST(Hint, GivenQuiet_PrintsNone) {
    const ktTestFolder folder;
    EXPECT_EQ(bake(folder, makeBoxes({{"box", {0, 0, 0}}}), {"--quiet"}).error, "");
}
