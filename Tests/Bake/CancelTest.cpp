// SPDX-License-Identifier: LGPL-2.1-or-later
// An interrupt (SIGINT) during a bake.
#include "ktBakeProcess.h"

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
