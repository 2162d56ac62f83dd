// SPDX-License-Identifier: LGPL-2.1-or-later
// Presets on the command line: saved, listed, applied and deleted.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

using testing::HasSubstr;
using testing::Not;

TEST(Preset, GivenSavedPreset_IsListedAppliedAndDeleted) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    ASSERT_EQ(
        runBake(folder.path, {"--save-preset", "Zwölf <&\"> 🙂", "--max-distance", "123", "--shadow-quality", "1"})
            .exitCode,
        0);
    EXPECT_THAT(runBake(folder.path, {"--list-presets"}).out, HasSubstr("Zwölf <&\"> 🙂\n"));

    const ktBakeResult result =
        runBake(folder.path, {"box.gltf", "--preset", "Zw", "--min-distance", "2", "--stats", "stats.json"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const auto settings = nlohmann::json::parse(readFile(folder.file("stats.json"))).at("settings");
    EXPECT_EQ(settings.at("max-distance"), 123);
    EXPECT_EQ(settings.at("shadow-quality"), 1);
    EXPECT_EQ(settings.at("min-distance"), 2);

    ASSERT_EQ(runBake(folder.path, {"--delete-preset", "Zwölf <&\"> 🙂"}).exitCode, 0);
    EXPECT_THAT(runBake(folder.path, {"--list-presets"}).out, Not(HasSubstr("Zw")));
}

TEST(Preset, GivenUnknownName_ListsTheNames) {
    const ktTestFolder folder;
    ASSERT_EQ(runBake(folder.path, {"--save-preset", "Mine"}).exitCode, 0);
    for (const char* option : {"--preset", "--delete-preset"}) {
        const ktBakeResult result = runBake(folder.path, {option, "Yours", "--save-preset", "Other"});
        EXPECT_EQ(result.exitCode, 2) << option;
        EXPECT_THAT(result.error, HasSubstr("\"Mine\"")) << option;
    }
    EXPECT_THAT(runBake(folder.path, {"--list-presets"}).out, Not(HasSubstr("Other")));
}

TEST(Preset, GivenFirstRun_ListsTheBuiltInOnes) {
    const ktTestFolder folder;
    EXPECT_EQ(runBake(folder.path, {"--list-presets"}).out,
              "Default\nCar Low Quality\nCar Medium Quality\nCar High Quality\nCar Highest Quality\n"
              "Groundplane Low Quality\nGroundplane High Quality\n");
}

TEST(Preset, GivenAmbiguousBeginning_ListsTheNames) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"box.gltf", "--preset", "Car H"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, testing::AllOf(HasSubstr("More than one"), HasSubstr("\"Car Highest Quality\"")));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "box-baked.glb"));
}

TEST(Preset, GivenAwkwardNames_KeepsThemThroughRuns) {
    const ktTestFolder folder;
    std::string euros;
    for (int i = 0; i < 10000; ++i)
        euros += "€";
    const std::vector<std::string> names = {"Größe äöüß", "\"double\" 'single' & <b> ]]>", "🚗💡", "  blanks  ", euros};
    std::string list = runBake(folder.path, {"--list-presets"}).out;
    for (const std::string& name : names) {
        ASSERT_EQ(runBake(folder.path, {"--save-preset", name}).exitCode, 0) << name;
        list += name + "\n";
    }
    EXPECT_EQ(runBake(folder.path, {"--list-presets"}).out, list);
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    for (const std::string& name : names) {
        EXPECT_EQ(runBake(folder.path, {"box.gltf", "--preset", name, "--shadow-quality", "0"}).exitCode, 0) << name;
        EXPECT_EQ(runBake(folder.path, {"--delete-preset", name}).exitCode, 0) << name;
    }
    EXPECT_THAT(runBake(folder.path, {"--list-presets"}).out, Not(HasSubstr("€")));
}

TEST(Preset, GivenPreferencesThatTakeNoFiles_EndsWith4AndTheReason) {
    const ktTestFolder folder;
    // Not even root can create files there.
    std::filesystem::remove_all(folder.path / "preferences");
    std::filesystem::create_directory_symlink("/proc", folder.path / "preferences");
    const ktBakeResult result = runBake(folder.path, {"--save-preset", "Mine"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, HasSubstr("aotemplates.xml"));
    EXPECT_THAT(result.error, HasSubstr("Couldn't write ambient occlusion templates file!"));
}

TEST(Preset, GivenBrokenFile_SetsItAsideAndSaysWhere) {
    const ktTestFolder folder;
    std::filesystem::create_directories(folder.path / "preferences");
    folder.write("preferences/aotemplates.xml", "<message version=\"1\">\n<list");
    const ktBakeResult result = runBake(folder.path, {"--list-presets"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("Car Low Quality\n"));
    EXPECT_THAT(result.error, testing::AllOf(HasSubstr("line 2, column "), HasSubstr("aotemplates.xml.broken")));
    EXPECT_EQ(readFile(folder.path / "preferences" / "aotemplates.xml.broken"), "<message version=\"1\">\n<list");
}

TEST(Preset, GivenNameThatIsTaken_ReplacesThePreset) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const std::string before = runBake(folder.path, {"--list-presets"}).out;
    for (const char* distance : {"123", "456"})
        ASSERT_EQ(runBake(folder.path, {"--save-preset", "Mine", "--max-distance", distance}).exitCode, 0);
    EXPECT_EQ(runBake(folder.path, {"--list-presets"}).out, before + "Mine\n");
    ASSERT_EQ(runBake(folder.path, {"box.gltf", "--preset", "Mine", "--stats", "stats.json"}).exitCode, 0);
    const auto settings = nlohmann::json::parse(readFile(folder.file("stats.json"))).at("settings");
    EXPECT_EQ(settings.at("max-distance"), 456);
}

TEST(Preset, GivenTwoProcessesThatSave_KeepsThePresetsOfBoth) {
    const ktTestFolder folder;
    const int count = 15;
    std::string expected = runBake(folder.path, {"--list-presets"}).out;
    const auto saveAll = [&](const std::string& name) {
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(runBake(folder.path, {"--save-preset", name + std::to_string(i)}).exitCode, 0);
    };
    std::thread other([&] { saveAll("left"); });
    saveAll("right");
    other.join();
    const std::string found = runBake(folder.path, {"--list-presets"}).out;
    for (const char* name : {"left", "right"})
        for (int i = 0; i < count; ++i)
            EXPECT_THAT(found, HasSubstr("\n" + (name + std::to_string(i)) + "\n"));
}
