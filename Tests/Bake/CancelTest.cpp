// SPDX-License-Identifier: LGPL-2.1-or-later
// An interrupt (SIGINT) during a bake.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

TEST(Cancel, GivenInterruptWhileTracing_EndsAndWritesNothing) {
    const ktTestFolder folder;
    folder.write("out.glb", "old");
    const ktBakeResult result =
        interruptBake(folder.path,
                      {model("glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"), "-o", "out.glb", "--preview",
                       "out.png", "--stats", "out.json", "--shadow-quality", "5"},
                      "vertices traced");
    EXPECT_EQ(result.exitCode, 130) << result.error;
    EXPECT_EQ(readFile(folder.file("out.glb")), "old");
    const auto files =
        std::distance(std::filesystem::directory_iterator(folder.path), std::filesystem::directory_iterator());
    EXPECT_EQ(files, 2) << "only the old output and the preferences";
}

#ifdef KT_INTERRUPTING_CALLS
namespace {

/// Runs ktbake over an old output and an old picture. It gets SIGINT in that call (see ktInterruptingCalls.cpp).
class InterruptedBake {
public:
    InterruptedBake(const std::string& call, const std::string& place, std::vector<std::string> arguments = {},
                    const std::string& name = "out.glb") {
        folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
        folder.write(name, "old");
        folder.write("out.png", "old");
        arguments.insert(arguments.begin(), {"scene.gltf", "-o", name, "--shadow-quality", "0", "--no-indirect"});
        result = runBake(folder.path, arguments,
                         "export LD_PRELOAD=" KT_INTERRUPTING_CALLS " KT_INTERRUPT_IN=" + call + " KT_INTERRUPT_AT='" +
                             place + "'");
        output = readFile(folder.file(name));
        picture = readFile(folder.file("out.png"));
        for (const auto& entry : std::filesystem::directory_iterator(folder.path))
            names.push_back(entry.path().filename().string());
        EXPECT_THAT(names, testing::UnorderedElementsAre("scene.gltf", name, "out.png", "preferences"));
    }
    ktBakeResult result;
    std::string output, picture;

private:
    const ktTestFolder folder;
    std::vector<std::string> names;
};

/// A bake that gets SIGINT while none of its scenes is under way. Temporary files go into its folder.
class OtherwiseInterruptedBake {
public:
    OtherwiseInterruptedBake(const std::string& call, const std::string& place,
                             const std::vector<std::string>& arguments) {
        folder.write("scene.glb", readFile(model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb")));
        folder.write("out.glb", "old");
        std::vector<std::string> all = {"--shadow-quality", "0", "--no-indirect"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        result = runBake(folder.path, all,
                         "exec < scene.glb; export TMPDIR='" + folder.path.string() +
                             "' LD_PRELOAD=" KT_INTERRUPTING_CALLS " KT_INTERRUPT_IN=" + call + " KT_INTERRUPT_AT='" +
                             place + "'");
        output = readFile(folder.file("out.glb"));
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path))
            if (const std::string name = entry.path().filename().string();
                name != "preferences" && name != "aotemplates.xml" && name != "aotemplates.xml.lock")
                names.push_back(name);
        EXPECT_THAT(names, testing::UnorderedElementsAre("scene.glb", "out.glb")) << result.error;
    }
    ktBakeResult result;
    std::string output;

private:
    const ktTestFolder folder;
    std::vector<std::string> names;
};

} // namespace

TEST(Cancel, GivenInterruptBeforeMain_EndsByTheSignalAndLeavesNothing) {
    const OtherwiseInterruptedBake bake("start", "", {"scene.glb", "-o", "out.glb"});
    EXPECT_EQ(bake.result.exitCode, -1) << "not by an exit";
    EXPECT_EQ(bake.result.error, "");
    EXPECT_EQ(bake.output, "old");
}

TEST(Cancel, GivenInterruptWhileStarting_LeavesNothing) {
    for (const char* call : {"fsync", "rename"}) {
        const OtherwiseInterruptedBake bake(call, "aotemplates.xml.tmp-", {"scene.glb", "-o", "out.glb"});
        EXPECT_EQ(bake.result.exitCode, 130) << call;
        EXPECT_EQ(bake.result.error, "error: Cancelled.\n") << call;
        EXPECT_EQ(bake.output, "old") << call;
    }
}

TEST(Cancel, GivenInterruptWhileReadingStandardInput_SaysSoInJson) {
    const OtherwiseInterruptedBake bake("read", "scene.glb", {"-", "-o", "out.glb", "--json"});
    EXPECT_EQ(bake.result.exitCode, 130);
    EXPECT_EQ(bake.result.error, "{\"level\":\"error\",\"text\":\"Cancelled.\"}\n"
                                 "{\"exitCode\":130,\"level\":\"result\",\"result\":\"cancelled\","
                                 "\"text\":\"cancelled\"}\n");
    EXPECT_EQ(bake.output, "old");
}

TEST(Cancel, GivenInterruptWhileWritingStandardOutput_LeavesNothing) {
    const OtherwiseInterruptedBake bake("read", "baked.glb", {"scene.glb", "-o", "-"});
    EXPECT_EQ(bake.result.exitCode, 130) << bake.result.error;
    EXPECT_THAT(bake.result.error, testing::EndsWith("error: Cancelled.\n"));
    EXPECT_EQ(bake.result.out, "");
}

TEST(Cancel, GivenInterruptWhenTheResultIsSaid_ComesTooLate) {
    const OtherwiseInterruptedBake bake("message", "\"level\":\"result\"", {"scene.glb", "-o", "out.glb", "--json"});
    EXPECT_EQ(bake.result.exitCode, 0) << bake.result.error;
    EXPECT_EQ(bake.output.substr(0, 4), "glTF");
}

TEST(Cancel, GivenInterruptWhileReading_WritesNothing) {
    const InterruptedBake bake("read", "scene.gltf");
    EXPECT_EQ(bake.result.exitCode, 130) << bake.result.error;
    EXPECT_THAT(bake.result.error, HasSubstr("Cancelled; nothing is written."));
    EXPECT_EQ(bake.result.out, "") << "traces nothing";
    EXPECT_EQ(bake.output, "old");
}

TEST(Cancel, GivenInterruptWhileWriting_KeepsTheOldFile) {
    for (const char* name : {"out.glb", "out.gltf"})
        for (const std::string& place : {std::string("/out"), name + std::string(".tmp-")}) { // a buffer may come first
            const InterruptedBake bake("write", place, {}, name);
            EXPECT_EQ(bake.result.exitCode, 130) << name << place << bake.result.error;
            EXPECT_THAT(bake.result.error, HasSubstr("Cancelled; nothing is written.")) << name;
            EXPECT_EQ(bake.output, "old") << name << place;
        }
}

TEST(Cancel, GivenInterruptWhenAllIsWritten_KeepsTheNewFile) {
    for (const char* call : {"fsync", "rename"}) {
        const InterruptedBake bake(call, "out.glb.tmp-");
        EXPECT_EQ(bake.result.exitCode, 0) << call << bake.result.error;
        EXPECT_EQ(bake.output.substr(0, 4), "glTF") << call;
    }
}

TEST(Cancel, GivenInterruptBeforeThePicture_KeepsTheOldPicture) {
    for (const char* call : {"fsync", "rename"}) {
        const InterruptedBake bake(call, "out.glb.tmp-", {"--preview", "out.png"});
        EXPECT_EQ(bake.result.exitCode, 130) << call << bake.result.error;
        EXPECT_THAT(bake.result.error, HasSubstr("Cancelled; out.glb is written, the picture is not."));
        EXPECT_EQ(bake.output.substr(0, 4), "glTF") << call;
        EXPECT_EQ(bake.picture, "old") << call;
    }
}

TEST(Cancel, GivenInterruptWhileDrawing_KeepsTheBakedFileAndTheOldPicture) {
    // When it begins, and when it is drawn and is to be encoded.
    for (const char* moment : {"of the preview drawn", " 90 %  of the preview drawn"}) {
        const InterruptedBake bake("message", moment, {"--preview", "out.png", "--stats", "out.json"});
        EXPECT_EQ(bake.result.exitCode, 130) << moment << bake.result.error;
        EXPECT_THAT(bake.result.error, HasSubstr("Cancelled; out.glb is written, the picture is not.")) << moment;
        EXPECT_EQ(bake.output.substr(0, 4), "glTF") << moment;
        EXPECT_EQ(bake.picture, "old") << moment;
    }
}
#endif
