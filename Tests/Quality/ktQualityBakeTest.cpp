// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the way of the quality report with the real ktbake: bake, read the file, compare with brute force.
#include "ktBenchmarkGlb.h"
#include "ktQualityError.h"
#include "ktQualityEven.h"
#include "ktQualityFile.h"
#include "ktQualityModels.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class QualityBake : public testing::Test {
protected:
    QualityBake() { fs::create_directories(folder); }
    ~QualityBake() override { fs::remove_all(folder); }

    std::string save(const ktBenchmarkScene& scene) const {
        const std::string path = (folder / "scene.glb").string();
        ktSaveBenchmarkScene(scene, path);
        return path;
    }
    ktQualityBake bake(const std::string& scene, const std::string& options) const {
        return ktRunQualityBake(KT_BAKE, scene, options, folder.string(), "baked");
    }

    const fs::path folder = fs::path(testing::TempDir()) /
                            ("ktQuality-" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

// A square of 1 m, open to all sides.
ktBenchmarkScene openSquare() {
    ktBenchmarkScene scene;
    scene.meshes.emplace_back();
    scene.meshes[0].positions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0};
    scene.meshes[0].normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
    scene.meshes[0].indices = {0, 1, 2, 0, 2, 3};
    return scene;
}

} // namespace

TEST_F(QualityBake, GivenOpenSquare_HasNoError) {
    const ktQualityBake baked = bake(save(openSquare()), "--max-distance 700 --min-distance 2 --bounces 2");
    EXPECT_EQ(baked.mode, "classic");
    EXPECT_EQ(baked.maxDistance_mm, 700);
    EXPECT_EQ(baked.minDistance_mm, 2);
    EXPECT_EQ(baked.bounces, 2u);
    EXPECT_NEAR(baked.diagonal_mm, 1414.2, 0.1);
    EXPECT_EQ(baked.bytes, fs::file_size(baked.output));
    EXPECT_GT(baked.seconds, 0);
    const ktQualityScene scene = ktReadQualityScene(baked.output, baked.diagonal_mm, baked.reflection);
    EXPECT_EQ(scene.vertices, 4u);
    EXPECT_EQ(scene.triangles, 2u);
    const auto points = ktChooseQualityPoints(scene, 100, 1);
    ktQualityTracing tracing;
    tracing.maxDistance_mm = baked.maxDistance_mm;
    tracing.rays = 64;
    const auto truth = ktQualityReference(scene).estimate(points, tracing);
    EXPECT_EQ(ktMeasureSkyError(ktInterpolateSky(scene, points), truth).rms, 0);
    const auto light = ktInterpolateLight(scene, points);
    ASSERT_EQ(light.size(), 100u);
    EXPECT_LT(ktMeasureLightError(light, truth).rms, 1e-4);
}

TEST_F(QualityBake, GivenRoom_ReadsItsLightAndColours) {
    const std::string path = save(*ktMakeQualityModel("room"));
    const ktQualityBake baked = bake(path, "--override-color 0.5,0.25,0.1 --color-bleeding");
    ASSERT_TRUE(baked.reflection.color);
    EXPECT_FLOAT_EQ((*baked.reflection.color)[1], 0.25f);
    const ktQualityScene scene = ktReadQualityScene(baked.output, baked.diagonal_mm, baked.reflection);
    for (const ktQualityMesh& mesh : scene.meshes) {
        ASSERT_EQ(mesh.light.size(), mesh.sky.size());
        ASSERT_TRUE(mesh.albedo);
        EXPECT_FLOAT_EQ(mesh.albedo(0, 0.2f, 0.2f)[2], 0.1f);
        for (std::size_t i = 0; i < mesh.sky.size(); ++i) {
            const double red = mesh.light[i][0] - mesh.sky[i], green = mesh.light[i][1] - mesh.sky[i];
            EXPECT_GT(red, -1e-4);
            EXPECT_LT(red, 0.5);
            EXPECT_NEAR(green, red / 2, 1e-4);
        }
    }
    const ktQualityScene unshaded = ktReadQualityScene(bake(path, "--shade none").output, baked.diagonal_mm, {});
    EXPECT_TRUE(ktInterpolateLight(unshaded, ktChooseQualityPoints(unshaded, 5, 1)).empty());
}

TEST_F(QualityBake, GivenEvenRoom_BakesTheSameSurfaceCloserToTheTruth) {
    const std::string path = save(*ktMakeQualityModel("room")), even = (folder / "even.glb").string();
    ktWriteEvenScene(path, even, 3000);
    double rms[2];
    for (int i = 0; i < 2; ++i) {
        const ktQualityBake baked = bake(i == 0 ? path : even, "--fit vertices --no-indirect");
        EXPECT_EQ(baked.bounces, 0u);
        const ktQualityScene scene = ktReadQualityScene(baked.output, baked.diagonal_mm, baked.reflection);
        const auto points = ktChooseQualityPoints(scene, 500, 1);
        ktQualityTracing tracing;
        tracing.minDistance_mm = baked.minDistance_mm;
        tracing.maxDistance_mm = baked.maxDistance_mm;
        tracing.rays = 256;
        rms[i] =
            ktMeasureSkyError(ktInterpolateSky(scene, points), ktQualityReference(scene).estimate(points, tracing)).rms;
    }
    EXPECT_LT(rms[1], 0.5 * rms[0]);
}

TEST_F(QualityBake, GivenFailure_PassesOnTheMessage) {
    try {
        bake((folder / "missing.glb").string(), "");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("missing.glb"), std::string::npos);
    }
}
