// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the viewport's widget with real events. Here is no OpenGL, so the ray tracer draws.
#include "ktFalseColours.h"
#include "ktSceneCamera.h"
#include "ktSceneView.h"
#include "ktViewCamera.h"
#include "ktViewParts.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGTransform.h>
#include <QApplication>
#include <QtTest>

namespace {

constexpr int width = 200, height = 100;

class SceneView : public testing::Test {
protected:
    ktViewParts parts;
    osg::GeometryPtr leftGeometry = ktViewParts::square(), rightGeometry = ktViewParts::square();
    osg::NodePtr left =
        parts.add(leftGeometry, ktViewParts::moved(-2, 0, 0), ktViewParts::material(1, 0.5f, 0.25f), "left");
    osg::NodePtr right = parts.add(rightGeometry, ktViewParts::moved(1, 0, 0), osg::NullFC, "right");
    std::unique_ptr<ktSceneView> view;
    std::vector<osg::NodePtr> picked;
    QString info;

    SceneView() {
        view = std::make_unique<ktSceneView>();
        view->resize(width, height);
        view->show();
        QObject::connect(view.get(), &ktSceneView::nodePicked, view.get(),
                         [this](const osg::NodePtr& node, Qt::KeyboardModifiers) { picked.push_back(node); });
        QObject::connect(view.get(), &ktSceneView::nodesPicked, view.get(),
                         [this](const std::vector<osg::NodePtr>& nodes, Qt::KeyboardModifiers) { picked = nodes; });
        QObject::connect(view.get(), &ktSceneView::pointerInfoChanged, view.get(),
                         [this](const QString& text) { info = text; });
        view->setScene(parts.root);
        lookFromTheFront();
    }
    ~SceneView() override { view->setScene(osg::NullFC); }

    /// The view is 4 wide and 2 high at z = 0, and (0, 0.5) is in the middle.
    void lookFromTheFront() {
        ktViewCamera camera;
        camera.setHeightAngle(2 * std::atan(0.1));
        camera.place({0, 0.5, 10}, {0, 0, -1}, {0, 1, 0}, 10);
        view->setCamera(camera);
    }

    static QPoint at(double x, double y) {
        return {static_cast<int>((x + 2) / 4 * width), static_cast<int>((1.5 - y) / 2 * height)};
    }
    static void drag(QWidget& widget, const QPoint& from, const QPoint& to, Qt::KeyboardModifiers keys = {},
                     Qt::MouseButton button = Qt::LeftButton) {
        QTest::mousePress(&widget, button, keys, from);
        for (int step = 1; step <= 4; ++step) {
            const QPointF place = from + QPointF(to - from) * step / 4;
            QMouseEvent move(QEvent::MouseMove, place, widget.mapToGlobal(place.toPoint()), Qt::NoButton, button, keys);
            QApplication::sendEvent(&widget, &move);
        }
        QTest::mouseRelease(&widget, button, keys, to);
    }
    void hover(const QPoint& place) {
        QMouseEvent move(QEvent::MouseMove, place, view->mapToGlobal(place), Qt::NoButton, Qt::NoButton, {});
        QApplication::sendEvent(view.get(), &move);
    }
    void waitForPicker() {
        ASSERT_TRUE(QTest::qWaitFor(
            [this] {
                hover(at(1.2, 0.2));
                return !info.isEmpty();
            },
            20000));
    }
    bool waitForPick() {
        return QTest::qWaitFor([this] { return !picked.empty(); }, 20000);
    }
    QColor pixel(double x, double y) {
        const QImage image = view->renderPicture({width, height});
        return image.isNull() ? QColor() : image.pixelColor(at(x, y));
    }
};

} // namespace

TEST_F(SceneView, GivenNoOpenGL_TheRayTracerDraws) {
    EXPECT_FALSE(view->usesOpenGL());
    EXPECT_TRUE(QTest::qWaitFor([this] { return view->isSettled(); }, 20000));
    const QImage shown = view->grab().toImage();
    EXPECT_NE(shown.pixelColor(at(1.5, 0.9)), shown.pixelColor(at(0, 0.9))); // a part, and the background
}

