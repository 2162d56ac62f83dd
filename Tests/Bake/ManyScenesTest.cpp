// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests bakes of many scenes with one ktbake: outputs, reports, failures, lists and what is up to date.
#include "ktBakeProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

const std::string box = "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb";
const std::vector<std::string> quick = {"--shadow-quality", "0", "--no-indirect"};

std::string copyOf(const ktTestFolder& folder, const std::string& name, const std::string& of = box) {
    fs::copy_file(model(of), folder.path / name);
    return name;
}

ktBakeResult bake(const ktTestFolder& folder, std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), quick.begin(), quick.end());
    return runBake(folder.path, arguments);
}

} // namespace

TEST(ManyScenes, GivenTwoScenes_WritesTheFilesOfSingleBakes) {
    const ktTestFolder folder;
    // The second is a hundred times larger: distances that follow the first must not hold for it.
    copyOf(folder, "small.glb");
    folder.write("large.obj",
                 "o large\nv 0 0 0\nv 900 0 0\nv 0 900 0\nv 0 0 900\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n");
    const ktBakeResult many = bake(folder, {"small.glb", "large.obj", "--output-folder", "out"});
    ASSERT_EQ(many.exitCode, 0) << many.error;
    EXPECT_THAT(many.error, HasSubstr("1/2 small.glb: out/small-baked.glb written in "));
    EXPECT_THAT(many.error, HasSubstr("2/2 large.obj: out/large-baked.glb written in "));
    EXPECT_THAT(many.error, HasSubstr(": 2 baked, 0 up to date, 0 failed"));
    for (const std::string scene : {"small.glb", "large.obj"}) {
        const std::string stem = fs::path(scene).stem().string();
        ASSERT_EQ(bake(folder, {scene, "-o", stem + "-alone.glb"}).exitCode, 0);
        const std::string alone = readFile(folder.path / (stem + "-alone.glb"));
        EXPECT_FALSE(alone.empty());
        EXPECT_TRUE(alone == readFile(folder.path / "out" / (stem + "-baked.glb"))) << scene;
    }
}

TEST(ManyScenes, GivenBouncesWithoutAQuality_BakesLikeASingleScene) {
    const ktTestFolder folder;
    copyOf(folder, "a.glb");
    copyOf(folder, "b.glb");
    ASSERT_EQ(runBake(folder.path, {"a.glb", "b.glb", "--output-folder", "out", "--shadow-quality", "0"}).exitCode, 0);
    ASSERT_EQ(runBake(folder.path, {"b.glb", "-o", "alone.glb", "--shadow-quality", "0"}).exitCode, 0);
    EXPECT_TRUE(readFile(folder.path / "alone.glb") == readFile(folder.path / "out" / "b-baked.glb"));
}

