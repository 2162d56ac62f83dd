// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what the viewport uploads and shows on a screen with OpenGL.
#include "ktGlCanvas.h"
#include "ktMovingQuality.h"
#include "ktSceneView.h"
#include "ktViewCamera.h"
#include "ktViewParts.h"

#include <cmath>
#include <gtest/gtest.h>
#include <QScreen>
#include <QtTest>

namespace {

constexpr int width = 300, height = 150;

class GlView : public testing::Test {
protected:
    ktViewParts parts;
    ktSceneView view;
    const ktGlCanvas* canvas = nullptr;

    GlView() {
        view.resize(width, height);
        view.show();
        canvas = dynamic_cast<ktGlCanvas*>(view.findChild<QOpenGLWidget*>());
    }
    ~GlView() override { view.setScene(osg::NullFC); }

    void show() {
        view.setScene(parts.root);
        ktViewCamera camera;
        camera.setHeightAngle(2 * std::atan(0.1));
        camera.place({0, 0, 10}, {0, 0, -1}, {0, 1, 0}, 10);
        view.setCamera(camera); // 4 wide and 2 high at z = 0
    }
    void settle() {
        ASSERT_TRUE(QTest::qWaitFor([this] { return view.isSettled(); }, 30000));
    }
    ktGlMeshes::Uploaded uploaded() {
        settle();
        return canvas->statistics().uploaded;
    }
    /// What a person sees.
    QImage screen() {
        settle();
        QTest::qWait(50);
        return view.screen()->grabWindow(view.winId()).toImage();
    }
    static QPoint at(double x, double y) {
        return {static_cast<int>((x + 2) / 4 * width), static_cast<int>((1 - y) / 2 * height)};
    }
};

} // namespace

TEST_F(GlView, GivenSharedGeometry_UploadsItOnce) {
    ASSERT_NE(canvas, nullptr);
    const osg::GeometryPtr geometry = ktViewParts::sphere(0.3f, 16);
    parts.add(geometry, ktViewParts::moved(-1, 0, 0));
    show();
    const std::size_t one = uploaded().shapes;
    EXPECT_GT(one, 0u);
    parts.add(geometry, ktViewParts::moved(0, 0, 0));
    const osg::NodePtr third = parts.add(geometry, ktViewParts::moved(1, 0, 0));
    show();
    EXPECT_EQ(uploaded().shapes, one);
    third->setActive(false);
    show();
    third->setActive(true);
    show();
    EXPECT_EQ(uploaded().shapes, one);
}

TEST_F(GlView, GivenWarmUp_KeepsNothingOfItAndShowsTheScene) {
    view.warmUp();
    const std::size_t before = uploaded().shapes;
    parts.add(ktViewParts::square(2), ktViewParts::moved(-1, -1, 0));
    show();
    settle();
    EXPECT_GT(uploaded().shapes, before);
    EXPECT_EQ(view.renderPicture(QSize(40, 30)).size(), QSize(40, 30));
    const std::size_t after = uploaded().shapes;
    view.warmUp(); // a scene is shown: nothing is left to do
    EXPECT_EQ(uploaded().shapes, after);
}

TEST_F(GlView, GivenNewResults_UploadsOnlyTheirs) {
    const osg::GeometryPtr first = ktViewParts::sphere(0.3f, 16), second = ktViewParts::sphere(0.3f, 8);
    parts.add(first, ktViewParts::moved(-1, 0, 0));
    parts.add(second, ktViewParts::moved(1, 0, 0));
    show();
    const ktGlMeshes::Uploaded before = uploaded();
    EXPECT_EQ(before.results, 0u);
    ktViewParts::setResults(second, {0, 0, 0, 0.5f});
    view.updateResults();
    const ktGlMeshes::Uploaded after = uploaded();
    EXPECT_EQ(after.shapes, before.shapes);
    EXPECT_EQ(after.results, 8u * second->getPositions()->size()); // four halves a vertex
    view.updateResults();                                          // nothing changed
    EXPECT_EQ(uploaded().results, after.results);
}

TEST_F(GlView, GivenResultsOnTheScreen_ShowsThem) {
    const osg::GeometryPtr geometry = ktViewParts::square();
    ktViewParts::setResults(geometry, {0, 0, 0, 0.25f});
    parts.add(geometry, ktViewParts::moved(-0.5f, -0.5f, 0));
    show();
    EXPECT_LE(ktColorDistance(screen().pixelColor(at(0, 0)), ktSrgbBytes(0.25f, 0.25f, 0.25f)), 1);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.75f});
    view.updateResults();
    EXPECT_LE(ktColorDistance(screen().pixelColor(at(0, 0)), ktSrgbBytes(0.75f, 0.75f, 0.75f)), 1);
}

