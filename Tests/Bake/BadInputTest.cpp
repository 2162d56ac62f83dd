// SPDX-License-Identifier: LGPL-2.1-or-later
// Scenes and outputs that ktbake refuses: exit code, message, and no changed file.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::AllOf;
using testing::HasSubstr;

namespace {

const std::string old = "what was there before";

/// Bakes `scene` over an old output. ktbake must fail, name the file and a reason, create no other file and keep the
/// old output.
void expectRefused(const ktTestFolder& folder, const std::string& scene, const std::vector<std::string>& reasons,
                   int exitCode = 3) {
    folder.write("out.glb", old);
    const auto count = [&] {
        return std::distance(std::filesystem::directory_iterator(folder.path), std::filesystem::directory_iterator());
    };
    const auto before = count();
    const ktBakeResult result = runBake(folder.path, {scene, "-o", "out.glb", "--shadow-quality", "0"});
    EXPECT_EQ(result.exitCode, exitCode) << result.error;
    EXPECT_THAT(result.error, HasSubstr(scene));
    for (const std::string& reason : reasons)
        EXPECT_THAT(result.error, HasSubstr(reason));
    EXPECT_EQ(readFile(folder.file("out.glb")), old);
    EXPECT_EQ(count(), before);
}

} // namespace

TEST(BadInput, GivenNoSuchFile_SaysSo) {
    expectRefused(ktTestFolder(), "nowhere.glb", {"does not exist"});
}

TEST(BadInput, GivenFolder_SaysSo) {
    const ktTestFolder folder;
    std::filesystem::create_directory(folder.path / "folder.glb");
    expectRefused(folder, "folder.glb", {"is not a regular file"});
}

TEST(BadInput, GivenNumberThatIsTooLarge_NamesItsPlace) {
    const ktTestFolder folder;
    std::string text = makeBoxes({{"box", {0, 0, 0}}}).dump(1);
    const std::size_t end = text.rfind('}');
    folder.write("a.gltf", text.substr(0, end) + ",\n\"extras\": 1e309}");
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n') + 2;
    expectRefused(
        folder, "a.gltf",
        {"a.gltf: JSON holds the number 1e309 at line " + std::to_string(line) + ", column 11, which is too large"});
}

TEST(BadInput, GivenFileThatIsNoScene_SaysSo) {
    const ktTestFolder folder;
    const auto expectReason = [&](const std::string& name, const std::string& content, const std::string& reason) {
        folder.write(name, content);
        expectRefused(folder, name, {reason});
    };
    const std::string text = "this is no scene at all\n";
    for (const char* name : {"a.glb", "a.gltf"}) {
        expectReason(name, text, "JSON is broken at line 1, column 2");
        expectReason(name, "", "is empty");
    }
    expectReason("a.obj", text, "no geometry that can be used");
    for (const char* name : {"a.obj", "a.fbx", "a.ply", "a.stl"})
        expectReason(name, "", "cannot be imported");
    for (const char* name : {"a.txt", "a"})
        expectReason(name, text, "is no glTF, and files of the kind");
}

TEST(BadInput, GivenTruncatedGlb_SaysSo) {
    const ktTestFolder folder;
    const std::string whole = readFile(model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"));
    for (const size_t length : {size_t(4), size_t(12), size_t(20), size_t(100), whole.size() / 2, whole.size() - 1}) {
        folder.write("cut.glb", whole.substr(0, length));
        expectRefused(folder, "cut.glb", {"is truncated"});
    }
}

TEST(BadInput, GivenSceneWithoutGeometry_SaysSo) {
    const ktTestFolder folder;
    folder.write("empty.gltf", R"({"asset": {"version": "2.0"}, "scenes": [{}], "scene": 0})");
    expectRefused(folder, "empty.gltf", {"has no geometry that can be used"});
    folder.write("empty.gltf", R"({"asset": {"version": "2.0"}})");
    expectRefused(folder, "empty.gltf", {"has no geometry that can be used"});
}

TEST(BadInput, GivenPointsOrLinesOnly_SaysSo) {
    const ktTestFolder folder;
    const std::string reason = "the selection holds no triangles; points or lines are not baked";
    folder.write("lines.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nl 1 2 3\n");
    expectRefused(folder, "lines.obj", {reason});
    expectRefused(folder, model("PLY/points.ply"), {reason});
    folder.write("both.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nl 1 2 3\nf 1 2 3\n");
    EXPECT_EQ(runBake(folder.path, {"both.obj", "-o", "out.glb", "--shadow-quality", "0"}).exitCode, 0);
}

TEST(BadInput, GivenUnknownRequiredExtension_NamesIt) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"box", {0, 0, 0}}});
    scene["extensionsUsed"] = scene["extensionsRequired"] = {"EXT_unheard_of"};
    folder.write("strange.gltf", scene.dump());
    expectRefused(folder, "strange.gltf", {"EXT_unheard_of"});
}