TEST_F(SceneView, GivenResults_ShowsEachMode) {
    ktViewParts::setResults(leftGeometry, {0.1f, 0.05f, 0.05f, 0.5f});
    ktViewParts::setResults(rightGeometry, {0.05f, 0.1f, 0.2f, 0.4f});
    view->updateResults();
    // The left part has the luminance 0.2126 + 0.7152 / 2 + 0.0722 / 4; its stored light is divided by that.
    const float luminance = 0.58825f;
    const auto expectLeft = [this](ktViewMode mode, const QColor& expected) {
        view->setViewMode(mode);
        EXPECT_LE(ktColorDistance(pixel(-1.5, 0.5), expected), 1) << static_cast<int>(mode);
    };
    const float light[3] = {0.5f + 0.1f / luminance, 0.5f + 0.05f / luminance, 0.5f + 0.05f / luminance};
    expectLeft(ktViewMode::Baked, ktSrgbBytes(light[0], 0.5f * light[1], 0.25f * light[2]));
    expectLeft(ktViewMode::BakedLight, ktSrgbBytes(light[0], light[1], light[2]));
    expectLeft(ktViewMode::Occlusion, ktSrgbBytes(0.5f, 0.5f, 0.5f));
    expectLeft(ktViewMode::IndirectLight, ktSrgbBytes(0.1f / luminance, 0.05f / luminance, 0.05f / luminance));
    expectLeft(ktViewMode::SurfaceColours, ktSrgbBytes(1, 0.5f, 0.25f));
    expectLeft(ktViewMode::FalseColours, QColor(ktFalseColours::srgbAt(0.5f)));
    // The right part has no material, so its light is as stored.
    view->setViewMode(ktViewMode::IndirectLight);
    EXPECT_LE(ktColorDistance(pixel(1.5, 0.5), ktSrgbBytes(0.05f, 0.1f, 0.2f)), 1);
    view->setExposure(2);
    EXPECT_LE(ktColorDistance(pixel(1.5, 0.5), ktSrgbBytes(0.1f, 0.2f, 0.4f)), 1);
}

TEST_F(SceneView, GivenHeadlight_TiltedSurfacesAreDarker) {
    osg::Matrix tilted; // 60 degrees around y
    tilted.setRotate(osg::Quaternion(osg::Vec3f(0, 1, 0), 1.0472f));
    parts.add(ktViewParts::square(), tilted);
    view->setScene(parts.root);
    lookFromTheFront();
    view->setViewMode(ktViewMode::SurfaceColours);
    EXPECT_LE(ktColorDistance(pixel(0.25, 0.5), ktSrgbBytes(1, 1, 1)), 1);
    view->setHeadlight(true);
    EXPECT_LE(ktColorDistance(pixel(0.25, 0.5), ktSrgbBytes(0.65f, 0.65f, 0.65f)), 6);
}

TEST_F(SceneView, GivenNoResult_ShowsStripes) {
    view->setViewMode(ktViewMode::Occlusion);
    const QImage image = view->renderPicture({4 * width, 4 * height});
    const QColor bright = ktSrgbBytes(0.42f, 0.38f, 0.52f), dark = ktSrgbBytes(0.231f, 0.209f, 0.286f);
    int brightPixels = 0, darkPixels = 0;
    for (int step = 0; step < 160; ++step) {
        const QColor seen = image.pixelColor(4 * at(1.1 + 0.005 * step, 0.5));
        brightPixels += ktColorDistance(seen, bright) <= 1;
        darkPixels += ktColorDistance(seen, dark) <= 1;
    }
    EXPECT_GE(brightPixels, 10);
    EXPECT_GE(darkPixels, 10);
}

TEST_F(SceneView, GivenClicks_TellsWhichNode) {
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, at(-1.5, 0.5));
    ASSERT_TRUE(waitForPick());
    EXPECT_TRUE(picked.back() == left);
    QTest::mouseClick(view.get(), Qt::LeftButton, Qt::ControlModifier, at(1.5, 0.5));
    ASSERT_EQ(picked.size(), 2u);
    EXPECT_TRUE(picked.back() == right);
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, at(0, 0.5));
    ASSERT_EQ(picked.size(), 3u);
    EXPECT_TRUE(picked.back() == osg::NullFC);
}

TEST_F(SceneView, GivenRectangle_TellsItsNodesInBothMouseStyles) {
    const ktViewCamera::Vector eye = view->camera().eye();
    drag(*view, at(-1.9, 1.4), at(-0.5, -0.4), Qt::ShiftModifier);
    ASSERT_TRUE(waitForPick());
    ASSERT_EQ(picked.size(), 1u);
    EXPECT_TRUE(picked[0] == left);
    view->setMouseStyle(ktMouseStyle::Blender);
    drag(*view, at(-1.9, 1.4), at(1.9, -0.4));
    EXPECT_EQ(picked.size(), 2u);
    EXPECT_EQ(view->camera().eye(), eye); // the camera did not move
}