TEST_F(GlView, GivenComparison_ShowsEarlierResultsLeftOfTheDivider) {
    const osg::GeometryPtr geometry = ktViewParts::square(2);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.25f});
    parts.add(geometry, ktViewParts::moved(-1, -1, 0));
    show();
    settle();
    view.keepResultsForComparison();
    settle();
    ktViewParts::setResults(geometry, {0, 0, 0, 0.75f});
    view.updateResults();
    const QImage alone = screen();
    view.setComparison(ktComparison::EarlierResults);
    const auto hasText = [&](const QImage& picture, int from) { // beside the upper end of the divider
        const QRect place(from, 12, 20, 10);
        return picture.copy(place) != alone.copy(place);
    };
    EXPECT_TRUE(hasText(screen(), view.width() / 2 - 40));
    EXPECT_TRUE(hasText(screen(), view.width() / 2 + 16));
    const QColor earlier = ktSrgbBytes(0.25f, 0.25f, 0.25f), now = ktSrgbBytes(0.75f, 0.75f, 0.75f);
    QImage image = screen();
    EXPECT_LE(ktColorDistance(image.pixelColor(at(-0.5, 0.3)), earlier), 1);
    EXPECT_LE(ktColorDistance(image.pixelColor(at(0.5, 0.3)), now), 1);
    // Drag the divider to the left.
    QTest::mousePress(&view, Qt::LeftButton, {}, at(0, 0.5));
    const QPoint end = at(-0.8, 0.5);
    QMouseEvent move(QEvent::MouseMove, end, view.mapToGlobal(end), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(&view, &move);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, end);
    image = screen();
    EXPECT_LE(ktColorDistance(image.pixelColor(at(-0.5, 0.3)), now), 1);
    EXPECT_LE(ktColorDistance(image.pixelColor(at(-0.9, 0.3)), earlier), 1);
    view.setComparison(ktComparison::WithoutLight);
    EXPECT_LE(ktColorDistance(screen().pixelColor(at(-0.9, 0.3)), ktSrgbBytes(1, 1, 1)), 1);
}

TEST_F(GlView, GivenKeys_MoveTheDividerAndNotTheCamera) {
    const osg::GeometryPtr geometry = ktViewParts::square(2);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.25f});
    parts.add(geometry, ktViewParts::moved(-1, -1, 0));
    show();
    view.setComparison(ktComparison::WithoutLight);
    const QColor without = ktSrgbBytes(1, 1, 1), with = ktSrgbBytes(0.25f, 0.25f, 0.25f);
    const auto divider = [&] { // the share of the width left of it
        const QImage image = screen();
        int pixels = 0;
        for (int x = 0; x < image.width(); ++x)
            pixels += ktColorDistance(image.pixelColor(x, at(0, 0.3).y()), without) <= 1;
        return static_cast<double>(pixels) / image.width();
    };
    const double before = divider();
    const ktViewCamera::Vector eye = view.camera().eye();
    for (int i = 0; i < 5; ++i)
        QTest::keyClick(&view, Qt::Key_Right, Qt::ControlModifier);
    EXPECT_NEAR(divider() - before, 0.1, 0.02);
    for (int i = 0; i < 10; ++i)
        QTest::keyClick(&view, Qt::Key_Left, Qt::ControlModifier);
    EXPECT_NEAR(divider() - before, -0.1, 0.02);
    EXPECT_EQ(view.camera().eye(), eye);
    for (int i = 0; i < 100; ++i)
        QTest::keyClick(&view, Qt::Key_Left, Qt::ControlModifier);
    EXPECT_LE(ktColorDistance(screen().pixelColor(at(-0.9, 0.3)), with), 1);
    for (int i = 0; i < 25; ++i)
        QTest::keyClick(&view, Qt::Key_Right, Qt::ControlModifier);
    EXPECT_NEAR(divider(), before, 0.02) << "it stays in the view, so half the way brings it to the middle";
}

TEST_F(GlView, GivenMarkedPart_OutlinesIt) {
    const osg::NodePtr node = parts.add(ktViewParts::square(), ktViewParts::moved(-0.5f, -0.5f, 0));
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    const QImage without = screen();
    view.setSelection({node});
    const QImage with = screen();
    const QPoint edge = at(-0.5, 0) - QPoint(1, 0); // just outside
    EXPECT_GT(ktColorDistance(with.pixelColor(edge), without.pixelColor(edge)), 50);
    EXPECT_EQ(with.pixelColor(at(0, 0)), without.pixelColor(at(0, 0))); // the surface keeps its colour
    EXPECT_EQ(with.pixelColor(at(-1, 0)), without.pixelColor(at(-1, 0)));
}

TEST_F(GlView, GivenWires_DrawsTheEdges) {
    parts.add(ktViewParts::square(), ktViewParts::moved(-0.5f, -0.5f, 0));
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    view.setWireOverlay(true);
    const QImage image = screen();
    int darkest = 255; // on the diagonal
    for (int step = -1; step <= 1; ++step)
        darkest = std::min(darkest, image.pixelColor(at(0, 0) + QPoint(step, 0)).red());
    EXPECT_LT(darkest, 180);
    EXPECT_EQ(image.pixelColor(at(0.2, -0.2)), QColor(Qt::white)); // beside it
}

