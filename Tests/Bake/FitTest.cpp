// SPDX-License-Identifier: LGPL-2.1-or-later
// ktbake's option --fit: what it writes and counts.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

/// A bake of two boxes that stand 2 cm apart.
struct Bake {
    explicit Bake(const std::vector<std::string>& options) {
        folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {1.02f, 0, 0}}}).dump());
        std::vector<std::string> arguments = {"boxes.gltf",       "-o", "out.glb",          "--stats", "stats.json",
                                              "--shadow-quality", "2",  "--gather-quality", "0"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        if (result.exitCode != 0)
            return;
        occlusion = ktBakedFile(folder.file("out.glb")).allOcclusion();
        stats = nlohmann::json::parse(readFile(folder.file("stats.json")));
    }

    const ktTestFolder folder;
    ktBakeResult result;
    std::vector<float> occlusion;
    nlohmann::json stats;
};

} // namespace

TEST(BakeFit, GivenSurface_WritesFittedResultsInRange) {
    const Bake vertices({"--fit", "vertices"}), surface({"--fit", "surface"});
    ASSERT_EQ(surface.occlusion.size(), 48u);
    EXPECT_NE(surface.occlusion, vertices.occlusion);
    for (const float value : surface.occlusion) {
        EXPECT_GE(value, 0.0f);
        EXPECT_LE(value, 1.0f);
    }
    // Between the boxes, the corners see past them and the middles of the faces do not.
    EXPECT_LT(*std::min_element(surface.occlusion.begin(), surface.occlusion.end()), 0.2f);
    EXPECT_GT(*std::max_element(surface.occlusion.begin(), surface.occlusion.end()), 0.98f);
    EXPECT_EQ(surface.stats.at("geometriesCalculated"), 2);
    // 32,768 points at least in a small scene, each with 0.4 times the rays of a vertex: 20 * 20.
    for (const char* pass : {"direct", "indirect"})
        EXPECT_GT(surface.stats.at("raysTraced").at(pass).get<double>(), 30000.0 * 16) << pass;
    EXPECT_GT(surface.stats.at("raysTraced").at("direct").get<double>(), 30000.0 * 400);
    EXPECT_LT(surface.stats.at("raysTraced").at("direct").get<double>(), 34000.0 * (400 + 16));
    EXPECT_EQ(vertices.stats.at("raysTraced").at("direct"), 48 * 1024);
}

TEST(BakeFit, GivenAnyNumberOfThreads_WritesTheSame) {
    const Bake one({"--fit", "surface", "--threads", "1"}), two({"--fit", "surface", "--threads", "2"});
    EXPECT_FALSE(one.occlusion.empty());
    EXPECT_EQ(one.occlusion, two.occlusion);
    EXPECT_EQ(readFile(one.folder.file("out.glb")), readFile(two.folder.file("out.glb")));
}

TEST(BakeFit, GivenRefinement_FitsTheRefinedSurface) {
    const Bake surface({"--fit", "surface", "--subdivide", "--min-edge-length", "200"});
    EXPECT_GT(surface.occlusion.size(), 48u);
    for (const float value : surface.occlusion) {
        EXPECT_GE(value, 0.0f);
        EXPECT_LE(value, 1.0f);
    }
    EXPECT_GT(surface.stats.at("refinement").at("addedVertices"), 0);
}

TEST(BakeFit, GivenAnotherWord_IsAnError) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"boxes.gltf", "--fit", "faces"});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_NE(result.error.find("faces"), std::string::npos) << result.error;
}
