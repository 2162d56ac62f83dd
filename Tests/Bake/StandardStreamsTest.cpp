// SPDX-License-Identifier: LGPL-2.1-or-later
// "-" as SCENE and as --output: standard input and standard output.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::vector<std::string> quick = {"--shadow-quality", "0", "--no-indirect"};

ktBakeResult bakeQuickly(const ktTestFolder& folder, std::vector<std::string> arguments,
                         const std::string& before = {}) {
    arguments.insert(arguments.end(), quick.begin(), quick.end());
    return runBake(folder.path, arguments, before);
}

/// Writes a scene as car.glb and its baked form as expected.glb.
void makeFiles(const ktTestFolder& folder) {
    folder.write("car.gltf", makeBoxes({{"door", {0, 0, 0}}, {"wheel", {1.2f, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"car.gltf", "-o", "car.glb", "--clear", "shadows"}).exitCode, 0);
    ASSERT_EQ(bakeQuickly(folder, {"car.glb", "-o", "expected.glb"}).exitCode, 0);
}

} // namespace

TEST(StandardStreams, GivenDashes_ReadsAndWritesWhatFilesDo) {
    const ktTestFolder folder;
    makeFiles(folder);
    const std::string expected = readFile(folder.file("expected.glb"));
    ASSERT_EQ(expected.substr(0, 4), "glTF");

    const ktBakeResult both = bakeQuickly(folder, {"-", "-o", "-", "--stats", "s.json"}, "exec <car.glb >out.glb");
    EXPECT_EQ(both.exitCode, 0) << both.error;
    EXPECT_EQ(readFile(folder.file("out.glb")), expected);
    EXPECT_THAT(both.error, AllOf(HasSubstr("Num Rays: "), HasSubstr("-: written in "))) << "all the rest";
    EXPECT_THAT(both.error, Not(HasSubstr("/"))) << "temporary files have no names for the user";
    const auto stats = nlohmann::json::parse(readFile(folder.file("s.json")));
    EXPECT_EQ(stats.at("scene"), "-");
    EXPECT_EQ(stats.at("output"), "-");

    EXPECT_EQ(bakeQuickly(folder, {"-", "--output=in.glb"}, "exec <car.glb").exitCode, 0);
    EXPECT_EQ(readFile(folder.file("in.glb")), expected);
    const ktBakeResult quiet = bakeQuickly(folder, {"car.glb", "-qo", "-"}, "exec >quiet.glb");
    EXPECT_EQ(quiet.exitCode, 0);
    EXPECT_EQ(quiet.error, "");
    EXPECT_EQ(readFile(folder.file("quiet.glb")), expected);
}

TEST(StandardStreams, GivenInputThatIsNoScene_SaysWhatToDo) {
    const ktTestFolder folder;
    makeFiles(folder);
    for (const char* before : {"exec <car.gltf", "exec </dev/null"}) {
        const ktBakeResult result = runBake(folder.path, {"-", "-o", "out.glb"}, before);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, AllOf(HasSubstr("standard input"), HasSubstr("give the name of a file")));
    }
    folder.write("cut.glb", readFile(folder.file("car.glb")).substr(0, 200));
    const ktBakeResult cut = runBake(folder.path, {"-", "-o", "-"}, "exec <cut.glb");
    EXPECT_EQ(cut.exitCode, 3);
    EXPECT_EQ(cut.out, "");
    EXPECT_THAT(cut.error, HasSubstr("error: -: "));
}

TEST(StandardStreams, GivenOutputThatCannotBeWritten_SaysSo) {
    const ktTestFolder folder;
    makeFiles(folder);
    const ktBakeResult full = bakeQuickly(folder, {"car.glb", "-o", "-"}, "exec >/dev/full");
    EXPECT_EQ(full.exitCode, 4);
    EXPECT_THAT(full.error, HasSubstr("error: -: standard output cannot be written: No space left"));
}

TEST(StandardStreams, GivenFailure_WritesNothing) {
    const ktTestFolder folder;
    makeFiles(folder);
    const ktBakeResult result = bakeQuickly(folder, {"car.glb", "-o", "-", "--select", "roof"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "");
}

TEST(StandardStreams, GivenDashElsewhere_IsRefused) {
    const ktTestFolder folder;
    for (const auto& [arguments, message] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"-"}, "SCENE -: is standard input and needs --output FILE, or --output -"},
             {{"car.glb", "--stats", "-"}, "--stats -: must be the name of a file"},
             {{"car.glb", "--preview", "-"}, "--preview -: the file's name must end in .png"},
             {{"--script", "-"}, "--script -: must be the name of a file"},
             {{"-", "-"}, "-: only one SCENE"}}) {
        const ktBakeResult result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.error, HasSubstr(message));
    }
}

#ifdef KT_SCRIPTING
TEST(StandardStreams, GivenScript_KeepsItsPrintsOutOfTheScene) {
    const ktTestFolder folder;
    makeFiles(folder);
    folder.write("print.py", "print('from the script')\n");
    const ktBakeResult result =
        runBake(folder.path, {"-", "--script", "print.py", "-o", "-"}, "exec <expected.glb >out.glb");
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(readFile(folder.file("out.glb")).substr(0, 4), "glTF");
    EXPECT_THAT(result.error, HasSubstr("from the script\n"));
}
#endif
