// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how the viewport's camera moves and projects.
#include "ktViewCamera.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using Vector = ktViewCamera::Vector;
using Box = ktViewCamera::Box;

constexpr double aspect = 1.6, tiny = 1e-9;

Box boxOf(const Vector& low, const Vector& high) {
    Box box;
    box.extend(low);
    box.extend(high);
    return box;
}

void expectNear(const Vector& a, const Vector& b, double tolerance = tiny) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(a[axis], b[axis], tolerance) << "axis " << axis;
}

/// The corners of a box in the view.
std::vector<Vector> cornersInView(const ktViewCamera& camera, const Box& box) {
    std::vector<Vector> places;
    for (unsigned corner = 0; corner < 8; ++corner)
        places.push_back(*camera.project({(corner & 1 ? box.high : box.low)[0], (corner & 2 ? box.high : box.low)[1],
                                          (corner & 4 ? box.high : box.low)[2]},
                                         aspect));
    return places;
}

} // namespace

TEST(ViewCamera, GivenOrbit_KeepsTargetDistanceAndUpright) {
    ktViewCamera camera;
    camera.lookAt({1, 2, 3});
    const double distance = camera.distance();
    camera.orbit(1.2, -0.4);
    expectNear(camera.target(), {1, 2, 3});
    const Vector eye = camera.eye();
    EXPECT_NEAR(std::hypot(eye[0] - 1, eye[1] - 2, eye[2] - 3), distance, 1e-6);
    EXPECT_NEAR(camera.right()[1], 0, tiny);
    EXPECT_GT(camera.up()[1], 0);
}

TEST(ViewCamera, GivenOrbitToTheRight_GoesToTheRight) {
    ktViewCamera camera;
    camera.setStandardView(ktStandardView::Front);
    camera.orbit(0.1, 0);
    EXPECT_GT(camera.eye()[0], 0);
    camera.orbit(-0.1, 0.1);
    EXPECT_NEAR(camera.eye()[0], 0, 1e-6);
    EXPECT_GT(camera.eye()[1], 0);
}

TEST(ViewCamera, GivenOrbitOverTheTop_Stops) {
    ktViewCamera camera;
    camera.orbit(0, 10);
    EXPECT_LT(camera.forward()[1], -0.999);
    EXPECT_GE(camera.up()[1], 0);
    // From the top, a turn keeps turning.
    const Vector before = camera.right();
    camera.orbit(0.5, 0);
    EXPECT_NEAR(before[0] * camera.right()[0] + before[2] * camera.right()[2], std::cos(0.5), 1e-3);
}

TEST(ViewCamera, GivenZoom_KeepsThePointUnderThePointer) {
    for (const bool parallel : {false, true}) {
        ktViewCamera camera;
        camera.setParallel(parallel);
        // A point of the target's plane.
        ktViewCamera::Ray ray = camera.ray(0.5, -0.3, aspect);
        double depth = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            depth += ray.direction[axis] * camera.forward()[axis];
        Vector point;
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] = ray.origin[axis] + ray.direction[axis] * camera.distance() / depth;
        camera.zoom(0.5, 0.5, -0.3, aspect);
        const auto place = camera.project(point, aspect);
        ASSERT_TRUE(place);
        EXPECT_NEAR((*place)[0], 0.5, 1e-6) << parallel;
        EXPECT_NEAR((*place)[1], -0.3, 1e-6) << parallel;
    }
}

TEST(ViewCamera, GivenPan_TheTargetsPlaneFollows) {
    ktViewCamera camera;
    const Vector point = camera.target();
    camera.pan(0.25, 0.5, aspect);
    const auto place = camera.project(point, aspect);
    ASSERT_TRUE(place);
    EXPECT_NEAR((*place)[0], 0.25, 1e-6);
    EXPECT_NEAR((*place)[1], 0.5, 1e-6);
}

TEST(ViewCamera, GivenBox_FramesItFully) {
    const Box box = boxOf({100, -20, 3}, {180, 30, 50});
    for (const bool parallel : {false, true}) {
        ktViewCamera camera;
        camera.setParallel(parallel);
        camera.frame({box}, aspect);
        double most = 0;
        for (const Vector& place : cornersInView(camera, box))
            most = std::max({most, std::abs(place[0]), std::abs(place[1])});
        EXPECT_LE(most, 0.941);
        EXPECT_GE(most, 0.93); // and it is as large as possible
    }
}

