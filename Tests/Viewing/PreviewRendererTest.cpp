// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the pixels that the preview's renderer draws.
#include "ktPlainTracer.h"
#include "ktPreview.h"
#include "ktPreviewRenderer.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr int size = 8;

/// A square in front of a camera at the origin that looks along -z. The square fills the image.
ktPreviewMesh makeSquare(float depth, std::array<float, 4> color, std::array<float, 3> light,
                         std::uint32_t material = 0) {
    const float half = 10 * depth;
    ktPreviewMesh mesh;
    mesh.positions = {{-half, -half, -depth}, {half, -half, -depth}, {half, half, -depth}, {-half, half, -depth}};
    mesh.indices = {0, 1, 2, 0, 2, 3};
    mesh.colors.assign(4, color);
    mesh.light.assign(4, light);
    mesh.material = material;
    return mesh;
}

ktPreviewCamera makeCamera() {
    ktPreviewCamera camera;
    camera.farDistance = 100;
    return camera;
}

QImage draw(const ktPreviewScene& scene, ktTracer& tracer, int width, int height, float exposure = 1,
            bool hasHeadlight = false) {
    ktPreviewOptions options;
    options.width_px = width;
    options.height_px = height;
    options.exposure = exposure;
    options.hasHeadlight = hasHeadlight;
    return ktRenderPreview(scene, makeCamera(), tracer, options);
}

QRgb middlePixel(const ktPreviewScene& scene, float exposure = 1) {
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, size, size, exposure);
    return image.isNull() ? 0 : image.pixel(size / 2, size / 2);
}

} // namespace

TEST(PreviewRenderer, GivenLitSquare_ShowsLightTimesColorInSrgb) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 0.5f, 0, 1}, {0.5f, 0.5f, 0.5f})};
    // In sRGB, linear 0.5 is 188 and linear 0.25 is 137.
    EXPECT_EQ(middlePixel(scene), qRgb(188, 137, 0));
    EXPECT_EQ(middlePixel(scene, 2), qRgb(255, 188, 0));
}

TEST(PreviewRenderer, GivenLightThatChangesAcross_Interpolates) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {0, 0, 0})};
    scene.meshes[0].positions = {{-0.3f, -1, -1}, {0.3f, -1, -1}, {0.3f, 1, -1}, {-0.3f, 1, -1}};
    scene.meshes[0].light[1] = scene.meshes[0].light[2] = {1, 1, 1};
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, size, size, 1);
    for (int x = 1; x < size; ++x)
        EXPECT_GT(qRed(image.pixel(x, 3)), qRed(image.pixel(x - 1, 3)));
}

TEST(PreviewRenderer, GivenNothing_ShowsTheBackgroundLighterAtTheTop) {
    ktPreviewScene scene;
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, size, size, 1);
    EXPECT_GT(qRed(image.pixel(0, 0)), qRed(image.pixel(0, size - 1)));
    EXPECT_EQ(qRed(image.pixel(0, 0)), qBlue(image.pixel(0, 0)));
}

TEST(PreviewRenderer, GivenHalfTransparentSquare_MixesWithWhatIsBehind) {
    ktPreviewScene scene;
    scene.materials.resize(2);
    scene.materials[1].alpha = ktPreviewMaterial::Alpha::Blend;
    scene.meshes = {makeSquare(1, {0, 0, 0, 0.5f}, {1, 1, 1}, 1), makeSquare(2, {1, 1, 1, 1}, {1, 1, 1})};
    EXPECT_EQ(middlePixel(scene), qRgb(188, 188, 188));
}

