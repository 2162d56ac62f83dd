// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens and saves files in the window: unsaved changes, broken and changed files, dropped files.
#include "ktStudioFixture.h"
#include "ktStudioPreferences.h"
#include "ktUndoStack.h"

#include <QAction>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QtTest>
#include <QUrl>

using StudioFiles = ktStudioFixture;

namespace {

void drop(QWidget& window, const std::string& path) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent event(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
}

void press(QWidget& dialog, QMessageBox::StandardButton button) {
    auto* const box = qobject_cast<QMessageBox*>(&dialog);
    ASSERT_TRUE(box);
    QTest::mouseClick(box->button(button), Qt::LeftButton);
}

} // namespace

TEST_F(StudioFiles, GivenNoScene_OffersOnlyWhatCanBeDone) {
    EXPECT_TRUE(action("open").isEnabled());
    EXPECT_FALSE(action("save").isEnabled());
    EXPECT_FALSE(action("cancel").isEnabled());
    EXPECT_TRUE(window->findChild<QWidget*>("openScene")->isVisible());
    trigger("start");
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("open a scene first"));
}

TEST_F(StudioFiles, GivenDroppedFile_OpensIt) {
    const std::string scene = writeBoxes();
    drop(*window, scene);
    EXPECT_TRUE(waitFor([&] { return window->getDocument().isOpen(); }));
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_THAT(window->windowTitle().toStdString(), testing::HasSubstr("boxes.gltf"));
    EXPECT_EQ(ktStudioPreferences::the().getRecentFiles(), QStringList(QString::fromStdString(scene)));
}

TEST_F(StudioFiles, GivenDroppedBrokenFile_NamesItAndKeepsTheScene) {
    const std::string scene = writeBoxes();
    open(scene);
    drop(*window, folder.write("broken.glb", "glTF but no more"));
    EXPECT_TRUE(waitFor([&] { return !message().isEmpty(); }));
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("broken.glb"));
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_TRUE(action("start").isEnabled());
}

TEST_F(StudioFiles, GivenUnsavedBake_AsksBeforeItCloses) {
    open(writeBoxes());
    EXPECT_FALSE(window->isWindowModified());
    trigger("start");
    EXPECT_TRUE(window->isWindowModified());
    whenDialogShows([](QWidget& dialog) { press(dialog, QMessageBox::Cancel); });
    EXPECT_FALSE(window->close());
    whenDialogShows([](QWidget& dialog) { press(dialog, QMessageBox::Save); });
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->getDocument().isModified());
    EXPECT_FALSE(readFile(folder.file("boxes-baked.glb")).empty());
}

TEST_F(StudioFiles, GivenUndoneBake_IsNotModified) {
    open(writeBoxes());
    trigger("start");
    trigger("undo");
    EXPECT_FALSE(window->isWindowModified());
    trigger("redo");
    EXPECT_TRUE(window->isWindowModified());
    savedBytes();
    EXPECT_FALSE(window->isWindowModified());
    trigger("undo");
    EXPECT_TRUE(window->isWindowModified()) << "the file has the results";
}

TEST_F(StudioFiles, GivenFolderInPlaceOfTheOutput_SaysWhyItIsNotSaved) {
    open(writeBoxes());
    trigger("start");
    std::filesystem::create_directory(folder.file("taken.glb"));
    EXPECT_FALSE(window->getDocument().saveAs(QString::fromStdString(folder.file("taken.glb"))));
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("taken.glb"));
    EXPECT_TRUE(window->isWindowModified());
}
