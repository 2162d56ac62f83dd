// SPDX-License-Identifier: LGPL-2.1-or-later
// What the menu View, the mouse in the picture and the panels do with the view.
#include "ktAmbientOcclusion.h"
#include "ktBoxScene.h"
#include "ktCalculationPanel.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktViewCamera.h"

#include <QAction>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QMenu>
#include <QtTest>

namespace {

class StudioView : public ktStudioFixture {
protected:
    ktSceneView& view() { return *window->findChild<ktSceneView*>(); }
    std::size_t selectedCount() { return window->getSelection().get().size(); }

    void drag(const QPoint& from, const QPoint& to, Qt::KeyboardModifiers keys) {
        QTest::mousePress(&view(), Qt::LeftButton, keys, from);
        for (int step = 1; step <= 4; ++step) {
            const QPointF place = from + QPointF(to - from) * step / 4;
            QMouseEvent move(QEvent::MouseMove, place, view().mapToGlobal(place.toPoint()), Qt::NoButton,
                             Qt::LeftButton, keys);
            QApplication::sendEvent(&view(), &move);
        }
        QTest::mouseRelease(&view(), Qt::LeftButton, keys, to);
    }
};

} // namespace

TEST_F(StudioView, GivenTheSixViews_LooksFromThere) {
    open(writeBoxes());
    const std::pair<const char*, ktStandardView> sides[] = {
        {"viewFront", ktStandardView::Front}, {"viewBack", ktStandardView::Back},
        {"viewLeft", ktStandardView::Left},   {"viewRight", ktStandardView::Right},
        {"viewTop", ktStandardView::Top},     {"viewBottom", ktStandardView::Bottom},
    };
    for (const auto& [name, side] : sides) {
        SCOPED_TRACE(name);
        trigger(name);
        ktViewCamera expected;
        expected.setStandardView(side);
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(view().camera().forward()[axis], expected.forward()[axis], 1e-9);
    }
}

TEST_F(StudioView, GivenSelection_FramesItOrEverything) {
    open(writeBoxes());
    trigger("viewFront");
    const double all = view().camera().distance();
    window->getSelection().selectByText("right");
    trigger("frameSelection");
    EXPECT_LT(view().camera().distance(), all);
    EXPECT_NEAR(view().camera().target()[0], 1200, 30); // millimetres
    trigger("frameAll");
    EXPECT_NEAR(view().camera().distance(), all, 1e-6 * all);
}

TEST_F(StudioView, GivenCamerasOfTheFile_TheMenuTakesTheirViews) {
    open(writeBoxes());
    EXPECT_FALSE(action("fileCameras").isEnabled());
    nlohmann::json scene = makeBoxes({{"left", {0, 0, 0}}, {"right", {1.2f, 0, 0}}});
    scene["cameras"] = {{{"type", "perspective"}, {"perspective", {{"yfov", 0.5}, {"znear", 0.1}}}}};
    scene["scenes"][0]["nodes"].push_back(2);
    scene["nodes"].push_back({{"name", "eye"}, {"camera", 0}, {"translation", {1, 2, 9}}});
    open(folder.write("camera.gltf", scene.dump()));
    ASSERT_TRUE(action("fileCameras").isEnabled());
    const QList<QAction*> entries = action("fileCameras").menu()->actions();
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0]->text().toStdString(), "eye");
    entries[0]->trigger();
    const ktViewCamera::Vector expected = {1000, 2000, 9000};
    for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(view().camera().eye()[axis], expected[axis], 1e-3);
}

TEST_F(StudioView, GivenADistanceThatIsEdited_ShowsARingOfThatRadius) {
    open(writeBoxes());
    window->activateWindow();
    auto& panel = *window->findChild<ktCalculationPanel*>();
    double radius = -1;
    QObject::connect(&panel, &ktCalculationPanel::radiusChanged, window.get(), [&](double now) { radius = now; });
    auto& field = *window->findChild<QDoubleSpinBox*>("max-distance");
    field.setFocus();
    ASSERT_TRUE(waitFor([&] { return field.hasFocus(); }));
    EXPECT_EQ(radius, static_cast<double>(ktAmbientOcclusion::the()->getMaxDistance()));
    QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&field, "250");
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(radius, 250);
    view().setFocus();
    EXPECT_EQ(radius, 0) << "the ring goes";
}

TEST_F(StudioView, GivenRectangleAndCtrl_ChangesTheSelectionOfTheHost) {
    open(writeBoxes());
    trigger("viewFront");
    trigger("selectNone");
    const QPoint middle = view().rect().center();
    drag({2, 2}, {middle.x(), view().height() - 3}, Qt::ShiftModifier);
    ASSERT_TRUE(waitFor([this] { return selectedCount() > 0; }));
    EXPECT_EQ(selectedCount(), 1u);
    QTest::mouseClick(&view(), Qt::LeftButton, Qt::ControlModifier, middle + QPoint(view().width() / 6, 0));
    EXPECT_TRUE(waitFor([this] { return selectedCount() == 2; }));
    QTest::mouseClick(&view(), Qt::LeftButton, Qt::ControlModifier, middle + QPoint(view().width() / 6, 0));
    EXPECT_TRUE(waitFor([this] { return selectedCount() == 1; }));
    QTest::mouseClick(&view(), Qt::LeftButton, Qt::ControlModifier, QPoint(3, 3));
    EXPECT_EQ(selectedCount(), 1u) << "nothing is there";
}

TEST_F(StudioView, GivenSelection_SaysHowManyRaysABakeTakes) {
    open(writeBoxes());
    auto& estimate = *window->findChild<QLabel*>("estimate");
    ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(false);
    ktAmbientOcclusion::the()->setShadowQuality(0); // 64 rays for each of 48 vertices
    EXPECT_TRUE(waitFor([&] { return estimate.text().contains("3.07 k rays"); })) << estimate.text().toStdString();
    window->getSelection().selectByText("left");
    EXPECT_TRUE(waitFor([&] { return estimate.text().contains("1.54 k rays"); })) << estimate.text().toStdString();
    trigger("selectNone");
    EXPECT_TRUE(waitFor([&] { return estimate.text() == "Nothing is selected."; })) << estimate.text().toStdString();
}
