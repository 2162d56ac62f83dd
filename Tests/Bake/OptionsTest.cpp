// SPDX-License-Identifier: LGPL-2.1-or-later
// The command line of ktbake: values, defaults and wrong usage.
#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktBakePresets.h"
#include "ktBakeProgress.h"
#include "ktBakeSettings.h"
#include "ktRunStatistics.h"
#include "ktSettingRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Parses a command line that must be correct.
ktBakeOptions parse(const std::vector<std::string>& arguments) {
    ktBakeOptions options;
    EXPECT_EQ(parseBakeOptions(arguments, options), std::nullopt);
    return options;
}

/// Parses a command line that must be refused with the exit code of wrong usage. Returns the message.
std::string refuse(const std::vector<std::string>& arguments) {
    ktBakeOptions options;
    testing::internal::CaptureStderr();
    EXPECT_EQ(parseBakeOptions(arguments, options), ktBakeExit::usage);
    return testing::internal::GetCapturedStderr();
}

/// The arguments that set a setting to this value.
template <class Row>
std::vector<std::string> argumentsFor(Row row, const typename Row::Value& value) {
    const std::string option = row.names.option;
    if constexpr (std::is_same_v<ktAmbientOcclusionSettings::OverrideMaterialColor, Row>)
        return {"--no-override-color"};
    else if constexpr (std::is_base_of_v<ktAmbientOcclusionSettings::Switch, Row>)
        return {(value ? "--" : "--no-") + option};
    else if constexpr (std::is_base_of_v<ktAmbientOcclusionSettings::Choice, Row>)
        return {"--" + option, row.choices[value]};
    else if constexpr (std::is_base_of_v<ktAmbientOcclusionSettings::Color, Row>)
        return {"--" + option, testing::PrintToString(value[0]) + "," + testing::PrintToString(value[1]) + "," +
                                   testing::PrintToString(value[2])};
    else
        return {"--" + option, testing::PrintToString(value)};
}

} // namespace

TEST(Options, GivenEverySettingsOption_ReachesThePlugInAndTheStatistics) {
    ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    ktAmbientOcclusionSettings::forEachSetting([&](auto row) {
        std::vector<std::string> arguments = argumentsFor(row, otherThanInitial(row));
        arguments.insert(arguments.begin(), "a.glb");
        const ktBakeOptions options = parse(arguments);
        EXPECT_TRUE(options.given(row)) << row.names.option;
        const QJsonValue before = describeSettings()[row.names.option];
        EXPECT_FALSE(before.isUndefined()) << row.names.option;
        EXPECT_EQ(applySettings(options, osg::NullFC, 1000), ktBakeExit::done) << row.names.option;
        EXPECT_EQ(row.get(plugin), otherThanInitial(row)) << row.names.option;
        EXPECT_NE(describeSettings()[row.names.option], before) << row.names.option;
        row.set(plugin, row.initial);
    });
}

TEST(Options, GivenSceneAlone_WritesNextToItAndSetsNothing) {
    const ktBakeOptions options = parse({"some/where/car.obj"});
    EXPECT_EQ(options.scene, "some/where/car.obj");
    EXPECT_EQ(options.output, "some/where/car-baked.glb");
    EXPECT_FALSE(options.shadowQuality || options.minDistance || options.maxDistance || options.mode ||
                 options.indirect || options.gatherQuality || options.bounces || options.colorBleeding ||
                 options.overrideColor || options.subdivide || options.subdivisionQuality || options.minEdgeLength ||
                 options.intensityThreshold);
    EXPECT_TRUE(options.multiplyColors);
    EXPECT_EQ(options.unit, "auto");
    EXPECT_FALSE(options.up) << "as the file says";
    EXPECT_EQ(options.strength, 1);
    EXPECT_EQ(options.exposure, 1);
    EXPECT_EQ(options.tracer, ktTracerKind::Hemisphere);
}