TEST(ViewCamera, GivenFarPartsOfTwoBoxes_FramesOnlyTheBoxes) {
    const Box left = boxOf({0, 0, 0}, {1, 1, 1}), right = boxOf({9, 0, -9}, {10, 1, -8});
    ktViewCamera camera;
    camera.setStandardView(ktStandardView::Front);
    camera.frame({left, right}, aspect);
    const auto a = cornersInView(camera, left), b = cornersInView(camera, right);
    double low = 1, high = -1;
    for (std::size_t i = 0; i < 8; ++i) {
        low = std::min({low, a[i][0], b[i][0]});
        high = std::max({high, a[i][0], b[i][0]});
    }
    EXPECT_NEAR(low, -high, 0.01); // centred
}

TEST(ViewCamera, GivenEmptyBoxes_StaysWhereItIs) {
    ktViewCamera camera;
    const Vector eye = camera.eye();
    camera.frame({}, aspect);
    camera.frame({Box()}, aspect);
    expectNear(camera.eye(), eye);
}

TEST(ViewCamera, GivenStandardViews_LooksAlongTheAxes) {
    ktViewCamera camera;
    camera.setStandardView(ktStandardView::Front);
    expectNear(camera.forward(), {0, 0, -1});
    camera.setStandardView(ktStandardView::Back);
    expectNear(camera.forward(), {0, 0, 1});
    camera.setStandardView(ktStandardView::Left);
    expectNear(camera.forward(), {1, 0, 0});
    camera.setStandardView(ktStandardView::Right);
    expectNear(camera.forward(), {-1, 0, 0});
    camera.setStandardView(ktStandardView::Top);
    expectNear(camera.forward(), {0, -1, 0});
    expectNear(camera.right(), {1, 0, 0});
    camera.setStandardView(ktStandardView::Bottom);
    expectNear(camera.forward(), {0, 1, 0});
    expectNear(camera.right(), {1, 0, 0});
}

TEST(ViewCamera, GivenMatrices_TheyProjectAsTheCamera) {
    const Box box = boxOf({-300, -200, -100}, {300, 200, 100});
    const Vector point = {120, -60, 40};
    for (const bool parallel : {false, true}) {
        ktViewCamera camera;
        camera.setParallel(parallel);
        const auto view = camera.viewMatrix(), projection = camera.projectionMatrix(aspect, box);
        std::array<double, 4> inView{}, clip{};
        for (std::size_t row = 0; row < 4; ++row)
            inView[row] = view[row] * point[0] + view[4 + row] * point[1] + view[8 + row] * point[2] + view[12 + row];
        for (std::size_t row = 0; row < 4; ++row)
            for (std::size_t i = 0; i < 4; ++i)
                clip[row] += projection[4 * i + row] * inView[i];
        const auto place = camera.project(point, aspect);
        ASSERT_TRUE(place);
        EXPECT_NEAR(clip[0] / clip[3], (*place)[0], 1e-9) << parallel;
        EXPECT_NEAR(clip[1] / clip[3], (*place)[1], 1e-9) << parallel;
        EXPECT_LT(std::abs(clip[2] / clip[3]), 1) << parallel;
    }
}

TEST(ViewCamera, GivenPreviewCamera_ItSeesTheSame) {
    const Box box = boxOf({-300, -200, -100}, {300, 200, 100});
    for (const bool parallel : {false, true}) {
        ktViewCamera camera;
        camera.setParallel(parallel);
        const ktPreviewCamera preview = camera.previewCamera(aspect, box);
        const ktPreviewCamera::Vector origin = preview.origin(0.4, -0.7), direction = preview.direction(0.4, -0.7);
        const auto place = camera.project(
            {origin[0] + 900 * direction[0], origin[1] + 900 * direction[1], origin[2] + 900 * direction[2]}, aspect);
        ASSERT_TRUE(place);
        EXPECT_NEAR((*place)[0], 0.4, 1e-9) << parallel;
        EXPECT_NEAR((*place)[1], -0.7, 1e-9) << parallel;
    }
}
