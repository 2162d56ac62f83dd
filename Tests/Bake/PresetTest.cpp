// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeProcess.h"
#include "ktTestScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