TEST(Options, GivenEverySetting_KeepsEach) {
    const ktBakeOptions options = parse({"a.glb",
                                         "-o",
                                         "b.gltf",
                                         "--shadow-quality",
                                         "4",
                                         "--min-distance",
                                         "0.5",
                                         "--max-distance",
                                         "3%",
                                         "--mode",
                                         "light-and-shadows",
                                         "--no-indirect",
                                         "--gather-quality",
                                         "1",
                                         "--bounces",
                                         "3",
                                         "--color-bleeding",
                                         "--override-color",
                                         "0.1,0.2,0.3",
                                         "--subdivide",
                                         "--subdivision-quality",
                                         "2",
                                         "--min-edge-length",
                                         "1%",
                                         "--intensity-threshold",
                                         "0.1",
                                         "--unit",
                                         "cm",
                                         "--up",
                                         "z",
                                         "--shade",
                                         "none",
                                         "--exposure",
                                         "1.5",
                                         "--strength",
                                         "2.5",
                                         "--unique-instances",
                                         "--ground-plane",
                                         "--threads",
                                         "2",
                                         "--ranks",
                                         "off",
                                         "--tracer",
                                         "embree",
                                         "--stats",
                                         "s.json",
                                         "--preview",
                                         "p.png",
                                         "--quiet"});
    EXPECT_EQ(options.output, "b.gltf");
    EXPECT_EQ(options.shadowQuality, 4);
    EXPECT_EQ(options.minDistance->inWorldUnits(1000), 0.5);
    EXPECT_EQ(options.maxDistance->inWorldUnits(1000), 30);
    EXPECT_EQ(options.mode, 2);
    EXPECT_EQ(options.indirect, false);
    EXPECT_EQ(options.gatherQuality, 1);
    EXPECT_EQ(options.bounces, 3);
    EXPECT_EQ(options.colorBleeding, true);
    EXPECT_EQ(options.overrideColor, true);
    EXPECT_THAT(*options.overrideColorValue, ElementsAre(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(options.up, ktUpAxis::Z);
    EXPECT_EQ(options.strength, 2.5);
    EXPECT_EQ(options.ranks, false);
    EXPECT_EQ(options.subdivide, true);
    EXPECT_EQ(options.subdivisionQuality, 2);
    EXPECT_EQ(options.minEdgeLength->inWorldUnits(1000), 10);
    EXPECT_EQ(options.intensityThreshold, 0.1);
    EXPECT_EQ(options.unit, "cm");
    EXPECT_FALSE(options.multiplyColors);
    EXPECT_EQ(options.exposure, 1.5);
    EXPECT_TRUE(options.uniqueInstances && options.groundPlane && options.quiet);
    EXPECT_EQ(options.threads, 2);
    EXPECT_EQ(options.tracer, ktTracerKind::Embree);
}

TEST(Options, GivenNegatedSettings_SwitchesThemOff) {
    const ktBakeOptions options =
        parse({"a.glb", "--no-color-bleeding", "--no-override-color", "--no-subdivide", "--indirect"});
    EXPECT_EQ(options.colorBleeding, false);
    EXPECT_EQ(options.overrideColor, false);
    EXPECT_EQ(options.subdivide, false);
    EXPECT_EQ(options.indirect, true);
}

TEST(Options, GivenSelectBeforeOrAfterTheScene_ReadsNamesAndScene) {
    for (const std::vector<std::string>& line : {std::vector<std::string>{"a.glb", "--select", "left", "right"},
                                                 {"--select", "left", "right", "a.glb"},
                                                 {"--select", "left", "--select", "right", "a.glb"}}) {
        const ktBakeOptions options = parse(line);
        EXPECT_EQ(options.scene, "a.glb");
        EXPECT_THAT(options.select, ElementsAre("left", "right"));
    }
}

TEST(Options, GivenOptionsThatNeedNoScene_AreAccepted) {
    EXPECT_TRUE(parse({"--list-presets"}).listPresets);
    EXPECT_EQ(parse({"--delete-preset", "x"}).deletePreset, "x");
    EXPECT_EQ(parse({"--save-preset", "x", "--bounces", "2"}).savePreset, "x");
}

TEST(Options, GivenWrongValue_NamesTheOption) {
    EXPECT_THAT(refuse({"a.glb", "--shadow-quality", "6"}), HasSubstr("--shadow-quality"));
    EXPECT_THAT(refuse({"a.glb", "--shadow-quality", "x"}), HasSubstr("--shadow-quality"));
    EXPECT_THAT(refuse({"a.glb", "--gather-quality", "5"}), HasSubstr("--gather-quality"));
    EXPECT_THAT(refuse({"a.glb", "--bounces", "-1"}), HasSubstr("--bounces"));
    EXPECT_THAT(refuse({"a.glb", "--mode", "dark"}), HasSubstr("--mode"));
    EXPECT_THAT(refuse({"a.glb", "--unit", "parsec"}), HasSubstr("--unit"));
    EXPECT_THAT(refuse({"a.glb", "--threads", "0"}), HasSubstr("--threads"));
    EXPECT_THAT(refuse({"a.glb", "--tracer", "gpu"}), HasSubstr("--tracer"));
    EXPECT_THAT(refuse({"a.glb", "--exposure", "0"}), HasSubstr("--exposure"));
    EXPECT_THAT(refuse({"a.glb", "--clear", "all"}), HasSubstr("--clear"));
    EXPECT_THAT(refuse({"a.glb", "--min-edge-length", "0"}), HasSubstr("--min-edge-length"));
    EXPECT_THAT(refuse({"a.glb", "--intensity-threshold", "0.001"}), HasSubstr("0.0075"));
    for (const char* distance : {"", "x", "3%%", "-1", "nan", "inf", "1e99"})
        EXPECT_THAT(refuse({"a.glb", "--max-distance", distance}), HasSubstr("--max-distance")) << distance;
    for (const char* color : {"1", "1,1", "1,1,1,1", "1,1,2", "1,1,x", "1,,1"})
        EXPECT_THAT(refuse({"a.glb", "--override-color", color}), HasSubstr("--override-color")) << color;
}

TEST(Options, GivenContradictoryOptions_SaysSo) {
    EXPECT_THAT(refuse({}), HasSubstr("SCENE"));
    EXPECT_THAT(refuse({"--bounces", "2"}), HasSubstr("SCENE"));
    EXPECT_THAT(refuse({"--list-presets", "--preview", "a.png"}), HasSubstr("--preview"));
    EXPECT_THAT(refuse({"a.glb", "b.glb"}), HasSubstr("b.glb"));
    EXPECT_THAT(refuse({"a.glb", "-o", "b.obj"}), HasSubstr("b.obj"));
    EXPECT_THAT(refuse({"a.glb", "--preview", "b.jpg"}), HasSubstr("b.jpg"));
    EXPECT_THAT(refuse({"a.glb", "--active"}), HasSubstr("--clear"));
    EXPECT_THAT(refuse({"a.glb", "--clear", "shadows", "--missing"}), HasSubstr("--missing"));
    EXPECT_THAT(refuse({"a.glb", "--min-distance", "5", "--max-distance", "5"}), HasSubstr("--min-distance"));
    EXPECT_THAT(refuse({"a.glb", "--override-color", "1,1,1", "--no-override-color"}), HasSubstr("override-color"));
    EXPECT_THAT(refuse({"a.glb", "--nonsense"}), HasSubstr("--nonsense"));
}

TEST(Options, GivenHelpOrVersion_PrintsItAndSucceeds) {
    ktBakeOptions options;
    testing::internal::CaptureStdout();
    EXPECT_EQ(parseBakeOptions({"--help"}, options), ktBakeExit::done);
    const std::string help = testing::internal::GetCapturedStdout();
    for (const char* text :
         {"SCENE", "Shadows", "Indirect light", "Refinement", "Presets", "--max-distance MM|PERCENT% [3000]"})
        EXPECT_THAT(help, HasSubstr(text));
    testing::internal::CaptureStdout();
    EXPECT_EQ(parseBakeOptions({"--version"}, options), ktBakeExit::done);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ktbake 10.0\n");
}

#ifndef KT_SCRIPTING
TEST(Options, GivenScriptInABuildWithoutScripting_SaysSo) {
    const ktTestFolder folder;
    const ktBakeResult result = runBake(folder.path, {"--script", folder.write("script.py", "print(1)")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, testing::HasSubstr("without scripting"));
}
#endif

TEST(Options, GivenPresetName_FindsExactOrUniqueBeginning) {
    const QList<QString> names = {"Exterior", "Exterior Fine", "Interior", "Undercarriage"};
    std::string message;
    EXPECT_EQ(findPreset(names, "Exterior", message), 0);
    EXPECT_EQ(findPreset(names, "Exterior F", message), 1);
    EXPECT_EQ(findPreset(names, "Int", message), 2);
    EXPECT_EQ(message, "");
    EXPECT_EQ(findPreset(names, "Ext", message), -1);
    EXPECT_THAT(message, HasSubstr("More than one"));
    EXPECT_EQ(findPreset(names, "x", message), -1);
    EXPECT_THAT(message, testing::AllOf(HasSubstr("No preset"), HasSubstr("\"Undercarriage\"")));
    EXPECT_EQ(findPreset(names, "", message), -1);
}

TEST(Options, GivenCountsAndTimes_FormatsThemBriefly) {
    EXPECT_EQ(formatDuration(0.4), "0:00");
    EXPECT_EQ(formatDuration(59.6), "1:00");
    EXPECT_EQ(formatDuration(3723), "1:02:03");
    EXPECT_EQ(formatDuration(-1), "0:00");
    EXPECT_EQ(formatCount(999), "999");
    EXPECT_EQ(formatCount(1234), "1.23 k");
    EXPECT_EQ(formatCount(999600), "1 M");
    EXPECT_EQ(formatCount(45.6e6), "45.6 M");
    EXPECT_EQ(formatCount(7.891e9), "7.89 G");
}
