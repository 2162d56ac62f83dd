// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that the preview's camera frames a scene of any shape, from any side.
#include "ktPreviewCamera.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <OpenSG/OSGTransform.h>

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

ktPreviewView turned(double turn_degrees) {
    ktPreviewView view;
    view.turn_degrees = turn_degrees;
    return view;
}

/// A camera at (0, 0, 10) below a node with a scale of 1000 that looks along -x: to the right of the scene is -z.
ktSceneCamera makeCamera(const osg::NodePtr& node) {
    osg::TransformPtr transform = osg::Transform::create();
    osg::Matrix matrix;
    // Columns: the camera's right, up and back in the world, and its place.
    matrix.setValue(0, 0, 1000, 10, 0, 1000, 0, 20, -1000, 0, 0, 30, 0, 0, 0, 1);
    transform->setMatrix(matrix);
    node->setCore(transform);
    ktSceneCamera camera;
    camera.name = "watcher";
    camera.node = node;
    return camera;
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
        const ktPreviewCamera start = ktFramePreview(scene, 1), quarter = ktFramePreview(scene, 1, turned(90)),
                              whole = ktFramePreview(scene, 1, turned(360));
        // A quarter turn around a cube shows the same picture from the next side.
        const size_t up = isZUp ? 2 : 1, x = isZUp ? 0 : 2, y = isZUp ? 1 : 0; // x to y is counterclockwise from above
        EXPECT_NEAR(quarter.eye[x], -start.eye[y], 1e-9) << isZUp;
        EXPECT_NEAR(quarter.eye[y], start.eye[x], 1e-9) << isZUp;
        EXPECT_NEAR(quarter.eye[up], start.eye[up], 1e-9) << isZUp;
        EXPECT_EQ(whole.eye, start.eye);
        expectFramed(project(ktFramePreview(scene, 1, turned(33)), scene.meshes[0]));
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

TEST(PreviewCamera, GivenSide_LooksFromThereWithUpAbove) {
    using Side = ktPreviewView::Side;
    using Vector = ktPreviewCamera::Vector;
    struct Row {
        Side side;
        Vector forward, up;
    };
    for (const Row& row : {Row{Side::Front, {0, 0, -1}, {0, 1, 0}}, Row{Side::Back, {0, 0, 1}, {0, 1, 0}},
                           Row{Side::Right, {-1, 0, 0}, {0, 1, 0}}, Row{Side::Left, {1, 0, 0}, {0, 1, 0}},
                           Row{Side::Top, {0, -1, 0}, {0, 0, -1}}, Row{Side::Bottom, {0, 1, 0}, {0, 0, 1}}}) {
        ktPreviewScene scene;
        scene.meshes = {makeBox({0, 0, 0}, {3, 2, 1})};
        ktPreviewView view;
        view.side = row.side;
        const ktPreviewCamera camera = ktFramePreview(scene, 1.5, view);
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(camera.forward[i], row.forward[i], 1e-12) << static_cast<int>(row.side);
            EXPECT_NEAR(camera.up[i], row.up[i], 1e-12) << static_cast<int>(row.side);
        }
        expectFramed(project(camera, scene.meshes[0]));
    }
}

TEST(PreviewCamera, GivenCameraOfTheScene_LooksWhereItLooks) {
    const osg::NodePtr node = osg::Node::create();
    osg::addRefCP(node);
    ktPreviewView view;
    view.camera = makeCamera(node);
    view.camera->heightAngle_rad = 1;
    const std::optional<ktPreviewCamera> camera = ktAimPreview(ktPreviewScene(), 2, view);
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->eye, (ktPreviewCamera::Vector{10, 20, 30}));
    const ktPreviewCamera::Vector top = camera->direction(0, 1), right = camera->direction(1, 0);
    EXPECT_NEAR(camera->direction(0, 0)[0], -1, 1e-6);
    EXPECT_NEAR(std::atan2(top[1], -top[0]), 0.5, 1e-6);
    EXPECT_NEAR(-right[2] / -right[0], 2 * std::tan(0.5), 1e-6);
    // A wider camera in the same image shows more above and below.
    view.camera->aspectRatio = 4;
    EXPECT_NEAR(ktAimPreview(ktPreviewScene(), 2, view)->tanHalfHeight, 2 * std::tan(0.5), 1e-6);
    osg::subRefCP(node);
}

TEST(PreviewCamera, GivenOrthographicCamera_SendsParallelRays) {
    const osg::NodePtr node = osg::Node::create();
    osg::addRefCP(node);
    ktPreviewView view;
    view.camera = makeCamera(node);
    view.camera->isPerspective = false;
    view.camera->height = 2; // 2,000 in the world
    view.camera->width = 2;
    const std::optional<ktPreviewCamera> camera = ktAimPreview(ktPreviewScene(), 2, view);
    ASSERT_TRUE(camera);
    EXPECT_NEAR(camera->direction(1, 1)[0], -1, 1e-6);
    const ktPreviewCamera::Vector corner = camera->origin(1, 1);
    EXPECT_NEAR(corner[0], 10, 1e-3);
    EXPECT_NEAR(corner[1], 20 + 1000, 1e-3);
    EXPECT_NEAR(corner[2], 30 - 2000, 1e-3);
    osg::subRefCP(node);
}

TEST(PreviewCamera, GivenCameraWithoutDirection_RefusesIt) {
    const osg::NodePtr node = osg::Node::create();
    osg::addRefCP(node);
    ktPreviewView view;
    view.camera = makeCamera(node);
    osg::Matrix flat;
    flat.setScale(0, 0, 0);
    osg::TransformPtr::dcast(node->getCore())->setMatrix(flat);
    EXPECT_FALSE(ktAimPreview(ktPreviewScene(), 1, view));
    osg::subRefCP(node);
}

TEST(PreviewView, GivenName_FindsSideOrCamera) {
    std::vector<ktSceneCamera> cameras(2);
    cameras[1].name = "lens";
    std::string reason;
    EXPECT_EQ(ktFindPreviewView("three-quarter", {}, reason)->side, ktPreviewView::Side::ThreeQuarter);
    EXPECT_EQ(ktFindPreviewView("bottom", {}, reason)->side, ktPreviewView::Side::Bottom);
    EXPECT_EQ(ktFindPreviewView("camera", cameras, reason)->camera->name, "");
    EXPECT_EQ(ktFindPreviewView("lens", cameras, reason)->camera->name, "lens");
    EXPECT_EQ(reason, "");
    EXPECT_FALSE(ktFindPreviewView("", cameras, reason)) << "a camera without a name";
    EXPECT_FALSE(ktFindPreviewView("fromt", cameras, reason));
    EXPECT_EQ(reason, "there is no view \"fromt\"; the views are three-quarter, front, back, left, right, top, bottom, "
                      "\"lens\"");
    EXPECT_FALSE(ktFindPreviewView("camera", {}, reason));
    EXPECT_EQ(reason.substr(0, 24), "the scene has no camera;");
}