TEST(PreviewRenderer, GivenMaskedTexel_ShowsWhatIsBehind) {
    ktPreviewScene scene;
    scene.materials.resize(2);
    scene.materials[1].alpha = ktPreviewMaterial::Alpha::Mask;
    scene.materials[1].texture = [](float, float) { return std::array<float, 4>{1, 0, 0, 0.4f}; };
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {1, 1, 1}, 1), makeSquare(2, {0, 1, 0, 1}, {1, 1, 1})};
    EXPECT_EQ(middlePixel(scene), qRgb(0, 255, 0));
    scene.materials[1].alphaCutoff = 0.3f;
    EXPECT_EQ(middlePixel(scene), qRgb(255, 0, 0));
}

TEST(PreviewRenderer, GivenBackOfOneSidedSurface_SeesThroughIt) {
    ktPreviewScene scene;
    scene.materials.resize(2);
    scene.materials[1].isDoubleSided = false;
    scene.meshes = {makeSquare(1, {1, 0, 0, 1}, {1, 1, 1}, 1), makeSquare(2, {0, 1, 0, 1}, {1, 1, 1})};
    EXPECT_EQ(middlePixel(scene), qRgb(255, 0, 0));
    scene.meshes[0].indices = {0, 2, 1, 0, 3, 2};
    EXPECT_EQ(middlePixel(scene), qRgb(0, 255, 0));
}

TEST(PreviewRenderer, GivenTexture_SamplesItAtTheInterpolatedCoordinate) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.materials[0].texture = [](float u, float v) {
        return std::array<float, 4>{u < 0.5f ? 1.f : 0.f, v < 0.5f ? 1.f : 0.f, 0, 1};
    };
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {1, 1, 1})};
    scene.meshes[0].texCoords = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, size, size, 1);
    EXPECT_EQ(image.pixel(0, size - 1), qRgb(255, 255, 0));
    EXPECT_EQ(image.pixel(size - 1, 0), qRgb(0, 0, 0));
}

TEST(PreviewRenderer, GivenStructureThatIsNotBuilt_GivesNoImage) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {1, 1, 1})};
    ktPlainTracer tracer;
    tracer.isBuildable = false;
    EXPECT_TRUE(draw(scene, tracer, size, size, 1).isNull());
}

TEST(PreviewRenderer, GivenOneOrMoreThreads_DrawsTheSame) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {0.2f, 0.4f, 0.6f, 1}, {0.1f, 0.9f, 0.7f})};
    ktPlainTracer tracer;
    ktThreadCount::set(1);
    const QImage one = draw(scene, tracer, 33, 17, 1);
    ktThreadCount::set(3);
    EXPECT_EQ(draw(scene, tracer, 33, 17, 1), one);
    ktThreadCount::set(0);
}

namespace {

/// Counts the rays.
class CountingTracer : public ktPlainTracer {
public:
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override {
        count += __builtin_popcount(rays.active);
        ktPlainTracer::nearest(rays, bothSides, hits);
    }

    mutable std::atomic<int> count{0};
};

} // namespace

TEST(PreviewRenderer, GivenEdgeOfSurface_MixesBothSidesInItsPixels) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {0, 0, 0, 1}, {1, 1, 1}), makeSquare(2, {1, 1, 1, 1}, {1, 1, 1})};
    for (auto& position : scene.meshes[0].positions)
        position[0] = std::min(position[0], 0.07f); // inside a column of pixels
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, 16, 16, 1);
    int mixed = 0;
    for (int x = 0; x < 16; ++x)
        mixed += qRed(image.pixel(x, 8)) > 0 && qRed(image.pixel(x, 8)) < 255;
    EXPECT_EQ(mixed, 1);
    EXPECT_EQ(qRed(image.pixel(0, 8)), 0);
    EXPECT_EQ(qRed(image.pixel(15, 8)), 255);
}

