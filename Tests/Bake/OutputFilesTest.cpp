// SPDX-License-Identifier: LGPL-2.1-or-later
// What ktbake does to files: pipes as outputs, shared buffers, several writers, failing system calls,
// closed standard streams.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <fcntl.h>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::SizeIs;

namespace {

std::vector<std::string> quick(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--shadow-quality", "0", "--no-indirect"});
    return arguments;
}

/// Writes a scene as car.gltf with its data in car.bin.
void writeCar(const ktTestFolder& folder) {
    folder.write("embedded.gltf", makeBoxes({{"door", {0, 0, 0}}, {"wheel", {1.2f, 0, 0}}}).dump());
    const ktBakedFile embedded(folder.file("embedded.gltf"));
    nlohmann::json json = embedded.json;
    ASSERT_EQ(embedded.buffers.size(), 1u);
    json["buffers"][0]["uri"] = "car.bin";
    folder.write("car.bin", embedded.buffers[0]);
    folder.write("car.gltf", json.dump());
}

std::vector<std::string> namesIn(const ktTestFolder& folder, const std::string& ending) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path))
        if (entry.path().extension() == ending)
            names.push_back(entry.path().filename().string());
    return names;
}

} // namespace

TEST(OutputFiles, GivenCopyOfABakedFile_ItsBufferStays) {
    const ktTestFolder folder;
    writeCar(folder);
    ASSERT_EQ(runBake(folder.path, quick({"car.gltf", "-o", "out.gltf"})).exitCode, 0);
    fs::copy_file(folder.file("out.gltf"), folder.file("copy.gltf"));
    const std::vector<float> before = ktBakedFile(folder.file("copy.gltf")).allOcclusion();
    ASSERT_FALSE(before.empty());
    ASSERT_EQ(runBake(folder.path, quick({"car.gltf", "-o", "out.gltf", "--max-distance", "300"})).exitCode, 0);
    EXPECT_EQ(ktBakedFile(folder.file("copy.gltf")).allOcclusion(), before);
    EXPECT_NE(ktBakedFile(folder.file("out.gltf")).allOcclusion(), before);
    EXPECT_THAT(namesIn(folder, ".bin"), SizeIs(3));

    fs::remove(folder.file("copy.gltf"));
    ASSERT_EQ(runBake(folder.path, quick({"car.gltf", "-o", "out.gltf", "--max-distance", "200"})).exitCode, 0);
    EXPECT_THAT(namesIn(folder, ".bin"), SizeIs(3)) << "a buffer that no file names any more is deleted";
}

TEST(OutputFiles, GivenSeveralWritersOfOneFile_LeaveAWholeFileAndNoMore) {
    const ktTestFolder folder;
    writeCar(folder);
    for (int round = 0; round < 3; ++round) {
        std::vector<std::future<int>> writers;
        for (const char* distance : {"300", "200", "300", "200"})
            writers.push_back(std::async(std::launch::async, [&folder, distance] {
                return runBake(folder.path, quick({"car.gltf", "-qo", "out.gltf", "--max-distance", distance}))
                    .exitCode;
            }));
        for (std::future<int>& writer : writers)
            EXPECT_EQ(writer.get(), 0);
        EXPECT_THAT(ktBakedFile(folder.file("out.gltf")).allOcclusion(), SizeIs(48));
        EXPECT_THAT(namesIn(folder, ".bin"), SizeIs(2)) << "car.bin and one of out.gltf";
    }
}

