// SPDX-License-Identifier: LGPL-2.1-or-later
// How a command line is taken apart: forms of options, the scene, "--", names that are near.
#include "ktBakeArguments.h"
#include "ktBakeOptionInfo.h"
#include "ktBakeOptions.h"
#include "ktBakeUsageError.h"
#include "ktNearNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

ktBakeOptions parse(const std::vector<std::string>& arguments) {
    ktBakeOptions options;
    EXPECT_EQ(parseBakeOptions(arguments, options), std::nullopt);
    return options;
}

std::string errorOf(const std::vector<std::string>& arguments) {
    try {
        readBakeArguments(arguments, describeBakeOptions());
    } catch (const ktBakeUsageError& error) {
        return error.what();
    }
    return {};
}

} // namespace

TEST(CommandLine, GivenEveryFormOfAnOption_ReadsTheValue) {
    for (const std::vector<std::string>& line : {std::vector<std::string>{"a.glb", "-q", "-o", "b.glb"},
                                                 {"a.glb", "-qo", "b.glb"},
                                                 {"a.glb", "-qob.glb"},
                                                 {"--quiet", "--output=b.glb", "a.glb"}}) {
        const ktBakeOptions options = parse(line);
        EXPECT_EQ(options.scene, "a.glb");
        EXPECT_EQ(options.output, "b.glb");
        EXPECT_TRUE(options.quiet);
    }
}

TEST(CommandLine, GivenTwoDashes_EndsTheOptions) {
    EXPECT_EQ(parse({"--bounces", "2", "--", "-car.glb"}).scene, "./-car.glb");
    EXPECT_EQ(parse({"--", "car.glb"}).scene, "car.glb");
    const ktBakeOptions options = parse({"--select", "left", "right", "--", "-car.glb"});
    EXPECT_EQ(options.scene, "./-car.glb");
    EXPECT_THAT(options.select, ElementsAre("left", "right"));
    EXPECT_THAT(errorOf({"a.glb", "--", "--quiet"}), HasSubstr("only one SCENE"));
    const ktBakeOptions script = parse({"--script", "s.py", "a.glb", "--", "--quiet", "x", "--"});
    EXPECT_EQ(script.scene, "a.glb");
    EXPECT_FALSE(script.quiet);
    EXPECT_THAT(script.scriptArguments, ElementsAre("--quiet", "x", "--"));
}

TEST(CommandLine, GivenNamesInBrackets_KeepsThem) {
    EXPECT_THAT(parse({"a.glb", "--select", "[lights]", "[a,b]", "{}"}).select, ElementsAre("[lights]", "[a,b]", "{}"));
}

TEST(CommandLine, GivenNegativeNumber_IsAValue) {
    EXPECT_THAT(errorOf({"a.glb", "--bounces", "-1"}), IsEmpty());
    EXPECT_THAT(parse({"a.glb", "--select", "left", "-1"}).select, ElementsAre("left", "-1"));
}

TEST(CommandLine, GivenHelpOrVersionInAnyForm_Succeeds) {
    for (const char* option : {"-h", "--help", "-v", "-V", "--version"}) {
        ktBakeOptions options;
        testing::internal::CaptureStdout();
        EXPECT_EQ(parseBakeOptions({option}, options), 0) << option;
        EXPECT_THAT(testing::internal::GetCapturedStdout(),
                    HasSubstr(option[1] == 'h' || option[2] == 'h' ? "--intensity-threshold" : "ktbake 10.0\n"))
            << option;
    }
}

TEST(NearNames, GivenMistypedName_FindsTheNearest) {
    const std::vector<std::string> names = {"mode", "stats", "bounces", "min-distance", "max-distance", "output"};
    EXPECT_THAT(ktFindNearNames("mdoe", names), ElementsAre("mode")) << "swapped";
    EXPECT_THAT(ktFindNearNames("bounce", names), ElementsAre("bounces")) << "missing";
    EXPECT_THAT(ktFindNearNames("Statss", names), ElementsAre("stats")) << "added, other case";
    EXPECT_THAT(ktFindNearNames("mix-distance", names), ElementsAre("min-distance", "max-distance")) << "both at 1";
    EXPECT_THAT(ktFindNearNames("out", names), ElementsAre("output")) << "beginning";
    EXPECT_THAT(ktFindNearNames("distance", names), ElementsAre("min-distance", "max-distance")) << "part";
}

TEST(NearNames, GivenNameThatIsNearNone_FindsNone) {
    const std::vector<std::string> names = {"mode", "stats", "a1", "a2", "a3", "a4"};
    for (const char* typed : {"", "x", "bounces", "noodle", "a", "a5"})
        EXPECT_THAT(ktFindNearNames(typed, names), IsEmpty()) << typed;
    EXPECT_THAT(ktFindNearNames(std::string(100000, 'm'), names), IsEmpty());
    EXPECT_EQ(ktSuggestNames("x", names), "");
    EXPECT_EQ(ktSuggestNames("mod", names, "\""), "; did you mean \"mode\"?");
}