TEST(PreviewRenderer, GivenSmoothPicture_TracesOneRayPerPixel) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {0.5f, 0.5f, 0.5f})};
    CountingTracer tracer;
    draw(scene, tracer, 32, 32, 1);
    EXPECT_EQ(tracer.count, 32 * 32);
    for (auto& position : scene.meshes[0].positions)
        position[0] = std::min(position[0], 0.0f);
    tracer.count = 0;
    draw(scene, tracer, 32, 32, 1);
    EXPECT_GT(tracer.count, 32 * 32 + 32 * 16) << "the edge has sixteen rays per pixel";
    EXPECT_LE(tracer.count, 32 * 32 + 32 * 16 * 4);
}

TEST(PreviewRenderer, GivenNothing_DithersTheBackground) {
    ktPreviewScene scene;
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, 64, 256, 1);
    int dithered = 0;
    for (int y = 0; y < image.height(); ++y) {
        const int left = qRed(image.pixel(10, y)), right = qRed(image.pixel(11, y));
        EXPECT_LE(std::abs(left - right), 1);
        dithered += left != right;
    }
    EXPECT_GT(dithered, 64);
}

TEST(PreviewRenderer, GivenHeadlight_ShowsSurfacesAtAnAngleDarker) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {1, 1, 1})};
    ktPlainTracer tracer;
    const auto middle = [&] { return qRed(draw(scene, tracer, size, size, 1, true).pixel(size / 2, size / 2)); };
    EXPECT_GE(middle(), 254) << "it faces the camera";
    const auto facing = scene.meshes[0].positions;
    for (auto& position : scene.meshes[0].positions)
        position[2] += position[0]; // 45 degrees
    const int tilted = middle();
    EXPECT_LT(tilted, 240);
    EXPECT_GT(tilted, 188) << "brighter than half the light: the headlight is soft";
    EXPECT_EQ(qRed(draw(scene, tracer, size, size).pixel(size / 2, size / 2)), 255) << "not without the headlight";
    // Normals count before the triangles, whatever their side and length.
    scene.meshes[0].positions = facing;
    scene.meshes[0].normals.assign(4, {0, -3, -3});
    EXPECT_NEAR(middle(), tilted, 4);
}

TEST(PreviewRenderer, GivenPictureOfSeveralBands_HasNoSeams) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {0, 0, 0})};
    scene.meshes[0].positions = {{-1, -0.3f, -1}, {1, -0.3f, -1}, {1, 0.3f, -1}, {-1, 0.3f, -1}};
    scene.meshes[0].light[2] = scene.meshes[0].light[3] = {1, 1, 1}; // dark below, light above
    ktPlainTracer tracer;
    const QImage image = draw(scene, tracer, 3, 2100);
    for (int y = 1; y < image.height(); ++y) {
        const int step = qRed(image.pixel(1, y - 1)) - qRed(image.pixel(1, y));
        EXPECT_GE(step, 0) << y;
        EXPECT_LE(step, 2) << y;
    }
}

TEST(PreviewRenderer, GivenListener_ReportsProgressThatNeverDecreases) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {1, 1, 1})};
    ktPlainTracer tracer;
    ktPreviewOptions options;
    options.width_px = 640;
    options.height_px = 480;
    std::vector<double> shares;
    options.progressed = [&shares](double share) { shares.push_back(share); };
    ktRenderPreview(scene, makeCamera(), tracer, options);
    ASSERT_FALSE(shares.empty());
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_GE(shares.front(), 0);
    EXPECT_LE(shares.back(), 1);
    EXPECT_GT(shares.back(), 0.2) << "more than the structure";
}

TEST(PreviewRenderer, GivenInterrupt_EndsWithoutAnImage) {
    ktPreviewScene scene;
    scene.materials.resize(1);
    scene.meshes = {makeSquare(1, {1, 1, 1, 1}, {1, 1, 1})};
    CountingTracer tracer;
    ktPreviewOptions options;
    options.isInterrupted = [&tracer] { return tracer.count > 2000; };
    EXPECT_TRUE(ktRenderPreview(scene, makeCamera(), tracer, options).isNull());
    EXPECT_LT(tracer.count, options.width_px * options.height_px / 2);
}