TEST_F(SceneView, GivenDrags_MoveTheCameraAndPickNothing) {
    const ktViewCamera before = view->camera();
    drag(*view, at(0, 0.5), at(1, 0.5)); // orbit: the scene follows the pointer
    EXPECT_LT(view->camera().eye()[0], before.eye()[0]);
    EXPECT_EQ(view->camera().target(), before.target());
    view->setCamera(before);
    drag(*view, at(0, 0.5), at(1, 0.5), {}, Qt::MiddleButton); // pan by a quarter of the width
    EXPECT_NEAR(view->camera().target()[0], before.target()[0] - 1, 1e-6);
    view->setCamera(before);
    view->setMouseStyle(ktMouseStyle::Blender);
    drag(*view, at(0, 0.5), at(1, 0.5), {}, Qt::MiddleButton);
    EXPECT_LT(view->camera().eye()[0], before.eye()[0]);
    EXPECT_EQ(view->camera().target(), before.target());
    QTest::qWait(50);
    EXPECT_TRUE(picked.empty());
}

TEST_F(SceneView, GivenWheelAndKeys_MoveTheCamera) {
    const ktViewCamera before = view->camera();
    const QPoint place = at(1, 0.5);
    QWheelEvent wheel(place, view->mapToGlobal(place), {}, {0, 120}, Qt::NoButton, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view.get(), &wheel);
    EXPECT_LT(view->camera().distance(), before.distance());
    const auto point = view->camera().project({1, 0.5, 0}, 2);
    ASSERT_TRUE(point);
    EXPECT_NEAR((*point)[0], 0.5, 0.01); // still under the pointer
    view->setCamera(before);
    QTest::keyClick(view.get(), Qt::Key_Right);
    EXPECT_GT(view->camera().eye()[0], before.eye()[0]);
    view->setCamera(before);
    QTest::keyClick(view.get(), Qt::Key_Plus);
    EXPECT_LT(view->camera().distance(), before.distance());
}

TEST_F(SceneView, GivenPointer_TellsWhatIsUnderIt) {
    waitForPicker();
    EXPECT_EQ(info.toStdString(), "right, vertex 0, no result");
    hover(at(0, 0.5));
    EXPECT_TRUE(info.isEmpty());
}

TEST_F(SceneView, GivenTwoClicksWhileMeasuring_TellsTheDistance) {
    waitForPicker();
    ASSERT_TRUE(QTest::qWaitFor([this] { return view->isSettled(); }, 20000));
    const auto lowerLeft = [this] { return view->grab(QRect(8, height - 60, 60, 60)).toImage(); };
    const QImage without = lowerLeft();
    view->setMeasuring(true);
    const QImage first = lowerLeft();
    EXPECT_NE(first, without) << "says to click one end";
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, at(-1.5, 0.5));
    EXPECT_NE(lowerLeft(), first) << "says to click the other end";
    hover(at(1.4, 0.5));
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, at(1.5, 0.5));
    EXPECT_EQ(info.toStdString(), "Distance 3 mm");
    view->setMeasuring(false);
    EXPECT_TRUE(info.isEmpty());
    EXPECT_TRUE(picked.empty());
}

TEST_F(SceneView, GivenKeysAlone_MeasuresTheDistanceBetweenTwoPlacesOfTheCrosshair) {
    waitForPicker();
    view->setMeasuring(true); // the crosshair is in the middle, where nothing is
    const QPoint middle((width - 1) / 2, (height - 1) / 2);
    const auto press = [this](Qt::Key key, int count, Qt::KeyboardModifiers keys) {
        for (int i = 0; i < count; ++i)
            QTest::keyClick(view.get(), key, keys);
    };
    press(Qt::Key_Return, 1, {});
    press(Qt::Key_Left, 7, Qt::AltModifier);
    press(Qt::Key_Down, 2, Qt::AltModifier);
    press(Qt::Key_Down, 5, Qt::AltModifier | Qt::ShiftModifier); // 70 left and 25 down of the middle
    press(Qt::Key_Return, 1, {});
    EXPECT_TRUE(info.isEmpty()) << "one end";
    press(Qt::Key_Right, 14, Qt::AltModifier);
    press(Qt::Key_Enter, 1, Qt::KeypadModifier);
    constexpr double perPixel = 4.0 / width; // millimetres
    EXPECT_EQ(info, QString("Distance %1 mm").arg(140 * perPixel, 0, 'g', 4));
    EXPECT_TRUE(picked.empty());
    EXPECT_EQ(view->camera().eye(), (ktViewCamera::Vector{0, 0.5, 10})) << "these keys do not move the camera";
    const auto crosshairAt = [this](const QPoint& place) { // its arms begin 3 pixels from its middle
        const QRect arm(place + QPoint(4, -1), QSize(8, 3));
        return view->grab(arm).toImage();
    };
    const QPoint end = middle + QPoint(70, 25);
    const QImage with = crosshairAt(end);
    view->setMeasuring(false);
    EXPECT_NE(crosshairAt(end), with);
    picked.clear();
    press(Qt::Key_Return, 1, {});
    EXPECT_TRUE(picked.empty()) << "there is no crosshair any more";
}

