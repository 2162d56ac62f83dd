// SPDX-License-Identifier: LGPL-2.1-or-later
// Applies, saves, renames, orders and deletes presets in the window, and takes it back.
#include "ktAmbientOcclusion.h"
#include "ktPreferences.h"
#include "ktStudioFixture.h"
#include "ktUndoStack.h"

#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QInputDialog>
#include <QPushButton>
#include <QtTest>

namespace {

class StudioPresets : public ktStudioFixture {
protected:
    StudioPresets() { window->getServices().presets.restoreBuiltIn(); }

    QComboBox& list() { return *window->findChild<QComboBox*>("presets"); }
    QStringList names() { return window->getServices().presets.getNames(); }
    void choose(const QString& name) { list().setCurrentText(name); }
};

} // namespace

TEST_F(StudioPresets, GivenPreset_AppliesItAsOneStep) {
    ktUndoStack& stack = *ktUndoStack::get(0);
    stack.clear();
    choose("Car Highest Quality");
    QTest::mouseClick(window->findChild<QPushButton*>("applyPreset"), Qt::LeftButton);
    EXPECT_EQ(ktAmbientOcclusion::the()->getShadowQuality(), 4);
    EXPECT_EQ(stack.count(), 1);
    trigger("undo");
    EXPECT_EQ(ktAmbientOcclusion::the()->getShadowQuality(), 2);
}

TEST_F(StudioPresets, GivenNewName_SavesRenamesAndDeletesWithUndo) {
    const QStringList before = names();
    ktAmbientOcclusion::the()->setShadowQuality(5);
    whenDialogShows([](QWidget& dialog) {
        dynamic_cast<QInputDialog&>(dialog).setTextValue("Mine");
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    trigger("savePreset");
    EXPECT_TRUE(waitFor([&] { return names().contains("Mine"); }));
    choose("Mine");
    whenDialogShows([](QWidget& dialog) {
        dynamic_cast<QInputDialog&>(dialog).setTextValue("Yours");
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    trigger("renamePreset");
    EXPECT_TRUE(waitFor([&] { return names().contains("Yours"); }));
    EXPECT_FALSE(names().contains("Mine"));
    choose("Yours");
    ktAmbientOcclusion::the()->setShadowQuality(0);
    QTest::mouseClick(window->findChild<QPushButton*>("applyPreset"), Qt::LeftButton);
    EXPECT_EQ(ktAmbientOcclusion::the()->getShadowQuality(), 5) << "the renamed preset keeps its settings";
    trigger("undo");
    choose("Yours");
    trigger("deletePreset");
    EXPECT_EQ(names(), before);
    trigger("undo");
    EXPECT_TRUE(names().contains("Yours"));
    trigger("redo");
    EXPECT_EQ(names(), before);
}

TEST_F(StudioPresets, GivenMoveUp_ChangesTheOrderAndNothingElse) {
    const QStringList before = names();
    choose("Groundplane High Quality");
    const int place = list().currentIndex();
    trigger("presetUp");
    QStringList expected = before;
    expected.move(place, place - 1);
    EXPECT_EQ(names(), expected);
    choose("Groundplane High Quality");
    QTest::mouseClick(window->findChild<QPushButton*>("applyPreset"), Qt::LeftButton);
    EXPECT_EQ(ktAmbientOcclusion::the()->getShadowQuality(), 4);
    EXPECT_FALSE(ktAmbientOcclusion::the()->isIndirectIlluminationEnabled());
    trigger("undo");
    trigger("undo");
    EXPECT_EQ(names(), before);
}

TEST_F(StudioPresets, GivenDeletedAndChangedBuiltIns_RestoresThem) {
    const QStringList before = names();
    choose("Car Low Quality");
    trigger("deletePreset");
    choose("Car High Quality");
    ktAmbientOcclusion::the()->setShadowQuality(0);
    trigger("replacePreset");
    trigger("restorePresets");
    QStringList after = names();
    after.sort();
    QStringList expected = before;
    expected.sort();
    EXPECT_EQ(after, expected);
    choose("Car High Quality");
    QTest::mouseClick(window->findChild<QPushButton*>("applyPreset"), Qt::LeftButton);
    EXPECT_EQ(ktAmbientOcclusion::the()->getShadowQuality(), 3);
}
