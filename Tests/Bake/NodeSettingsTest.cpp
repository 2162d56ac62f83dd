// SPDX-License-Identifier: LGPL-2.1-or-later
// Settings, locks and extras of nodes in baked files, and the option --settings-from.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::AllOf;
using testing::HasSubstr;

namespace {

nlohmann::json settingsUsed(const ktTestFolder& folder) {
    return nlohmann::json::parse(readFile(folder.file("stats.json"))).at("settings");
}

} // namespace

TEST(SettingsFrom, GivenBakedNode_UsesItsSettings) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {2, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"scene.gltf",
                                    "-o",
                                    "baked.glb",
                                    "--select",
                                    "left",
                                    "--shadow-quality",
                                    "1",
                                    "--min-distance",
                                    "0.3",
                                    "--max-distance",
                                    "1234.5",
                                    "--mode",
                                    "shadows",
                                    "--gather-quality",
                                    "0",
                                    "--bounces",
                                    "2",
                                    "--color-bleeding",
                                    "--override-color",
                                    "0.1,0.2,0.3",
                                    "--subdivide",
                                    "--subdivision-quality",
                                    "1",
                                    "--min-edge-length",
                                    "432.1",
                                    "--intensity-threshold",
                                    "0.07",
                                    "--stats",
                                    "stats.json"})
                  .exitCode,
              0);
    const auto original = settingsUsed(folder);
    const ktBakeResult result =
        runBake(folder.path, {"baked.glb", "-o", "again.glb", "--settings-from", "left", "--stats", "stats.json"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    auto again = settingsUsed(folder);
    // Nodes keep these in single precision.
    for (const char* name : {"min-edge-length", "intensity-threshold"}) {
        EXPECT_EQ(again[name].get<double>(), static_cast<double>(original[name].get<float>()));
        again[name] = original[name];
    }
    EXPECT_EQ(again, original);

    ASSERT_EQ(runBake(folder.path, {"baked.glb", "-o", "again.glb", "--settings-from", "left", "--shadow-quality", "0",
                                    "--stats", "stats.json"})
                  .exitCode,
              0);
    EXPECT_EQ(settingsUsed(folder).at("shadow-quality"), 0) << "options override the node's settings";
    EXPECT_EQ(settingsUsed(folder).at("max-distance"), 1234.5);
}

TEST(SettingsFrom, GivenTextsOfTheOlderForm_ReadsThem) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"old", {0, 0, 0}}});
    scene["nodes"][0]["extras"] = {{"AOShadowQuality", "0"},
                                   {"AOMaxDistance", "432.5"},
                                   {"AOIndirectIllumination", "false"},
                                   {"AOMaterialColorR", "0.5"},
                                   {"partNumber", "A 12"}};
    folder.write("scene.gltf", scene.dump());
    const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.glb", "--settings-from", "old", "--mode",
                                                      "shadows", "--stats", "stats.json"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const auto settings = settingsUsed(folder);
    EXPECT_EQ(settings.at("shadow-quality"), 0);
    EXPECT_EQ(settings.at("max-distance"), 432.5);
    EXPECT_EQ(settings.at("indirect"), false);
    EXPECT_NE(settings.at("override-color").at(0), 0.5) << "a colour needs all three components";
    // The bake replaces the older form by the newer one and keeps other texts.
    const auto extras = ktBakedFile(folder.file("out.glb")).json["nodes"][0]["extras"];
    EXPECT_EQ(extras.at("ambientOcclusion").at("maxDistance"), 432.5);
    EXPECT_EQ(extras.at("partNumber"), "A 12");
    EXPECT_EQ(extras.size(), 2u) << extras;
}

TEST(SettingsFrom, GivenNodeWithoutSettings_SaysSo) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"plain", {0, 0, 0}}});
    scene["nodes"][0]["extras"] = {{"partNumber", "A 12"}};
    folder.write("scene.gltf", scene.dump());
    folder.write("out.glb", "old");
    for (const char* name : {"plain", "wheel"}) {
        const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.glb", "--settings-from", name});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, AllOf(HasSubstr("scene.gltf"), HasSubstr(name)));
        EXPECT_EQ(readFile(folder.file("out.glb")), "old");
    }
}

TEST(NodeLock, GivenLockedNode_KeepsItsResultsSettingsAndTexts) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"free", {0, 0, 0}}, {"fixed", {1.2f, 0, 0}}});
    folder.write("scene.gltf", scene.dump());
    ASSERT_EQ(
        runBake(folder.path, {"scene.gltf", "-o", "once.gltf", "--shadow-quality", "0", "--no-indirect"}).exitCode, 0);
    scene = nlohmann::json::parse(readFile(folder.file("once.gltf")));
    scene["nodes"][1]["extras"]["locked"] = true;
    scene["nodes"][1]["extras"]["AOShadowQuality"] = "5";
    folder.write("once.gltf", scene.dump());
    ASSERT_EQ(runBake(folder.path, {"once.gltf", "-o", "once.glb", "--clear", "shadows", "--select", "free"}).exitCode,
              0);
    ASSERT_EQ(runBake(folder.path, {"once.gltf", "-o", "twice.glb", "--shadow-quality", "2", "--no-indirect"}).exitCode,
              0);
    const ktBakedFile before(folder.file("once.glb")), after(folder.file("twice.glb"));
    EXPECT_TRUE(before.floats(before.primitives().at(1), "_AO") == after.floats(after.primitives().at(1), "_AO"));
    EXPECT_EQ(after.json["nodes"][1]["extras"].dump(), scene["nodes"][1]["extras"].dump());
    EXPECT_EQ(after.json["nodes"][0]["extras"]["ambientOcclusion"]["shadowQuality"], 2);
    const ktBakeResult cleared = runBake(folder.path, {"once.gltf", "-o", "cleared.glb", "--clear", "shadows"});
    EXPECT_EQ(cleared.exitCode, 0);
    EXPECT_TRUE(ktBakedFile(folder.file("cleared.glb")).primitives().at(1)["attributes"].contains("_AO"));
    EXPECT_FALSE(ktBakedFile(folder.file("cleared.glb")).primitives().at(0)["attributes"].contains("_AO"));
}

TEST(NodeLock, GivenOnlyLockedNodes_SaysSoAndWritesNothing) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"fixed", {0, 0, 0}}});
    scene["nodes"][0]["extras"]["locked"] = true;
    folder.write("scene.gltf", scene.dump());
    const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.glb"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, AllOf(HasSubstr("scene.gltf"), HasSubstr("locked")));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "out.glb"));
}

TEST(NodeExtrasInFiles, GivenExtrasThatAreNoObject_BakesAndKeepsThem) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"text", {0, 0, 0}}, {"list", {2, 0, 0}}, {"number", {4, 0, 0}}});
    scene["nodes"][0]["extras"] = "a text";
    scene["nodes"][1]["extras"] = {1, 2};
    scene["nodes"][2]["extras"] = 7.5;
    folder.write("scene.gltf", scene.dump());
    const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.glb", "--shadow-quality", "0"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.error, AllOf(HasSubstr("/nodes/0/extras"), HasSubstr("and 2 more")));
    const ktBakedFile baked(folder.file("out.glb"));
    for (size_t node = 0; node < 3; ++node)
        EXPECT_EQ(baked.json["nodes"][node]["extras"], scene["nodes"][node]["extras"]);
    EXPECT_EQ(baked.allOcclusion().size(), 72u);
}
