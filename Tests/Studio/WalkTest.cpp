// SPDX-License-Identifier: LGPL-2.1-or-later
// Walks through the window with the mouse, on a display with software OpenGL: bake, look, pick, save.
#include "ktSceneView.h"
#include "ktStudioFixture.h"

#include <QAction>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QToolBar>
#include <QtTest>

using StudioWalk = ktStudioFixture;

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
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
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
    QTest::keyClick(window.get(), Qt::Key_B, Qt::ControlModifier);
    EXPECT_TRUE(window->isWindowModified());
    const std::string saved = folder.file("by-keys.glb");
    whenDialogShows(enterName(saved));
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(waitFor([&] { return !window->isWindowModified(); })) << message().toStdString();
    EXPECT_TRUE(readFile(saved) == bakedByKtbake(scene));
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