TEST(BadInput, GivenOneBrokenPart_BakesTheOthersAndWarns) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"good", {0, 0, 0}}, {"bad", {3, 0, 0}}});
    scene["meshes"][1]["primitives"][0]["attributes"]["POSITION"] = 99;
    folder.write("half.gltf", scene.dump());
    const ktBakeResult result = runBake(folder.path, {"half.gltf", "-o", "out.glb", "--shadow-quality", "0"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.error, AllOf(HasSubstr("half.gltf"), HasSubstr("/meshes/1")));
    const ktBakedFile baked(folder.file("out.glb"));
    EXPECT_EQ(baked.floats(baked.primitives().at(0), "_AO").size(), 24u);
    EXPECT_FALSE(baked.primitives().at(1).at("attributes").contains("_AO"));
}

TEST(BadInput, GivenInvalidTestModels_NeverCrashes) {
    const ktTestFolder folder;
    size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(std::string(KT_MODELS) + "/invalid")) {
        if (!entry.is_regular_file())
            continue;
        ++count;
        const ktBakeResult result =
            runBake(folder.path, {entry.path().string(), "-o", "out.glb", "--shadow-quality", "0", "--quiet"});
        EXPECT_THAT(result.exitCode, testing::AnyOf(0, 3)) << entry.path() << "\n" << result.error;
        EXPECT_EQ(result.exitCode == 3, !result.error.empty()) << entry.path() << "\n" << result.error;
    }
    EXPECT_GT(count, 10u);
}

TEST(BadOutput, GivenFolderThatDoesNotExist_SaysSoBeforeTracing) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"box.gltf", "-o", "nowhere/out.glb", "--shadow-quality", "0"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, HasSubstr("nowhere"));
    EXPECT_EQ(result.out, "") << "traces nothing if the output cannot be written";
}

TEST(BadOutput, GivenFolderOfThatName_SaysSo) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    std::filesystem::create_directory(folder.path / "out.glb");
    const ktBakeResult result = runBake(folder.path, {"box.gltf", "-o", "out.glb", "--shadow-quality", "0"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, HasSubstr("out.glb"));
}

TEST(BadOutput, GivenDiskThatFillsUp_SaysSoAndKeepsTheOldFile) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    folder.write("out.glb", old);
    // Simulates a full disk: no file may grow beyond 512 bytes.
    const ktBakeResult result =
        runBake(folder.path, {"box.gltf", "-o", "out.glb", "--shadow-quality", "0"}, "trap '' XFSZ; ulimit -f 1");
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, AllOf(HasSubstr("out.glb"), HasSubstr("cannot be written")));
    EXPECT_EQ(readFile(folder.file("out.glb")), old);
    const auto count =
        std::distance(std::filesystem::directory_iterator(folder.path), std::filesystem::directory_iterator());
    EXPECT_EQ(count, 3) << "only the scene, the old output and the preferences";
}

TEST(BadOutput, GivenPreviewOrStatsThatCannotBeWritten_SaysSo) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    for (const std::string option : {"--preview", "--stats"}) {
        const std::string file = option == "--preview" ? "nowhere/a.png" : "nowhere/a.json";
        const ktBakeResult result = runBake(folder.path, {"box.gltf", "--shadow-quality", "0", option, file});
        EXPECT_EQ(result.exitCode, 4) << option;
        EXPECT_THAT(result.error, HasSubstr("nowhere")) << option;
    }
}
