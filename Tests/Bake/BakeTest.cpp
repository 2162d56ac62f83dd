// SPDX-License-Identifier: LGPL-2.1-or-later
// Whole bakes with ktbake: occlusion, colours, threads, tracers and formats.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::Each;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string engine = "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";

} // namespace

TEST(Bake, GivenBoxInTheOpen_IsWhiteAndIsSavedNextToTheScene) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"box.gltf", "--shadow-quality", "0"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(ktBakedFile(folder.file("box-baked.glb")).allOcclusion(),
                testing::AllOf(testing::SizeIs(24), Each(1.0f)));
}

TEST(Bake, GivenTwoBoxesThatTouch_DarkensTheFacesBetween) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {1.01f, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"boxes.gltf", "-o", "out.glb", "--shadow-quality", "2"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const ktBakedFile baked(folder.file("out.glb"));
    const auto primitives = baked.primitives();
    ASSERT_EQ(primitives.size(), 2u);
    for (size_t box = 0; box < 2; ++box) {
        const std::vector<float> occlusion = baked.floats(primitives[box], "_AO");
        const std::vector<float> normals = baked.floats(primitives[box], "NORMAL");
        ASSERT_EQ(occlusion.size(), 24u);
        const float towardsTheOther = box == 0 ? 1.0f : -1.0f;
        for (size_t vertex = 0; vertex < 24; ++vertex) {
            if (normals[3 * vertex] == towardsTheOther)
                EXPECT_LT(occlusion[vertex], 0.8f);
            else
                EXPECT_EQ(occlusion[vertex], 1.0f);
        }
    }
}

TEST(Bake, GivenEngine_GivesEveryTrianglePrimitiveItsOcclusion) {
    const ktTestFolder folder;
    const ktBakeResult result =
        runBake(folder.path, {model(engine), "-o", "engine.glb", "--shadow-quality", "0", "--gather-quality", "0"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const ktBakedFile baked(folder.file("engine.glb"));
    for (const auto& primitive : baked.primitives()) {
        if (primitive.value("mode", 4) < 4)
            continue;
        const auto& position = baked.json.at("accessors").at(primitive.at("attributes").at("POSITION").get<size_t>());
        EXPECT_EQ(baked.floats(primitive, "_AO").size(), position.at("count").get<size_t>());
        EXPECT_TRUE(primitive.at("attributes").contains("COLOR_0"));
    }
    std::vector<float> occlusion = baked.allOcclusion();
    ASSERT_FALSE(occlusion.empty());
    EXPECT_THAT(occlusion, Each(testing::AllOf(testing::Ge(0.0f), testing::Le(1.0f))));
    // Outer surfaces are bright, creases and the inside are dark.
    std::sort(occlusion.begin(), occlusion.end());
    EXPECT_LT(occlusion[occlusion.size() / 10], 0.2f);
    EXPECT_GT(occlusion[occlusion.size() * 9 / 10], 0.7f);
}

TEST(Bake, GivenOneOrTwoThreads_WritesEqualBits) {
    const ktTestFolder folder;
    for (const char* threads : {"1", "2"}) {
        const ktBakeResult result =
            runBake(folder.path, {model(engine), "-o", std::string(threads) + ".glb", "--shadow-quality", "0",
                                  "--gather-quality", "0", "--threads", threads});
        ASSERT_EQ(result.exitCode, 0) << result.error;
    }
    EXPECT_TRUE(readFile(folder.file("1.glb")) == readFile(folder.file("2.glb")));
}

TEST(Bake, GivenEitherTracer_GivesEqualResultsUpToRounding) {
    const ktTestFolder folder;
    std::vector<ktBakedFile> baked;
    for (const std::string tracer : {"embree", "hemisphere"}) {
        const ktBakeResult result =
            runBake(folder.path, {model(engine), "-o", tracer + ".glb", "--shadow-quality", "1", "--min-distance", "0",
                                  "--gather-quality", "0", "--tracer", tracer, "--stats", "stats.json"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        EXPECT_EQ(nlohmann::json::parse(readFile(folder.file("stats.json"))).at("tracer"), tracer);
        baked.emplace_back(folder.file(tracer + ".glb"));
    }
    const std::vector<float> embree = baked[0].allOcclusion(), hemisphere = baked[1].allOcclusion();
    ASSERT_EQ(embree.size(), hemisphere.size());
    ASSERT_GT(embree.size(), 50000u);
    double differingRays = 0;
    for (size_t i = 0; i < embree.size(); ++i)
        differingRays += std::fabs(embree[i] - hemisphere[i]) * 256;
    EXPECT_LE(differingRays, 1e-5 * 256 * static_cast<double>(embree.size()));
    double indirect = 0, difference = 0;
    const auto primitives = baked[0].primitives(), others = baked[1].primitives();
    for (size_t p = 0; p < primitives.size(); ++p) {
        const std::vector<float> a = baked[0].floats(primitives[p], "_INDIRECT"),
                                 b = baked[1].floats(others[p], "_INDIRECT");
        ASSERT_EQ(a.size(), b.size());
        for (size_t i = 0; i < a.size(); ++i) {
            indirect += a[i];
            difference += std::fabs(a[i] - b[i]);
        }
    }
    EXPECT_GT(indirect, 0);
    EXPECT_LE(difference, 1e-4 * indirect);
}

TEST(Bake, GivenBakedFile_BakesToTheSameResult) {
    const ktTestFolder folder;
    ASSERT_EQ(runBake(folder.path, {model(engine), "-o", "once.glb", "--shadow-quality", "0", "--gather-quality", "0"})
                  .exitCode,
              0);
    ASSERT_EQ(runBake(folder.path, {"once.glb", "-o", "twice.glb", "--shadow-quality", "0", "--gather-quality", "0"})
                  .exitCode,
              0);
    const ktBakedFile once(folder.file("once.glb")), twice(folder.file("twice.glb"));
    EXPECT_TRUE(once.allOcclusion() == twice.allOcclusion());
    ASSERT_EQ(once.primitives().size(), twice.primitives().size());
    for (size_t i = 0; i < once.primitives().size(); ++i)
        EXPECT_TRUE(once.floats(once.primitives()[i], "COLOR_0") == twice.floats(twice.primitives()[i], "COLOR_0"));
}

TEST(Bake, GivenOutputThatIsTheScene_ReplacesIt) {
    const ktTestFolder folder;
    ASSERT_EQ(runBake(folder.path, {model("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"), "-o", "box.glb", "--shade",
                                    "none", "--shadow-quality", "0"})
                  .exitCode,
              0);
    ASSERT_EQ(runBake(folder.path, {"box.glb", "-o", "box.glb", "--shadow-quality", "0"}).exitCode, 0);
    const ktBakedFile baked(folder.file("box.glb"));
    EXPECT_TRUE(baked.primitives().at(0).at("attributes").contains("COLOR_0"));
    EXPECT_FALSE(baked.allOcclusion().empty());
}

TEST(Bake, GivenShadeNone_LeavesColorsAlone) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"box.gltf", "--shade", "none", "--shadow-quality", "0"}).exitCode, 0);
    const ktBakedFile baked(folder.file("box-baked.glb"));
    EXPECT_FALSE(baked.primitives().at(0).at("attributes").contains("COLOR_0"));
    EXPECT_TRUE(baked.primitives().at(0).at("attributes").contains("_AO"));
}