TEST_F(GlView, GivenFalseColours_ShowsTheLegend) {
    view.resize(400, 300);
    const osg::GeometryPtr geometry = ktViewParts::square();
    ktViewParts::setResults(geometry, {0, 0, 0, 0.5f});
    parts.add(geometry, ktViewParts::moved(-0.5f, -0.5f, 0));
    show();
    const QImage without = screen();
    view.setViewMode(ktViewMode::FalseColours);
    const QImage with = screen();
    int changed = 0;
    for (int y = 0; y < 300; ++y)
        changed += ktColorDistance(with.pixelColor(400 - 62, y), without.pixelColor(400 - 62, y)) > 10;
    EXPECT_GT(changed, 100); // the bar is half as high as the view
}

TEST_F(GlView, GivenOtherWork_DrawsInSlicesAndTheNewestPictureIsShown) {
    const osg::GeometryPtr geometry = ktViewParts::square(2);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.25f});
    parts.add(geometry, ktViewParts::moved(-1, -1, 0));
    show();
    const QImage before = screen();
    view.setHurried(true);
    view.setViewMode(ktViewMode::SurfaceColours);
    view.repaint(); // starts the next picture; the earlier one is shown until it is complete
    EXPECT_FALSE(view.isSettled());
    EXPECT_EQ(view.findChild<QOpenGLWidget*>()->grabFramebuffer().pixelColor(at(0, 0)), before.pixelColor(at(0, 0)));
    EXPECT_EQ(screen().pixelColor(at(0, 0)), QColor(Qt::white));
    view.resize(width + 40, height + 20); // and after the view got another size
    view.setViewMode(ktViewMode::Occlusion);
    EXPECT_LE(ktColorDistance(screen().pixelColor(at(0, 0)), ktSrgbBytes(0.25f, 0.25f, 0.25f)), 1);
}

TEST_F(GlView, GivenNewResultsBesideOtherWork_ShowsThem) {
    const osg::GeometryPtr geometry = ktViewParts::square();
    ktViewParts::setResults(geometry, {0, 0, 0, 0.25f});
    parts.add(geometry, ktViewParts::moved(-0.5f, -0.5f, 0));
    show();
    const ktGlMeshes::Uploaded before = uploaded();
    view.setHurried(true);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.75f});
    view.setSceneBeside(parts.root);
    EXPECT_FALSE(view.isSettled());
    EXPECT_LE(ktColorDistance(screen().pixelColor(at(0, 0)), ktSrgbBytes(0.75f, 0.75f, 0.75f)), 1);
    EXPECT_EQ(uploaded().shapes, before.shapes);
    EXPECT_EQ(uploaded().results, 2 * before.results); // once each
}

TEST_F(GlView, GivenCopiesWithLevels_FirstPictureIsCoarse) {
    for (int i = 0; i < 12; ++i)
        parts.add(ktViewParts::sphere(0.15f, 64), ktViewParts::moved(-1.5f + 0.27f * static_cast<float>(i), 0, 0));
    settle(); // the empty view is on the screen
    view.takeShapes(*ktSceneView::readShapes(parts.root, {}));
    show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return canvas->statistics().movingTriangles > 0; }, 30000));
    EXPECT_TRUE(canvas->statistics().hasLevels);
    const std::size_t first = canvas->statistics().movingTriangles;
    settle();
    ktViewCamera camera = view.camera();
    camera.orbit(0.01, 0);
    view.setCamera(camera);
    view.repaint();
    EXPECT_LT(first, canvas->statistics().movingTriangles);
}

TEST_F(GlView, GivenManyTriangles_MovesWithFewer) {
    for (int i = 0; i < 12; ++i)
        parts.add(ktViewParts::sphere(0.15f, 64), ktViewParts::moved(-1.5f + 0.27f * static_cast<float>(i), 0, 0));
    show();
    settle();
    ASSERT_TRUE(QTest::qWaitFor([this] { return canvas->statistics().hasLevels; }, 30000));
    ktViewCamera camera = view.camera();
    camera.orbit(0.01, 0);
    view.setCamera(camera);
    view.repaint();
    const ktGlCanvas::Statistics moving = canvas->statistics();
    EXPECT_FALSE(view.isSettled());
    // More than 50,000 triangles with software OpenGL: the first guess is a reduced picture.
    EXPECT_FALSE(moving.movingQuality.isFull());
    EXPECT_LT(moving.movingTriangles, 12u * 2 * 64 * 63);
    settle(); // and the full picture follows
}

TEST(MovingQuality, GivenSlowPictures_ReducesAndGivenQuickOnes_Refines) {
    ktMovingQuality quality;
    quality.reset(1000, true);
    quality.learn(1000); // compiles
    EXPECT_TRUE(quality.now().isFull());
    quality.learn(100);
    const ktMovingQuality::Quality reduced = quality.now();
    EXPECT_FALSE(reduced.isFull());
    quality.learn(500);
    EXPECT_GT(quality.now().detail_px, reduced.detail_px);
    for (int i = 0; i < 50; ++i)
        quality.learn(5);
    // Not back to where pictures took too long.
    EXPECT_FALSE(quality.now().isFull());
    quality.rest();
    for (int i = 0; i < 50; ++i)
        quality.learn(5);
    EXPECT_TRUE(quality.now().isFull());
    quality.reset(5000000, false); // a display that is not software starts full
    EXPECT_TRUE(quality.now().isFull());
}
