// SPDX-License-Identifier: LGPL-2.1-or-later
// What surrounds ktbake is not as usual: outputs that cannot be replaced, presets that cannot be read, limits, odd
// names.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::vector<std::string> quick = {"--shadow-quality", "0", "--no-indirect"};

ktBakeResult bake(const ktTestFolder& folder, std::vector<std::string> arguments, const std::string& before = {}) {
    arguments.insert(arguments.end(), quick.begin(), quick.end());
    return runBake(folder.path, arguments, before);
}

void writeBox(const ktTestFolder& folder) {
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

TEST(EnvironmentFaults, GivenOutputThatIsNoFile_IsRefusedBeforeTheBake) {
    const ktTestFolder folder;
    writeBox(folder);
    ASSERT_EQ(mkfifo(folder.file("pipe.glb").c_str(), 0600), 0);
    fs::create_symlink("nowhere/out.glb", folder.path / "link.glb");
    fs::create_symlink("loop.glb", folder.path / "loop.glb");
    for (const auto& [output, reason] :
         std::vector<std::pair<std::string, std::string>>{{"pipe.glb", "it is not a regular file"},
                                                          {"link.glb", "nowhere does not exist"},
                                                          {"loop.glb", "cannot be written"}}) {
        const ktBakeResult result = bake(folder, {"box.gltf", "-o", output});
        EXPECT_EQ(result.exitCode, 4) << output;
        EXPECT_THAT(result.error, AllOf(HasSubstr(output + ": cannot be written"), HasSubstr(reason))) << output;
        EXPECT_EQ(result.out, "") << output << ": traces nothing";
    }
    fs::create_directory(folder.path / "there");
    fs::create_symlink("there/out.glb", folder.path / "good.glb");
    EXPECT_EQ(bake(folder, {"box.gltf", "-o", "good.glb"}).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(folder.path / "good.glb"));
    EXPECT_EQ(readFile(folder.path / "there/out.glb").substr(0, 4), "glTF");
}

TEST(EnvironmentFaults, GivenStatisticsThatFailAfterTheBake_SaysThatTheOutputIsNew) {
    const ktTestFolder folder;
    writeBox(folder);
    folder.write("out.glb", "old");
    const ktBakeResult result = bake(folder, {"box.gltf", "-o", "out.glb", "--stats", "/dev/full"});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, AllOf(HasSubstr("error: /dev/full: the statistics cannot be written: "),
                                    HasSubstr("out.glb: is written and complete")));
    EXPECT_EQ(readFile(folder.file("out.glb")).substr(0, 4), "glTF");
}

TEST(EnvironmentFaults, GivenPreferencesFolderThatCannotBeMade_WarnsOnce) {
    const ktTestFolder folder;
    writeBox(folder);
    folder.write("file", "");
    const ktBakeResult result =
        bake(folder, {"box.gltf", "-o", "out.glb"}, "export KT_PREFERENCES_DIR=\"$PWD/file/preferences/\"");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.error, Not(HasSubstr("error: ")));
    EXPECT_EQ(countOf(result.error, "warning: "), 1u) << result.error;
    EXPECT_THAT(result.error, HasSubstr("the preferences directory cannot be made"));
    EXPECT_EQ(runBake(folder.path, {"--save-preset", "Mine"}, "export KT_PREFERENCES_DIR=\"$PWD/file/preferences/\"")
                  .exitCode,
              4)
        << "an error where the presets are needed";
}

#ifdef KT_FAILING_CALLS
TEST(EnvironmentFaults, GivenPresetsThatCannotBeRead_LeavesThem) {
    const ktTestFolder folder;
    writeBox(folder);
    ASSERT_EQ(runBake(folder.path, {"--save-preset", "Mine"}).exitCode, 0);
    const std::string presets = readFile(folder.path / "preferences/aotemplates.xml");
    ASSERT_THAT(presets, HasSubstr("Mine"));
    const std::string failing = "export LD_PRELOAD=" KT_FAILING_CALLS " KT_FAILING_CALL=read";
    const ktBakeResult result = bake(folder, {"box.gltf", "-o", "out.glb"}, failing);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(countOf(result.error, "warning: "), 1u) << result.error;
    EXPECT_THAT(result.error, AllOf(HasSubstr("cannot read it: Input/output error"), Not(HasSubstr("error: "))));
    EXPECT_EQ(runBake(folder.path, {"--save-preset", "Other"}, failing).exitCode, 4);
    EXPECT_EQ(readFile(folder.path / "preferences/aotemplates.xml"), presets);
    for (const auto& entry : fs::directory_iterator(folder.path / "preferences"))
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("broken")));
}
#endif

TEST(EnvironmentFaults, GivenNameThatIsNoUtf8_SaysSo) {
    const ktTestFolder folder;
    folder.write("caf\xe9.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result = bake(folder, {"-o", "out.glb"}, "set -- \"$(printf 'caf\\351.gltf')\" \"$@\"");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, HasSubstr("the name is not valid UTF-8; rename the file"));
}

TEST(EnvironmentFaults, GivenLimitOnTheSizeOfFiles_SaysSo) {
    const ktTestFolder folder;
    writeBox(folder);
    folder.write("out.glb", "old");
    const ktBakeResult output = bake(folder, {"box.gltf", "-o", "out.glb"}, "ulimit -f 1");
    EXPECT_EQ(output.exitCode, 4);
    EXPECT_THAT(output.error, HasSubstr("out.glb: cannot be written: cannot write: File too large"));
    EXPECT_EQ(readFile(folder.file("out.glb")), "old");
    folder.write("box.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const ktBakeResult import = bake(folder, {"box.obj", "-o", "out.glb"}, "ulimit -f 1");
    EXPECT_EQ(import.exitCode, 3);
    EXPECT_THAT(import.error, HasSubstr("the limit on the size of files (ulimit -f) is too low"));
}

TEST(EnvironmentFaults, GivenPlyWithMoreElementsThanBytes_RefusesItAtOnce) {
    const ktTestFolder folder;
    folder.write("a.ply", "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty float x\nproperty float y\n"
                          "property float z\nelement face 100000000\nproperty list uchar int vertex_indices\n"
                          "end_header\n" +
                              std::string(40, '\0'));
    const ktBakeResult result = bake(folder, {"a.ply", "-o", "out.glb"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error,
                HasSubstr("its header says \"element face 100000000\", more than its 217 bytes can hold"));
}

TEST(EnvironmentFaults, GivenSceneWithoutExtent_RefusesDistancesInPercentAsBadInput) {
    const ktTestFolder folder;
    nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
    scene["nodes"][0]["scale"] = {1e-44, 1e-44, 1e-44};
    folder.write("tiny.gltf", scene.dump());
    EXPECT_EQ(bake(folder, {"tiny.gltf", "-o", "out.glb"}).exitCode, 0) << "nobody gave a distance";
    const ktBakeResult result = bake(folder, {"tiny.gltf", "-o", "out.glb", "--max-distance", "3%"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, HasSubstr("tiny.gltf: its diagonal of "));
}