TEST(Bake, GivenDistanceInPercent_MultipliesTheDiagonal) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {2, 0, 0}}}).dump());
    const ktBakeResult result =
        runBake(folder.path, {"boxes.gltf", "--max-distance", "3%", "--stats", "stats.json", "--shadow-quality", "0"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const auto stats = nlohmann::json::parse(readFile(folder.file("stats.json")));
    // Boxes of 1 m, their centres 2 m apart: together 3 m by 1 m by 1 m, in millimetres.
    const double diagonal = 1000 * std::sqrt(11.0);
    EXPECT_NEAR(stats.at("sceneDiagonalMm"), diagonal, 0.01);
    EXPECT_NEAR(stats.at("settings").at("max-distance"), 0.03 * diagonal, 0.01);
    // The other box is farther away than that.
    EXPECT_THAT(ktBakedFile(folder.file("boxes-baked.glb")).allOcclusion(), Each(1.0f));
}

TEST(Bake, GivenAnyRun_WritesTimingsToStandardOutputAndTheRestToStandardError) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult loud = runBake(folder.path, {"box.gltf", "--shadow-quality", "0", "--no-indirect"});
    EXPECT_THAT(loud.out, HasSubstr("Num Rays: 1536\n")) << "64 rays at 24 vertices";
    EXPECT_THAT(loud.out, HasSubstr("MRays per second: "));
    EXPECT_THAT(loud.error, HasSubstr("box-baked.glb"));
    EXPECT_THAT(loud.error, Not(HasSubstr("MRays")));
    const ktBakeResult quiet = runBake(folder.path, {"box.gltf", "--shadow-quality", "0", "--quiet"});
    EXPECT_EQ(quiet.error, "");
    EXPECT_EQ(quiet.exitCode, 0);
}

TEST(Bake, GivenOtherFormats_WritesGltf) {
    const ktTestFolder folder;
    for (const char* name : {"OBJ/spider.obj", "PLY/Wuson.ply", "STL/Wuson.stl"}) {
        const ktBakeResult result = runBake(folder.path, {model(name), "-o", "out.glb", "--shadow-quality", "0"});
        EXPECT_EQ(result.exitCode, 0) << name << ": " << result.error;
        EXPECT_FALSE(ktBakedFile(folder.file("out.glb")).allOcclusion().empty()) << name;
    }
}