TEST(ManyScenes, GivenBrokenScenes_BakesTheOthersAndNamesThem) {
    const ktTestFolder folder;
    copyOf(folder, "a.glb");
    folder.write("broken.glb", "no scene");
    copyOf(folder, "z.glb");
    const ktBakeResult result = bake(
        folder, {"a.glb", "broken.glb", "missing.glb", "z.glb", "--output-folder", "out", "--stats", "stats.json"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(fs::exists(folder.path / "out/a-baked.glb"));
    EXPECT_TRUE(fs::exists(folder.path / "out/z-baked.glb"));
    EXPECT_FALSE(fs::exists(folder.path / "out/broken-baked.glb"));
    EXPECT_THAT(result.error, HasSubstr("2/4 broken.glb: bad input"));
    EXPECT_THAT(result.error, HasSubstr(": 2 baked, 0 up to date, 2 failed"));
    EXPECT_THAT(result.error, HasSubstr("failed: broken.glb: bad input"));
    EXPECT_THAT(result.error, HasSubstr("failed: missing.glb: bad input"));

    std::istringstream lines(readFile(folder.path / "stats.json"));
    std::vector<int> exitCodes;
    std::vector<std::string> scenes;
    for (std::string line; std::getline(lines, line);) {
        const auto json = nlohmann::json::parse(line);
        exitCodes.push_back(json["exitCode"]);
        scenes.push_back(json["scene"]);
    }
    EXPECT_EQ(exitCodes, (std::vector<int>{0, 3, 3, 0}));
    EXPECT_EQ(scenes, (std::vector<std::string>{"a.glb", "broken.glb", "missing.glb", "z.glb"}));
}

TEST(ManyScenes, GivenStopOnError_EndsAtTheFirstFailure) {
    const ktTestFolder folder;
    folder.write("broken.glb", "no scene");
    copyOf(folder, "z.glb");
    const ktBakeResult result = bake(folder, {"broken.glb", "z.glb", "--output-folder", "out", "--stop-on-error"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_FALSE(fs::exists(folder.path / "out/z-baked.glb"));
    EXPECT_THAT(result.error, HasSubstr("1 failed, 1 not begun or cancelled"));
}

TEST(ManyScenes, GivenAList_BakesItsLines) {
    const ktTestFolder folder;
    copyOf(folder, "a.glb");
    copyOf(folder, "with [brackets] and *.glb");
    folder.write("scenes.txt", "# two scenes\n\na.glb\r\nwith [brackets] and *.glb\n");
    const ktBakeResult result = bake(folder, {"@scenes.txt", "--output-folder", "out"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_TRUE(fs::exists(folder.path / "out/a-baked.glb"));
    EXPECT_TRUE(fs::exists(folder.path / "out/with [brackets] and *-baked.glb"));
    EXPECT_EQ(bake(folder, {"@none.txt", "--output-folder", "out"}).exitCode, 3);
    folder.write("empty.txt", "# none\n");
    EXPECT_THAT(bake(folder, {"@empty.txt", "--output-folder", "out"}).error, HasSubstr("the list names no scene"));
}

TEST(ManyScenes, GivenTwoScenesWithOneOutput_RefusesBeforeBaking) {
    const ktTestFolder folder;
    copyOf(folder, "a.glb");
    folder.write("a.obj", "v 0 0 0\n");
    const ktBakeResult result = bake(folder, {"a.glb", "a.obj", "--output-folder", "out"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, HasSubstr("a.obj: its output out/a-baked.glb is also that of a.glb"));
    EXPECT_FALSE(fs::exists(folder.path / "out"));
}

TEST(ManyScenes, GivenUpdate_BakesOnlyWhatHasChanged) {
    const ktTestFolder folder;
    copyOf(folder, "a.glb");
    folder.write("b.mtl", "newmtl paint\nKd 1 0 0\n");
    const std::string tetrahedron =
        "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nusemtl paint\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n";
    folder.write("b.obj", "mtllib b.mtl\n" + tetrahedron);
    const std::vector<std::string> update = {"a.glb", "b.obj", "--output-folder", "out", "--update"};
    EXPECT_THAT(bake(folder, update).error, HasSubstr(": 2 baked, 0 up to date"));
    EXPECT_THAT(bake(folder, update).error, HasSubstr(": 0 baked, 2 up to date"));

    // A new time stamp does not count.
    fs::last_write_time(folder.path / "a.glb", fs::file_time_type::clock::now());
    EXPECT_THAT(bake(folder, update).error, HasSubstr(": 0 baked, 2 up to date"));
    // The content of a file that the scene names does.
    folder.write("b.mtl", "newmtl paint\nKd 0 1 0\n");
    ktBakeResult result = bake(folder, update);
    EXPECT_THAT(result.error, HasSubstr("1/2 a.glb: up to date"));
    EXPECT_THAT(result.error, HasSubstr("2/2 b.obj: out/b-baked.glb written"));
    // An output that somebody changed, and another option.
    folder.write("out/a-baked.glb", "changed");
    EXPECT_THAT(bake(folder, update).error, HasSubstr(": 1 baked, 1 up to date"));
    std::vector<std::string> other = update;
    other.insert(other.end(), {"--max-distance", "20%"});
    EXPECT_THAT(bake(folder, other).error, HasSubstr(": 2 baked, 0 up to date"));
    // The number of threads changes no result.
    other.insert(other.end(), {"--threads", "1"});
    EXPECT_THAT(bake(folder, other).error, HasSubstr(": 0 baked, 2 up to date"));
}

TEST(ManyScenes, GivenAnInterrupt_KeepsWhatIsDone) {
    const ktTestFolder folder;
    copyOf(folder, "a.glb");
    copyOf(folder, "engine.glb", "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    copyOf(folder, "z.glb");
    const ktBakeResult result = interruptBake(
        folder.path, {"a.glb", "engine.glb", "z.glb", "--output-folder", "out", "--shadow-quality", "5"}, "1/3 a.glb");
    EXPECT_EQ(result.exitCode, 130) << result.error;
    EXPECT_TRUE(fs::exists(folder.path / "out/a-baked.glb"));
    EXPECT_FALSE(fs::exists(folder.path / "out/engine-baked.glb"));
    EXPECT_FALSE(fs::exists(folder.path / "out/z-baked.glb"));
    EXPECT_THAT(result.error, HasSubstr("1 baked, 0 up to date, 0 failed, 2 not begun or cancelled"));
}

TEST(ManyScenes, GivenOptionsOfOneScene_RefusesThem) {
    const ktTestFolder folder;
    for (const std::string option : {"--output=x.glb", "--preview=x.png", "--save-preset=x", "--list-presets"}) {
        const ktBakeResult result = runBake(folder.path, {"a.glb", "b.glb", "--output-folder", "out", option});
        EXPECT_EQ(result.exitCode, 2) << option;
        EXPECT_THAT(result.error, HasSubstr("does not go with --output-folder")) << option;
    }
    EXPECT_THAT(runBake(folder.path, {"a.glb", "--update"}).error, HasSubstr("--update: needs --output-folder DIR"));
    EXPECT_THAT(runBake(folder.path, {"@list"}).error, HasSubstr("a list of scenes needs --output-folder DIR"));
    EXPECT_THAT(runBake(folder.path, {"-", "--output-folder", "out"}).error, HasSubstr("standard input does not go"));
    EXPECT_THAT(runBake(folder.path, {"a.glb", "b.glb"}).error, HasSubstr("only one SCENE can be given"));
}