TEST(OutputFiles, GivenPipeOrOpenFileForStatistics_WritesIntoIt) {
    const ktTestFolder folder;
    writeCar(folder);
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const int reader = open(folder.file("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    ktBakeResult result = runBake(folder.path, quick({"car.gltf", "-qo", "a.glb", "--stats", "pipe"}));
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_TRUE(fs::is_fifo(folder.file("pipe")));
    std::string content(1 << 16, '\0'); // as much as a pipe holds
    content.resize(static_cast<std::size_t>(std::max<ssize_t>(0, read(reader, content.data(), content.size()))));
    close(reader);
    EXPECT_EQ(nlohmann::json::parse(content).at("scene"), "car.gltf");

    result = runBake(folder.path, quick({"car.gltf", "-qo", "a.glb", "--stats", "pipe"}));
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_THAT(result.error, HasSubstr("pipe: the statistics cannot be written: no program reads from this pipe"));

    result = runBake(folder.path, quick({"car.gltf", "-qo", "a.glb", "--stats", "/dev/fd/5"}),
                     "exec 5>kept.json; echo '\"before\"' >&5");
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(readFile(folder.file("kept.json")), testing::StartsWith("\"before\"\n{"));
}

TEST(OutputFiles, GivenPipeForThePicture_WritesIntoIt) {
    const ktTestFolder folder;
    writeCar(folder);
    ASSERT_EQ(mkfifo(folder.file("pipe.png").c_str(), 0600), 0);
    const int reader = open(folder.file("pipe.png").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    const ktBakeResult result =
        runBake(folder.path, quick({"car.gltf", "-qo", "a.glb", "--preview", "pipe.png", "--preview-size", "32x32"}));
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_TRUE(fs::is_fifo(folder.file("pipe.png")));
    char content[5] = {};
    EXPECT_EQ(read(reader, content, 4), 4);
    close(reader);
    EXPECT_STREQ(content, "\x89PNG");
}

TEST(OutputFiles, GivenStatisticsInTheFileOfSceneOrOutput_IsRefused) {
    const ktTestFolder folder;
    writeCar(folder);
    fs::create_symlink("car.gltf", folder.file("link"));
    const std::string scene = readFile(folder.file("car.gltf"));
    for (const char* stats : {"car.gltf", "./car.gltf", "link", "new.glb"}) {
        const ktBakeResult result = runBake(folder.path, quick({"car.gltf", "-o", "new.glb", "--stats", stats}));
        EXPECT_EQ(result.exitCode, 2) << stats;
        EXPECT_THAT(result.error, HasSubstr("is the file of ")) << stats;
        EXPECT_FALSE(fs::exists(folder.file("new.glb")));
    }
    EXPECT_EQ(readFile(folder.file("car.gltf")), scene);
}

TEST(OutputFiles, GivenPictureThatLinksToSceneOrOutput_IsRefused) {
    const ktTestFolder folder;
    writeCar(folder);
    const std::string scene = readFile(folder.file("car.gltf"));
    folder.write("new.glb", "old");
    for (const char* target : {"car.gltf", "new.glb"}) {
        fs::remove(folder.file("link.png"));
        fs::create_symlink(target, folder.file("link.png"));
        const ktBakeResult result = runBake(folder.path, quick({"car.gltf", "-o", "new.glb", "--preview", "link.png"}));
        EXPECT_EQ(result.exitCode, 2) << target;
        EXPECT_THAT(result.error, HasSubstr("link.png: is the file of ")) << target;
        EXPECT_EQ(readFile(folder.file("car.gltf")), scene);
        EXPECT_EQ(readFile(folder.file("new.glb")), "old");
    }
}

TEST(OutputFiles, GivenPictureOrStatisticsInAFileOfTheScene_IsRefused) {
    const ktTestFolder folder;
    writeCar(folder);
    nlohmann::json scene = nlohmann::json::parse(readFile(folder.file("car.gltf")));
    scene["images"] = {{{"uri", "paint.png"}}};
    scene["textures"] = {{{"source", 0}}};
    scene["materials"] = {{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}};
    for (nlohmann::json& mesh : scene["meshes"])
        mesh["primitives"][0]["material"] = 0;
    folder.write("car.gltf", scene.dump());
    folder.write("paint.png", "no picture, but the scene names it");
    const std::string buffer = readFile(folder.file("car.bin"));
    const std::vector<std::vector<std::string>> given = {{"--preview", "paint.png"}, {"--stats", "car.bin"}};
    for (const std::vector<std::string>& option : given) {
        const ktBakeResult result = runBake(folder.path, quick({"car.gltf", "-o", "new.glb", option[0], option[1]}));
        EXPECT_EQ(result.exitCode, 4) << option[1] << result.error;
        EXPECT_THAT(result.error, HasSubstr(option[1] + ": cannot be written: the scene uses this file"));
        EXPECT_FALSE(fs::exists(folder.file("new.glb")));
    }
    EXPECT_EQ(readFile(folder.file("car.bin")), buffer);
    EXPECT_EQ(readFile(folder.file("paint.png")), "no picture, but the scene names it");
}

TEST(OutputFiles, GivenClosedStandardStreams_BakesAsUsual) {
    const ktTestFolder folder;
    writeCar(folder);
    ASSERT_EQ(runBake(folder.path, quick({"car.gltf", "-o", "open.glb"})).exitCode, 0);
    for (const char* closed : {"exec <&- >&- 2>&-", "exec >&-", "exec 2>&-", "exec <&-"}) {
        EXPECT_EQ(runBake(folder.path, quick({"car.gltf", "-o", "closed.glb"}), closed).exitCode, 0) << closed;
        EXPECT_EQ(readFile(folder.file("closed.glb")), readFile(folder.file("open.glb"))) << closed;
    }
}

#ifdef KT_FAILING_CALLS
TEST(OutputFiles, GivenAFailingCallWhileWriting_KeepsTheOldFileAndSaysSo) {
    const ktTestFolder folder;
    writeCar(folder);
    for (const char* call : {"write", "fsync", "close", "rename"}) {
        folder.write("out.glb", "old");
        const ktBakeResult result =
            runBake(folder.path, quick({"car.gltf", "-o", "out.glb"}),
                    std::string("export LD_PRELOAD=" KT_FAILING_CALLS " KT_FAILING_CALL=") + call);
        EXPECT_EQ(result.exitCode, 4) << call;
        EXPECT_THAT(result.error, HasSubstr("out.glb: cannot be written: ")) << call;
        EXPECT_THAT(result.error, HasSubstr("Input/output error")) << call;
        EXPECT_EQ(readFile(folder.file("out.glb")), "old") << call;
        for (const auto& entry : fs::directory_iterator(folder.path))
            EXPECT_EQ(entry.path().filename().string().find(".tmp-"), std::string::npos) << call;
    }
}
#endif

#ifdef KT_FAILING_CALLS
TEST(FailingThreads, GivenAnyThreadThatDoesNotStart_EndsWithAMessage) {
    const ktTestFolder folder;
    const std::string scene = model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb");
    bool hasFailed = false, areEnough = false;
    for (int from = 0; !areEnough && from < 30; ++from)
        for (const char* count : {"1", "1000"}) {
            fs::remove(folder.file("out.glb"));
            const ktBakeResult result =
                runBake(folder.path, {scene, "-qo", "out.glb", "--shadow-quality", "0", "--gather-quality", "0"},
                        "export LD_PRELOAD=" KT_FAILING_CALLS " KT_FAILING_CALL=pthread_create KT_FAILING_COUNT=" +
                            std::string(count) + " KT_FAILING_FROM=" + std::to_string(from));
            ASSERT_THAT(result.exitCode, testing::AnyOf(0, 1)) << from << ' ' << count << ": " << result.error;
            EXPECT_EQ(fs::exists(folder.file("out.glb")), result.exitCode == 0);
            EXPECT_EQ(result.error.empty(), result.exitCode == 0);
            hasFailed = hasFailed || result.exitCode == 1;
            areEnough = result.exitCode == 0 && std::string(count) == "1000";
        }
    EXPECT_TRUE(hasFailed);
    EXPECT_TRUE(areEnough) << "a bake uses fewer threads";
}
#endif

#ifdef KT_LOCALEDEF
TEST(OutputFiles, GivenLocaleWithDecimalComma_BakesTheSameFile) {
    const ktTestFolder folder;
    folder.write("box.x3d", R"(<?xml version="1.0" encoding="UTF-8"?>
<X3D profile="Interchange" version="3.0"><Scene><Shape><IndexedFaceSet coordIndex="0 1 2 -1 0 2 3 -1 0 3 1 -1 3 2 1 -1">
<Coordinate point="0.25 0.25 0.5 1.75 0.25 0.5 0.75 1.75 0.5 0.75 0.75 -1.5"/></IndexedFaceSet></Shape></Scene></X3D>
)");
    const std::vector<std::string> arguments = {"box.x3d", "--unit",         "m",   "--exposure",
                                                "1.25",    "--max-distance", "0.5%"};
    const auto bake = [&](const std::string& output, const std::string& before) {
        std::vector<std::string> all = quick(arguments);
        all.insert(all.end(), {"-o", output});
        const ktBakeResult result = runBake(folder.path, all, before);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return readFile(folder.file(output));
    };
    const std::string made = "localedef -i de_DE -f UTF-8 \"$PWD/de_DE.UTF-8\" >/dev/null; "
                             "export LOCPATH=\"$PWD\" LC_ALL=de_DE.UTF-8";
    ASSERT_EQ(runBake(folder.path, {"--version"}, made + "; test \"$(locale decimal_point)\" = , || exit 9").exitCode,
              0)
        << "the locale is in effect";
    const std::string plain = bake("plain.glb", {}), comma = bake("comma.glb", made);
    EXPECT_FALSE(plain.empty());
    EXPECT_EQ(comma, plain);
}
#endif
