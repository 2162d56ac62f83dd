// SPDX-License-Identifier: LGPL-2.1-or-later
// The option --missing, which bakes only what has no results.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::Each;
using testing::HasSubstr;

namespace {

/// A small assembly below one node: a base, a bolt used twice, a core that a shell encloses completely.
nlohmann::json makeAssembly() {
    auto scene = makeBoxes({{"base", {0, 0, 0}}, {"bolt", {1.2f, 0, 0}}, {"shell", {0, 3, 0}}, {"core", {0, 3, 0}}});
    scene["nodes"][3]["scale"] = {0.2, 0.2, 0.2};
    scene["nodes"].push_back({{"name", "bolt again"}, {"mesh", 1}, {"translation", {-1.2, 0, 0}}});
    scene["nodes"].push_back({{"name", "assembly"}, {"children", {0, 1, 2, 3, 4}}});
    scene["scenes"][0]["nodes"] = {5};
    return scene;
}

/// Adds a part without results to a .gltf file. It has the shape of the first mesh; its mesh is the last one.
void addPart(const std::string& file) {
    auto scene = nlohmann::json::parse(readFile(file));
    auto primitive = scene["meshes"][0]["primitives"][0];
    for (const char* name : {"_AO", "_INDIRECT", "COLOR_0", "_SOURCE_COLOR_0"})
        primitive["attributes"].erase(name);
    scene["meshes"].push_back({{"primitives", {primitive}}});
    const size_t node = scene["nodes"].size();
    scene["nodes"].push_back({{"name", "new"}, {"mesh", scene["meshes"].size() - 1}, {"translation", {0, 1.2, 0}}});
    auto& top = scene["scenes"][0]["nodes"];
    if (top.size() == 1)
        scene["nodes"][top[0].get<size_t>()]["children"].push_back(node);
    else
        top.push_back(node);
    std::filesystem::remove(file);
    const std::filesystem::path path = file;
    std::ofstream(path) << scene.dump();
}

std::vector<std::string> tracedNodes(const ktTestFolder& folder) {
    const auto stats = nlohmann::json::parse(readFile(folder.file("stats.json")));
    std::vector<std::string> names;
    for (const auto& geometry : stats.at("geometries"))
        if (geometry.at("traced"))
            names.push_back(geometry.at("node"));
    return names;
}

/// Bakes twice, then with a new part and --missing. The old parts must stay bit for bit.
void expectOldPartsStay(const ktTestFolder& folder, const std::vector<std::string>& how) {
    folder.write("scene.gltf", makeAssembly().dump());
    const auto bake = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), how.begin(), how.end());
        const ktBakeResult result = runBake(folder.path, arguments);
        ASSERT_EQ(result.exitCode, 0) << result.error;
    };
    bake({"scene.gltf", "-o", "old.glb", "--shadow-quality", "2"});
    bake({"scene.gltf", "-o", "old.gltf", "--shadow-quality", "2"});
    addPart(folder.file("old.gltf"));
    bake({"old.gltf", "-o", "new.glb", "--missing", "--shadow-quality", "3", "--stats", "stats.json"});
    EXPECT_THAT(tracedNodes(folder), testing::ElementsAre("new"));

    const ktBakedFile before(folder.file("old.glb")), after(folder.file("new.glb"));
    for (size_t mesh = 0; mesh < 4; ++mesh)
        for (const char* name : {"_AO", "POSITION", "NORMAL", "COLOR_0"})
            EXPECT_TRUE(before.floats(before.primitives().at(mesh), name) ==
                        after.floats(after.primitives().at(mesh), name))
                << mesh << name;
    EXPECT_THAT(before.floats(before.primitives().at(3), "_AO"),
                testing::AllOf(Each(2e-6f), testing::Not(testing::IsEmpty())))
        << "the enclosed part is calculated, but dark";
    for (size_t node = 0; node < 6; ++node) {
        ASSERT_EQ(before.json["nodes"][node]["extras"]["ambientOcclusion"]["shadowQuality"], 2);
        EXPECT_EQ(before.json["nodes"][node]["extras"].dump(), after.json["nodes"][node]["extras"].dump());
    }
    EXPECT_EQ(after.json["nodes"][6]["extras"]["ambientOcclusion"]["shadowQuality"], 3);
    EXPECT_FALSE(after.floats(after.primitives().at(4), "_AO").empty());
}

} // namespace

