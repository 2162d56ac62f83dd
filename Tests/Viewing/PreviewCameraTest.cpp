// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that the preview's camera frames a scene of any shape, from any side.
#include "ktPreviewCamera.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace {

ktPreviewMesh makeBox(std::array<float, 3> low, std::array<float, 3> high) {
    ktPreviewMesh mesh;
    for (int corner = 0; corner < 8; ++corner) {
        mesh.positions.push_back(
            {corner & 1 ? high[0] : low[0], corner & 2 ? high[1] : low[1], corner & 4 ? high[2] : low[2]});
        mesh.indices.push_back(static_cast<std::uint32_t>(corner));
    }
    mesh.indices.push_back(7); // a multiple of three
    return mesh;
}

struct Extent {
    double left = 1e300, right = -1e300, bottom = 1e300, top = -1e300;
};

/// Bounds of the vertices in the image, from -1 to 1.
Extent project(const ktPreviewCamera& camera, const ktPreviewMesh& mesh) {
    Extent extent;
    for (const auto& position : mesh.positions) {
        double along[3] = {0, 0, 0};
        for (size_t i = 0; i < 3; ++i) {
            const double offset = position[i] - camera.eye[i];
            along[0] += offset * camera.right[i], along[1] += offset * camera.up[i],
                along[2] += offset * camera.forward[i];
        }
        EXPECT_GT(along[2], 0) << "behind the camera";
        const double x = along[0] / along[2] / camera.tanHalfWidth, y = along[1] / along[2] / camera.tanHalfHeight;
        extent.left = std::min(extent.left, x), extent.right = std::max(extent.right, x);
        extent.bottom = std::min(extent.bottom, y), extent.top = std::max(extent.top, y);
    }
    return extent;
}

void expectFramed(const Extent& extent) {
    EXPECT_GE(std::min(extent.left, extent.bottom), -1);
    EXPECT_LE(std::max(extent.right, extent.top), 1);
    EXPECT_GT(std::max({extent.right, -extent.left, extent.top, -extent.bottom}), 0.85) << "too small in the image";
    EXPECT_NEAR(extent.left, -extent.right, 0.03);
    EXPECT_NEAR(extent.bottom, -extent.top, 0.03);
}

} // namespace

TEST(PreviewCamera, GivenBoxOfAnyShape_FramesItInTheMiddle) {
    for (const std::array<float, 3>& high :
         {std::array<float, 3>{1, 1, 1}, {1000, 1, 1}, {1, 1000, 1}, {1, 1, 1000}, {1e-3f, 1e-3f, 1e-3f}}) {
        ktPreviewScene scene;
        scene.meshes = {makeBox({0, 0, 0}, high)};
        for (const double aspect : {4.0 / 3, 0.5})
            expectFramed(project(ktFramePreview(scene, aspect), scene.meshes[0]));
    }
}

TEST(PreviewCamera, GivenZUp_LooksFromAboveAlongZ) {
    ktPreviewScene scene;
    scene.meshes = {makeBox({-1, -1, -1}, {1, 1, 1})};
    scene.up = {0, 0, 1};
    const ktPreviewCamera camera = ktFramePreview(scene, 1);
    EXPECT_GT(camera.up[2], 0.5);
    EXPECT_GT(camera.eye[2], 0);
    EXPECT_LT(camera.eye[1], 0);
    expectFramed(project(camera, scene.meshes[0]));
}

TEST(PreviewCamera, GivenTurn_GoesRoundTheSceneAtTheSameHeight) {
    for (const bool isZUp : {false, true}) {
        ktPreviewScene scene;
        scene.meshes = {makeBox({-1, -1, -1}, {1, 1, 1})};
        if (isZUp)
            scene.up = {0, 0, 1};
        const ktPreviewCamera start = ktFramePreview(scene, 1), quarter = ktFramePreview(scene, 1, 90),
                              whole = ktFramePreview(scene, 1, 360);
        // A quarter turn around a cube shows the same picture from the next side.
        const size_t up = isZUp ? 2 : 1, x = isZUp ? 0 : 2, y = isZUp ? 1 : 0; // x to y is counterclockwise from above
        EXPECT_NEAR(quarter.eye[x], -start.eye[y], 1e-9) << isZUp;
        EXPECT_NEAR(quarter.eye[y], start.eye[x], 1e-9) << isZUp;
        EXPECT_NEAR(quarter.eye[up], start.eye[up], 1e-9) << isZUp;
        EXPECT_EQ(whole.eye, start.eye);
        expectFramed(project(ktFramePreview(scene, 1, 33), scene.meshes[0]));
    }
}

TEST(PreviewCamera, GivenGroundPlane_FramesTheRestAlone) {
    ktPreviewScene scene;
    scene.meshes = {makeBox({-1, -1, -1}, {1, 1, 1})};
    const ktPreviewCamera alone = ktFramePreview(scene, 1);
    scene.meshes.push_back(makeBox({-50, -1, -50}, {50, -1, 50}));
    scene.meshes[1].isFramed = false;
    EXPECT_EQ(ktFramePreview(scene, 1).eye, alone.eye);
    scene.meshes[1].isFramed = true;
    EXPECT_NE(ktFramePreview(scene, 1).eye, alone.eye);
}

TEST(PreviewCamera, GivenNothingOrAPoint_StaysFinite) {
    ktPreviewScene scene;
    EXPECT_TRUE(std::isfinite(ktFramePreview(scene, 1).eye[0]));
    scene.meshes = {makeBox({2, 2, 2}, {2, 2, 2})};
    const ktPreviewCamera camera = ktFramePreview(scene, 1);
    EXPECT_TRUE(std::isfinite(camera.eye[0]));
    EXPECT_GT(camera.farDistance, 0);
}