TEST_F(SceneView, GivenKeysAlone_SelectsAtTheCrosshairAndTellsWhatIsThere) {
    waitForPicker();
    hover(at(0, 0.5));
    ASSERT_TRUE(info.isEmpty());
    Qt::KeyboardModifiers modifiers;
    QObject::connect(view.get(), &ktSceneView::nodePicked, view.get(),
                     [&](const osg::NodePtr&, Qt::KeyboardModifiers keys) { modifiers = keys; });
    for (int i = 0; i < 6; ++i)
        QTest::keyClick(view.get(), Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(info.left(5).toStdString(), "right");
    QTest::keyClick(view.get(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(picked, (std::vector<osg::NodePtr>{right}));
    EXPECT_EQ(modifiers, Qt::ControlModifier);
    for (int i = 0; i < 100; ++i) // it stays in the view
        QTest::keyClick(view.get(), Qt::Key_Left, Qt::AltModifier);
    QTest::keyClick(view.get(), Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(info.left(4).toStdString(), "left");
    QTest::mouseClick(view.get(), Qt::LeftButton, {}, at(0, 0.5));
    picked.clear();
    QTest::keyClick(view.get(), Qt::Key_Return);
    EXPECT_TRUE(picked.empty()) << "the mouse hides it";
}

TEST_F(SceneView, GivenRing_DrawsItAroundThePoint) {
    waitForPicker();
    ASSERT_TRUE(QTest::qWaitFor([this] { return view->isSettled(); }, 20000));
    const QImage without = view->grab().toImage();
    view->showRadiusRing(0.4);
    hover(at(1.5, 0.5));
    const QImage with = view->grab().toImage();
    for (const QPoint& place : {at(1.1, 0.5), at(1.9, 0.5), at(1.5, 0.9), at(1.5, 0.1)}) { // 0.4 away
        int most = 0;
        for (const QPoint& step : {QPoint(0, 0), QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)})
            most = std::max(most, ktColorDistance(with.pixelColor(place + step), without.pixelColor(place + step)));
        EXPECT_GT(most, 25) << place.x() << " " << place.y();
    }
    EXPECT_EQ(with.pixelColor(at(1.5, 0.5)), without.pixelColor(at(1.5, 0.5)));
}

TEST_F(SceneView, GivenFileCamera_TakesItsView) {
    osg::NodePtr node = osg::Node::create();
    osg::TransformPtr transform = osg::Transform::create();
    transform->setMatrix(ktViewParts::moved(3, 4, 20));
    node->setCore(transform);
    parts.root->addChild(node);
    ktSceneCamera camera;
    camera.node = node;
    camera.heightAngle_rad = 0.5;
    view->setFileCamera(camera);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(view->camera().eye()[axis], (ktViewCamera::Vector{3, 4, 20})[axis], 1e-6);
        EXPECT_NEAR(view->camera().forward()[axis], (ktViewCamera::Vector{0, 0, -1})[axis], 1e-6);
    }
    const auto edge = view->camera().project({3, 4 + 20 * std::tan(0.25), 0}, 2);
    ASSERT_TRUE(edge);
    EXPECT_NEAR((*edge)[1], 1, 1e-6);
    camera.isPerspective = false;
    camera.height = 6;
    view->setFileCamera(camera);
    EXPECT_TRUE(view->isParallelProjection());
    EXPECT_NEAR((*view->camera().project({3, 7, 0}, 2))[1], 1, 1e-6);
}

TEST_F(SceneView, GivenSelection_FramesIt) {
    view->setSelection({right});
    view->frameSelection();
    EXPECT_NEAR(view->camera().target()[0], 1.5, 0.05);
    view->frameAll();
    EXPECT_NEAR(view->camera().target()[0], 0, 0.05);
}

TEST_F(SceneView, GivenTurnedPicture_TurnsTheCameraOnlyForIt) {
    const ktViewCamera::Vector eye = view->camera().eye();
    const QImage front = view->renderPicture({80, 40}), same = view->renderPicture({80, 40}, 360),
                 side = view->renderPicture({80, 40}, 90);
    EXPECT_EQ(front, same);
    EXPECT_NE(front, side);
    EXPECT_EQ(view->camera().eye(), eye);
    EXPECT_TRUE(view->renderPicture({0, 10}).isNull());
}

TEST_F(SceneView, GivenTurntable_TurnsUntilTheMouseMovesTheCamera) {
    const ktViewCamera::Vector eye = view->camera().eye();
    view->setTurntable(true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return view->camera().eye() != eye; }, 20000));
    drag(*view, at(0, 0.5), at(0.5, 0.5));
    const ktViewCamera::Vector after = view->camera().eye();
    QTest::qWait(100);
    EXPECT_EQ(view->camera().eye(), after);
}
