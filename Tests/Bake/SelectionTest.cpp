// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktTestScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

bool hasOcclusion(const ktBakedFile& file, size_t mesh) {
    return file.primitives().at(mesh).at("attributes").contains("_AO");
}

} // namespace

TEST(Selection, GivenNames_BakesWhatIsBelowThem) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"middle", {2, 0, 0}}, {"right", {4, 0, 0}}}).dump());
    ASSERT_EQ(
        runBake(folder.path, {"boxes.gltf", "-o", "out.glb", "--shadow-quality", "0", "--select", "left", "right"})
            .exitCode,
        0);
    const ktBakedFile baked(folder.file("out.glb"));
    EXPECT_TRUE(hasOcclusion(baked, 0));
    EXPECT_FALSE(hasOcclusion(baked, 1));
    EXPECT_TRUE(hasOcclusion(baked, 2));
}

TEST(Selection, GivenUnknownName_IsBadInputThatNamesIt) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"boxes.gltf", "-o", "out.glb", "--select", "wheel"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, testing::AllOf(HasSubstr("boxes.gltf"), HasSubstr("wheel")));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "out.glb"));
}

TEST(Selection, GivenMissing_TracesOnlyWhatIsNew) {
    const ktTestFolder folder;
    const std::vector<ktTestBox> boxes = {{"left", {0, 0, 0}}, {"right", {1.2f, 0, 0}}};
    folder.write("old.gltf", makeBoxes(boxes).dump());
    ASSERT_EQ(runBake(folder.path, {"old.gltf", "-o", "old.glb", "--no-indirect", "--shadow-quality", "1"}).exitCode,
              0);
    ASSERT_EQ(runBake(folder.path, {"old.glb", "-o", "same.glb", "--missing", "--no-indirect", "--stats", "same.json"})
                  .exitCode,
              0);
    EXPECT_EQ(nlohmann::json::parse(readFile(folder.file("same.json"))).at("verticesTraced"), 0);

    // Written as text, so that a part can be added to the file.
    ASSERT_EQ(runBake(folder.path, {"old.gltf", "-o", "baked.gltf", "--no-indirect", "--shadow-quality", "1"}).exitCode,
              0);
    auto scene = nlohmann::json::parse(readFile(folder.file("baked.gltf")));
    const nlohmann::json attributes = {{"POSITION", scene["meshes"][0]["primitives"][0]["attributes"]["POSITION"]},
                                       {"NORMAL", scene["meshes"][0]["primitives"][0]["attributes"]["NORMAL"]}};
    scene["meshes"].push_back(
        {{"primitives", {{{"attributes", attributes}, {"indices", scene["meshes"][0]["primitives"][0]["indices"]}}}}});
    scene["nodes"].push_back({{"name", "new"}, {"mesh", 2}, {"translation", {0, 1.2, 0}}});
    scene["scenes"][0]["nodes"].push_back(2);
    folder.write("baked.gltf", scene.dump());
    const ktBakeResult result =
        runBake(folder.path, {"baked.gltf", "-o", "new.glb", "--missing", "--no-indirect", "--stats", "new.json"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(nlohmann::json::parse(readFile(folder.file("new.json"))).at("verticesTraced"), 24);
    const ktBakedFile before(folder.file("old.glb")), after(folder.file("new.glb"));
    for (size_t mesh = 0; mesh < 2; ++mesh)
        EXPECT_TRUE(before.floats(before.primitives().at(mesh), "_AO") ==
                    after.floats(after.primitives().at(mesh), "_AO"));
    EXPECT_EQ(after.floats(after.primitives().at(2), "_AO").size(), 24u);
}

TEST(Selection, GivenClear_RemovesResults) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {2, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"boxes.gltf", "-o", "out.glb", "--shadow-quality", "0"}).exitCode, 0);
    const ktBakeResult result =
        runBake(folder.path, {"out.glb", "-o", "out.glb", "--clear", "shadows", "--select", "left"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const ktBakedFile cleared(folder.file("out.glb"));
    EXPECT_FALSE(hasOcclusion(cleared, 0));
    EXPECT_TRUE(hasOcclusion(cleared, 1));
}
