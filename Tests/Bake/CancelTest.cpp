// SPDX-License-Identifier: LGPL-2.1-or-later
// An interrupt (SIGINT) during a bake.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gtest/gtest.h>

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

TEST(Cancel, GivenInterruptWhileDrawing_KeepsTheBakedFileAndTheOldPicture) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    folder.write("out.png", "old");
    const ktBakeResult result =
        interruptBake(folder.path,
                      {"scene.gltf", "-o", "out.glb", "--preview", "out.png", "--preview-size", "8192x8192",
                       "--shadow-quality", "0", "--no-indirect", "--stats", "out.json"},
                      "of the preview drawn");
    EXPECT_EQ(result.exitCode, 130) << result.error;
    EXPECT_NE(result.error.find("Cancelled; out.glb is written, the picture is not."), std::string::npos)
        << result.error;
    EXPECT_EQ(readFile(folder.file("out.glb")).substr(0, 4), "glTF");
    EXPECT_EQ(readFile(folder.file("out.png")), "old");
    const auto files =
        std::distance(std::filesystem::directory_iterator(folder.path), std::filesystem::directory_iterator());
    EXPECT_EQ(files, 4) << "the scene, the baked file, the old picture and the preferences";
}

TEST(Cancel, GivenInterruptWhileEncoding_WritesNoPicture) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result =
        interruptBake(folder.path,
                      {"scene.gltf", "-o", "out.glb", "--preview", "out.png", "--preview-size", "4000x4000",
                       "--preview-view", "front", "--shadow-quality", "0", "--no-indirect"},
                      " 90 %  of the preview drawn");
    EXPECT_EQ(result.exitCode, 130) << result.error;
    EXPECT_FALSE(std::filesystem::exists(folder.file("out.png")));
}
