// SPDX-License-Identifier: LGPL-2.1-or-later
// Walks through the window with the mouse, on a display with software OpenGL: bake, look, pick, save. ctest runs it a
// second time with twice the pixels.
#include "ktSceneView.h"
#include "ktStudioFixture.h"

#include <algorithm>
#include <cmath>
#include <QAction>
#include <QFileDialog>
#include <QLineEdit>
#include <QOpenGLWidget>
#include <QPushButton>
#include <QToolBar>
#include <QtTest>

/// Counts events of a type that a widget gets.
class EventCounter : public QObject {
public:
    EventCounter(QWidget& widget, QEvent::Type type_) : type(type_) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == type;
        return false;
    }
    int count = 0;

private:
    const QEvent::Type type;
};

class StudioWalk : public ktStudioFixture {
protected:
    bool hasAnswered = false; // a click
};

TEST_F(StudioWalk, GivenStart_TheEmptyPageAloneIsPainted) {
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    EventCounter view(*window->findChild<ktSceneView*>(), QEvent::Hide);
    EventCounter reading(*window->findChild<QPushButton*>("cancelReading"), QEvent::Paint);
    EventCounter empty(*window->findChild<QWidget*>("openScene"), QEvent::Paint);
    window->begin(); // OpenGL starts beside the empty page
    EXPECT_TRUE(waitFor([&view, &empty] { return view.count > 0 && empty.count > 0; }));
    EXPECT_EQ(reading.count, 0);
    EXPECT_TRUE(window->findChild<QWidget*>("openScene")->isVisible());
}

TEST_F(StudioWalk, GivenFewClicks_SavesTheBytesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    QTest::mouseClick(window->findChild<QPushButton*>("bakeButton"), Qt::LeftButton);
    EXPECT_TRUE(window->isWindowModified());
    whenDialogShows([](QWidget& dialog) {
        EXPECT_TRUE(dynamic_cast<QFileDialog*>(&dialog));
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    QWidget* const save = window->findChild<QToolBar*>("mainToolBar")->widgetForAction(&action("save"));
    QTest::mouseClick(save, Qt::LeftButton);
    const std::string saved = folder.file("boxes-baked.glb");
    EXPECT_TRUE(waitFor([&] { return !window->isWindowModified(); })) << message().toStdString();
    EXPECT_TRUE(readFile(saved) == bakedByKtbake(scene));
}

TEST_F(StudioWalk, GivenKeysAlone_OpensBakesSavesAndUndoes) {
    const std::string scene = writeBoxes();
    ASSERT_TRUE(hasKeys());
    const auto enterName = [](const std::string& name) {
        return [name](QWidget& dialog) {
            auto* const line = dialog.findChild<QLineEdit*>("fileNameEdit");
            ASSERT_TRUE(line);
            line->setText(QString::fromStdString(name)); // typed letters open a list of proposals
            QTest::keyClick(&dialog, Qt::Key_Return);
        };
    };
    whenDialogShows(enterName(scene));
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(waitFor([&] { return window->getDocument().isOpen(); })) << message().toStdString();
    ASSERT_TRUE(hasKeys());
    QTest::keyClick(window.get(), Qt::Key_B, Qt::ControlModifier);
    EXPECT_TRUE(window->isWindowModified());
    const std::string saved = folder.file("by-keys.glb");
    whenDialogShows(enterName(saved));
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(waitFor([&] { return !window->isWindowModified(); })) << message().toStdString();
    EXPECT_TRUE(readFile(saved) == bakedByKtbake(scene));
    ASSERT_TRUE(hasKeys());
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(window->isWindowModified());
    QTest::keyClick(window.get(), Qt::Key_M, Qt::ControlModifier);
    EXPECT_FALSE(window->getSelection().isEmpty()) << "what is missing";
}

TEST_F(StudioWalk, GivenClickOnAPart_SelectsItAndOnNothing_SelectsNothing) {
    open(writeBoxes());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    auto* const view = window->findChild<ktSceneView*>();
    EXPECT_TRUE(waitFor([&] { return view->usesOpenGL(); }));
    trigger("viewFront");
    trigger("frameAll");
    QTest::qWait(300);
    const auto click = [view](QPoint at) {
        QWidget* const target = view->childAt(at) ? view->childAt(at) : view;
        QTest::mouseClick(target, Qt::LeftButton, {}, target->mapFrom(view, at));
    };
    click(view->rect().center() + QPoint(view->width() / 6, 0));
    ASSERT_TRUE(waitFor([&] { return window->getSelection().get().size() == 1; }));
    click(QPoint(4, view->height() - 4));
    EXPECT_TRUE(waitFor([&] { return window->getSelection().isEmpty(); }));
}

TEST_F(StudioWalk, GivenPixelsOfTheDisplay_DrawsAllOfThemAndPicksWhatItDraws) {
    const double scale = std::max(1.0, qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
    open(writeBoxes());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    EXPECT_EQ(window->devicePixelRatioF(), scale);
    auto* const view = window->findChild<ktSceneView*>();
    auto* const canvas = view->findChild<QOpenGLWidget*>();
    ASSERT_TRUE(canvas);
    trigger("viewColours");
    trigger("viewFront");
    trigger("frameAll");
    trigger("selectNone");
    ASSERT_TRUE(waitFor([&] { return view->isSettled(); }));
    const QImage picture = canvas->grabFramebuffer();
    EXPECT_EQ(picture.size(), (QSizeF(view->size()) * scale).toSize());
    // Along the middle row: what is drawn is what a click finds. Boxes differ from the background above them.
    const int y = view->height() / 2;
    const auto isDrawn = [&](int x) {
        const QColor color =
            picture.pixelColor(QPoint(static_cast<int>((x + 0.5) * scale), static_cast<int>(y * scale)));
        const QColor sky = picture.pixelColor(QPoint(2, static_cast<int>(y * scale)));
        return std::abs(color.red() - sky.red()) + std::abs(color.green() - sky.green()) > 24;
    };
    const auto isPicked = [&](int x) {
        window->getSelection().clear();
        QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(x, y));
        return waitFor([&] { return hasAnswered; }) && !window->getSelection().isEmpty();
    };
    QObject::connect(view, &ktSceneView::nodePicked, window.get(), [this] { hasAnswered = true; });
    int drawn = 0, edges = 0;
    for (int x = 4; x < view->width() - 4; ++x) {
        if (isDrawn(x - 2) != isDrawn(x + 2)) {
            ++edges;
            continue; // beside an edge
        }
        if (x % 32 != 0)
            continue;
        hasAnswered = false;
        drawn += isDrawn(x);
        EXPECT_EQ(isPicked(x), isDrawn(x)) << "x " << x;
    }
    EXPECT_GT(drawn, 3);
    EXPECT_GT(edges, 3) << "the boxes and the gap between them";
}
