// SPDX-License-Identifier: LGPL-2.1-or-later
// The option --clear, which removes results.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

/// Writes baked.glb with the baked boxes "shown" and "hidden". They light each other; the second is hidden.
void bakeTwo(const ktTestFolder& folder) {
    auto scene = makeBoxes({{"shown", {0, 0, 0}}, {"hidden", {1.2f, 0, 0}}});
    folder.write("scene.gltf", scene.dump());
    ASSERT_EQ(runBake(folder.path, {"scene.gltf", "-o", "scene.gltf", "--shadow-quality", "0", "--gather-quality", "0"})
                  .exitCode,
              0);
    scene = nlohmann::json::parse(readFile(folder.file("scene.gltf")));
    scene["extensionsUsed"] = {"KHR_node_visibility"};
    scene["nodes"][1]["extensions"]["KHR_node_visibility"]["visible"] = false;
    folder.write("scene.gltf", scene.dump());
}

ktBakedFile clear(const ktTestFolder& folder, const std::vector<std::string>& how) {
    std::vector<std::string> arguments = {"scene.gltf", "-o", "cleared.glb", "--clear"};
    arguments.insert(arguments.end(), how.begin(), how.end());
    const ktBakeResult result = runBake(folder.path, arguments);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.out, "") << "it traces nothing";
    return ktBakedFile(folder.file("cleared.glb"));
}

bool has(const ktBakedFile& file, size_t mesh, const char* attribute) {
    return file.primitives().at(mesh).at("attributes").contains(attribute);
}

} // namespace

TEST(Clear, GivenShadows_RemovesAllResults) {
    const ktTestFolder folder;
    bakeTwo(folder);
    const ktBakedFile file = clear(folder, {"shadows"});
    for (size_t mesh = 0; mesh < 2; ++mesh)
        for (const char* attribute : {"_AO", "COLOR_0", "_SOURCE_COLOR_0"})
            EXPECT_FALSE(has(file, mesh, attribute)) << mesh << attribute;
    EXPECT_TRUE(file.json["nodes"][0]["extras"].contains("ambientOcclusion")) << "settings are kept";
}

TEST(Clear, GivenActiveShadows_KeepsHiddenParts) {
    const ktTestFolder folder;
    bakeTwo(folder);
    const ktBakedFile file = clear(folder, {"shadows", "--active"});
    EXPECT_FALSE(has(file, 0, "_AO"));
    EXPECT_TRUE(has(file, 1, "_AO"));
}

TEST(Clear, GivenSelection_ClearsNothingElse) {
    const ktTestFolder folder;
    bakeTwo(folder);
    const ktBakedFile file = clear(folder, {"shadows", "--select", "hidden"});
    EXPECT_TRUE(has(file, 0, "_AO"));
    EXPECT_FALSE(has(file, 1, "_AO"));
}

TEST(Clear, GivenIndirect_KeepsShadowsBitForBit) {
    const ktTestFolder folder;
    bakeTwo(folder);
    ASSERT_EQ(runBake(folder.path, {"scene.gltf", "-o", "baked.glb", "--missing"}).exitCode, 0);
    const ktBakedFile before(folder.file("baked.glb"));
    ASSERT_TRUE(has(before, 0, "_INDIRECT"));
    const ktBakedFile file = clear(folder, {"indirect"});
    for (size_t mesh = 0; mesh < 2; ++mesh) {
        EXPECT_FALSE(has(file, mesh, "_INDIRECT"));
        EXPECT_EQ(file.floats(file.primitives().at(mesh), "_AO"), before.floats(before.primitives().at(mesh), "_AO"));
    }
    const ktBakedFile active = clear(folder, {"indirect", "--active"});
    EXPECT_FALSE(has(active, 0, "_INDIRECT"));
    EXPECT_TRUE(has(active, 1, "_INDIRECT"));
}

TEST(Clear, GivenClearedScene_MissingBakesItAgain) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"a", {0, 0, 0}}, {"b", {1.2f, 0, 0}}}).dump());
    const std::vector<std::string> how = {"--shadow-quality", "0", "--no-indirect"};
    const auto run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), how.begin(), how.end());
        ASSERT_EQ(runBake(folder.path, arguments).exitCode, 0);
    };
    run({"scene.gltf", "-o", "baked.glb"});
    run({"baked.glb", "-o", "cleared.glb", "--clear", "shadows", "--select", "b"});
    run({"cleared.glb", "-o", "again.glb", "--missing"});
    EXPECT_EQ(ktBakedFile(folder.file("again.glb")).allOcclusion(),
              ktBakedFile(folder.file("baked.glb")).allOcclusion());
}

TEST(Clear, GivenContradiction_IsWrongUsage) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"a", {0, 0, 0}}}).dump());
    EXPECT_EQ(runBake(folder.path, {"scene.gltf", "--clear", "shadows", "--missing"}).exitCode, 2);
    EXPECT_EQ(runBake(folder.path, {"scene.gltf", "--active"}).exitCode, 2);
    EXPECT_EQ(runBake(folder.path, {"scene.gltf", "--clear", "everything"}).exitCode, 2);
}
