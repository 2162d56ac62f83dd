// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake with surfaces without normals, and with parts that are inside out.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

/// A floor and a wall that share two of their vertices, long compared with the largest distance.
const char* const floorAndWall = "OFF\n6 4 0\n-1000 0 0\n1000 0 0\n1000 0 100\n-1000 0 100\n1000 100 0\n-1000 100 0\n"
                                 "3 0 2 1\n3 0 3 2\n3 0 1 4\n3 0 4 5\n";

const char* const insideOutBox =
    "OFF\n8 12 0\n0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 1\n3 0 3 2\n3 0 1 3\n3 4 7 5\n3 4 6 7\n"
    "3 0 5 1\n3 0 4 5\n3 2 7 6\n3 2 3 7\n3 0 6 4\n3 0 2 6\n3 1 7 3\n3 1 5 7\n";

/// A bake of one file with its distances.
struct Bake {
    Bake(const std::string& name, const std::string& text, const std::vector<std::string>& options = {}) {
        folder.write(name, text);
        std::vector<std::string> arguments = {name, "-o", "out.glb", "--unit", "mm", "--no-indirect"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        if (result.exitCode == 0)
            occlusion = ktBakedFile(folder.file("out.glb")).allOcclusion();
    }
    bool says(const std::string& text) const { return result.error.find(text) != std::string::npos; }

    const ktTestFolder folder;
    ktBakeResult result;
    std::vector<float> occlusion;
};

} // namespace

TEST(BakeNormals, GivenSharpCorner_IsDarkerThanASmoothOne) {
    const Bake bake("corner.off", floorAndWall, {"--max-distance", "100"});
    ASSERT_EQ(bake.occlusion.size(), 8u);
    EXPECT_TRUE(bake.says("edges sharper than 30 degrees; their vertices are split there: 2 added"))
        << bake.result.error;
    const Bake smooth("corner.off", floorAndWall, {"--max-distance", "100", "--crease-angle", "90"});
    ASSERT_EQ(smooth.occlusion.size(), 6u);
    EXPECT_FALSE(smooth.says("are split"));
    for (const std::size_t vertex : {0, 1, 6, 7})
        EXPECT_LT(bake.occlusion[vertex], 0.65f) << vertex;
    EXPECT_GT(smooth.occlusion[0], 0.8f);
    EXPECT_GT(smooth.occlusion[1], 0.8f);
}

TEST(BakeNormals, GivenKeepVertices_FitsOneValueToBothSides) {
    const Bake bake("corner.off", floorAndWall, {"--max-distance", "100", "--keep-vertices"});
    ASSERT_EQ(bake.occlusion.size(), 6u);
    EXPECT_FALSE(bake.says("are split"));
    EXPECT_LT(bake.occlusion[0], 0.7f);
    EXPECT_LT(bake.occlusion[1], 0.7f);
    const Bake vertices("corner.off", floorAndWall, {"--max-distance", "100", "--keep-vertices", "--fit", "vertices"});
    EXPECT_EQ(vertices.occlusion.size(), 6u);
}

TEST(BakeNormals, GivenBakedFile_GivesTheSame) {
    const Bake once("corner.off", floorAndWall, {"--max-distance", "100"});
    const ktBakeResult again = runBake(
        once.folder.path, {"out.glb", "-o", "again.glb", "--unit", "mm", "--no-indirect", "--max-distance", "100"});
    ASSERT_EQ(again.exitCode, 0) << again.error;
    EXPECT_EQ(ktBakedFile(once.folder.file("again.glb")).allOcclusion(), once.occlusion);
    EXPECT_EQ(again.error.find("are split"), std::string::npos) << again.error;
}

TEST(BakeNormals, GivenInsideOutBox_BakesItsOuterSide) {
    const Bake bake("box.off", insideOutBox, {"--max-distance", "10"});
    ASSERT_EQ(bake.occlusion.size(), 24u);
    EXPECT_GT(*std::min_element(bake.occlusion.begin(), bake.occlusion.end()), 0.99f);
    EXPECT_TRUE(bake.says("box.off: /meshes/0: has closed parts that are inside out")) << bake.result.error;
    EXPECT_TRUE(bake.says("1 part, 12 triangles")) << bake.result.error;
}

TEST(BakeNormals, GivenRefinement_WritesSplitVertices) {
    const Bake bake("corner.off", floorAndWall, {"--max-distance", "100", "--subdivide", "--min-edge-length", "50"});
    EXPECT_GT(bake.occlusion.size(), 8u);
    const Bake keeping("corner.off", floorAndWall,
                       {"--max-distance", "100", "--subdivide", "--min-edge-length", "50", "--keep-vertices"});
    EXPECT_GT(keeping.occlusion.size(), 8u) << "a refined mesh has new vertices anyway";
    const ktBakedFile file(bake.folder.file("out.glb"));
    // No triangle has vertices on both sides of the edge.
    const auto primitive = file.primitives().at(0);
    const std::vector<float> positions = file.floats(primitive, "POSITION");
    const auto indices = file.indices(primitive);
    ASSERT_FALSE(indices.empty());
    std::vector<int> side(positions.size() / 3, 0);
    for (std::size_t i = 0; i < indices.size(); i += 3) {
        float height = 0;
        for (std::size_t k = 0; k < 3; ++k)
            height = std::max(height, positions[3 * indices[i + k] + 1]);
        for (std::size_t k = 0; k < 3; ++k)
            side[indices[i + k]] |= height > 0 ? 2 : 1;
    }
    EXPECT_EQ(std::count(side.begin(), side.end(), 3), 0);
}

TEST(BakeNormals, GivenWrongAngle_IsAnError) {
    const ktTestFolder folder;
    folder.write("corner.off", floorAndWall);
    for (const char* angle : {"-1", "181", "steep", ""}) {
        const ktBakeResult result = runBake(folder.path, {"corner.off", "--crease-angle", angle});
        EXPECT_EQ(result.exitCode, 2) << angle;
        EXPECT_NE(result.error.find("--crease-angle"), std::string::npos) << result.error;
    }
}
