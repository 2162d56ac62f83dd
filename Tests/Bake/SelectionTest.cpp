// SPDX-License-Identifier: LGPL-2.1-or-later
// The option --select.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

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