TEST(Missing, GivenNewPart_TracesOnlyItAndKeepsTheOthersBitForBit) {
    expectOldPartsStay(ktTestFolder(), {"--no-indirect"});
}

TEST(Missing, GivenRefinedParts_KeepsThemBitForBit) {
    const ktTestFolder folder;
    expectOldPartsStay(folder, {"--no-indirect", "--subdivide", "--min-edge-length", "100"});
    const ktBakedFile before(folder.file("old.glb"));
    EXPECT_GT(before.floats(before.primitives().at(0), "_AO").size(), 24u) << "refined";
}

TEST(Missing, GivenIndirectLight_TracesTheNewPartAlone) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"left", {0, 0, 0}}, {"right", {1.2f, 0, 0}}});
    folder.write("scene.gltf", scene.dump());
    ASSERT_EQ(runBake(folder.path, {"scene.gltf", "-o", "old.gltf", "--shadow-quality", "1"}).exitCode, 0);
    addPart(folder.file("old.gltf"));
    const ktBakeResult result =
        runBake(folder.path, {"old.gltf", "-o", "new.glb", "--missing", "--stats", "stats.json"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(tracedNodes(folder), testing::ElementsAre("new"));
}

TEST(Missing, GivenDirectLightAlone_TracesAllWhenIndirectIsRequested) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {1.2f, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"scene.gltf", "-o", "old.glb", "--no-indirect", "--shadow-quality", "0"}).exitCode,
              0);
    ASSERT_EQ(runBake(folder.path, {"old.glb", "-o", "new.glb", "--missing", "--stats", "stats.json"}).exitCode, 0);
    EXPECT_THAT(tracedNodes(folder), testing::ElementsAre("left", "right"));
}

TEST(Missing, GivenNothingMissing_SaysSoAndWritesTheSameFile) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeAssembly().dump());
    ASSERT_EQ(runBake(folder.path, {"scene.gltf", "-o", "old.glb", "--no-indirect", "--shadow-quality", "0"}).exitCode,
              0);
    const ktBakeResult result = runBake(folder.path, {"old.glb", "-o", "same.glb", "--missing", "--no-indirect",
                                                      "--max-distance", "77", "--stats", "stats.json"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.error, HasSubstr("Nothing is missing."));
    EXPECT_THAT(tracedNodes(folder), testing::IsEmpty());
    EXPECT_TRUE(readFile(folder.file("old.glb")) == readFile(folder.file("same.glb")));
}

TEST(Missing, GivenPartOfOneNodeWithoutResults_TracesThatPartAlone) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"left", {0, 0, 0}}, {"right", {1.2f, 0, 0}}});
    folder.write("scene.gltf", scene.dump());
    ASSERT_EQ(runBake(folder.path, {"scene.gltf", "-o", "old.gltf", "--no-indirect", "--shadow-quality", "1"}).exitCode,
              0);
    // The first mesh gets a second primitive, without results.
    auto baked = nlohmann::json::parse(readFile(folder.file("old.gltf")));
    auto primitive = baked["meshes"][1]["primitives"][0];
    for (const char* name : {"_AO", "COLOR_0", "_SOURCE_COLOR_0"})
        primitive["attributes"].erase(name);
    baked["meshes"][0]["primitives"].push_back(primitive);
    folder.write("old.gltf", baked.dump());
    ASSERT_EQ(runBake(folder.path, {"old.gltf", "-o", "new.glb", "--missing", "--no-indirect", "--shadow-quality", "0",
                                    "--stats", "stats.json"})
                  .exitCode,
              0);
    const auto stats = nlohmann::json::parse(readFile(folder.file("stats.json")));
    EXPECT_EQ(stats.at("verticesTraced"), 24);
    EXPECT_EQ(ktBakedFile(folder.file("new.glb")).json["nodes"][1]["extras"]["ambientOcclusion"]["shadowQuality"], 1);
}
