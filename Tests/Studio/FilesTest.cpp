// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens and saves files in the window: unsaved changes, broken and changed files, dropped files.
#include "ktAmbientOcclusion.h"
#include "ktBoxScene.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktStudioPreferences.h"
#include "ktUndoStack.h"
#include "ktViewCamera.h"

#include <gmock/gmock.h>
#include <QAction>
#include <QMessageBox>
#include <QPushButton>
#include <QSemaphore>
#include <QTimer>
#include <QtTest>
#include <thread>

using StudioFiles = ktStudioFixture;

namespace {

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
    drop({scene});
    EXPECT_TRUE(waitFor([&] { return window->getDocument().isOpen(); }));
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_THAT(window->windowTitle().toStdString(), testing::HasSubstr("boxes.gltf"));
    EXPECT_TRUE(waitFor(
        [&] { return ktStudioPreferences::the().getRecentFiles() == QStringList(QString::fromStdString(scene)); }));
}

TEST_F(StudioFiles, GivenDroppedBrokenFile_NamesItAndKeepsTheScene) {
    const std::string scene = writeBoxes();
    open(scene);
    drop({folder.write("broken.glb", "glTF but no more")});
    EXPECT_TRUE(waitFor([&] { return !message().isEmpty(); }));
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("broken.glb"));
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_TRUE(action("start").isEnabled());
}

TEST_F(StudioFiles, GivenFileThatIsRead_TheWindowHandlesEventsMeanwhile) {
    QSemaphore timerFired;
    const std::thread::id main = std::this_thread::get_id();
    window->getDocument().setPreparation([&](const osg::NodePtr& root, const auto&) {
        EXPECT_NE(std::this_thread::get_id(), main);
        EXPECT_NE(root, osg::NullFC);
        timerFired.acquire(); // only an event of the main thread lets it go on
        return nullptr;
    });
    QTimer::singleShot(0, window.get(), [&] {
        EXPECT_FALSE(action("open").isEnabled());
        timerFired.release();
    });
    open(writeBoxes());
    EXPECT_TRUE(action("open").isEnabled());
    trigger("start"); // the view reads the scene itself if nobody has prepared it
    EXPECT_TRUE(window->isWindowModified());
}

TEST_F(StudioFiles, GivenReadingThatIsCancelled_EndsAtOnceAndKeepsTheScene) {
    const std::string scene = writeBoxes();
    open(scene);
    QSemaphore isBegun, mayEnd;
    window->getDocument().setPreparation([&](const osg::NodePtr&, const auto& isInterrupted) {
        isBegun.release();
        mayEnd.acquire(); // hears of no cancel
        EXPECT_TRUE(isInterrupted());
        return nullptr;
    });
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, [&] {
        auto* const button = window->findChild<QAbstractButton*>("cancelReading");
        if (button->isVisible() && isBegun.tryAcquire())
            QTest::mouseClick(button, Qt::LeftButton);
    });
    cancel.start(1);
    window->openFile(QString::fromStdString(writeBoxes("other.gltf"))); // returns only after the click
    cancel.stop();
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("other.gltf was not opened: cancelled"));
    EXPECT_TRUE(action("start").isEnabled());
    mayEnd.release();
    window.reset(); // waits for the reading that was left alone
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

TEST_F(StudioFiles, GivenFileThatChangesOnDisk_OffersToReadItAgainAndKeepsSelectionAndCamera) {
    const std::string scene = writeBoxes();
    open(scene);
    window->getSelection().selectByText("right");
    auto* const view = window->findChild<ktSceneView*>();
    QTest::keyClick(view, Qt::Key_Right);
    QTest::keyClick(view, Qt::Key_Plus);
    const ktViewCamera camera = view->camera();
    const auto readAgain = [&] {
        EXPECT_TRUE(waitFor([&] { return message().contains("changed on disk"); }));
        pressInMessage("Read again");
        ASSERT_EQ(window->getSelection().get().size(), 1u);
        EXPECT_EQ(ktStudioEdit::nameOf(window->getSelection().get().front()), "right");
        EXPECT_EQ(view->camera().eye(), camera.eye());
        EXPECT_EQ(view->camera().target(), camera.target());
    };
    QTest::qWait(50);
    folder.write("boxes.gltf", readFile(scene) + "\n");
    readAgain();
    // As programs do that keep the old file until the new one is whole. The boxes are farther apart.
    const std::string other = folder.write("new.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {4, 0, 0}}}).dump());
    std::filesystem::rename(other, scene);
    readAgain();
    EXPECT_GT(window->getDocument().getDiagonal(), 5000);
}

TEST_F(StudioFiles, GivenGroundPlaneInTheReadingOptions_BakesTheBytesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    whenDialogShows([](QWidget& dialog) {
        QTest::keyClick(dialog.findChild<QWidget*>("plane"), Qt::Key_Space);
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    trigger("readingOptions");
    EXPECT_TRUE(waitFor([&] { return window->getDocument().getReadOptions().groundPlane; }));
    ktAmbientOcclusion::the()->setShadowQuality(0);
    ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(false);
    trigger("start");
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene, {"--ground-plane", "--shadow-quality", "0", "--no-indirect"}));
}

TEST_F(StudioFiles, GivenCommandPalette_StartsTheCommandByName) {
    open(writeBoxes());
    whenDialogShows([](QWidget& dialog) {
        auto* const text = dialog.findChild<QWidget*>("commandText");
        QTest::keyClicks(text, "select nothing");
        QTest::keyClick(text, Qt::Key_Return);
    });
    trigger("commands");
    EXPECT_TRUE(waitFor([&] { return window->getSelection().isEmpty(); }));
}
