// SPDX-License-Identifier: LGPL-2.1-or-later
// Clicks in the panel History, and its mark of the saved state.
#include "ktAmbientOcclusion.h"
#include "ktHistoryPanel.h"
#include "ktStudioFixture.h"
#include "ktUndoStack.h"

#include <QDockWidget>
#include <QtTest>

namespace {

class StudioHistory : public ktStudioFixture {
protected:
    ktHistoryPanel& panel() { return *window->findChild<ktHistoryPanel*>(); }

    /// Clicks the row with this number; 0 is the state as opened.
    void click(int row) {
        const QRect place = panel().visualRect(panel().model()->index(row, 0));
        ASSERT_FALSE(place.isEmpty()) << "row " << row;
        QTest::mouseClick(panel().viewport(), Qt::LeftButton, {}, place.center());
    }

    /// The rows that the mark of the saved state stands at.
    std::vector<int> markedRows() {
        std::vector<int> rows;
        for (int row = 0; row < panel().model()->rowCount(); ++row)
            if (!panel().model()->index(row, 0).data(Qt::DecorationRole).value<QIcon>().isNull())
                rows.push_back(row);
        return rows;
    }

    void makeSteps() {
        open(writeBoxes());
        plugin().setIndirectIlluminationEnabled(false);
        ktUndoStack::get(0)->clear();
        auto* const dock = window->findChild<QDockWidget*>("historyDock");
        dock->show();
        dock->raise();
        plugin().setShadowQuality(0);
        trigger("start");
        plugin().setShadowQuality(1);
        plugin().setMinDistance(7); // another setting: changes of one setting are one step
        ASSERT_TRUE(waitFor([this] { return panel().isVisible() && panel().model()->rowCount() == 5; }));
    }
};

} // namespace

TEST_F(StudioHistory, GivenClicks_GoesSeveralStepsBackAndForward) {
    makeSteps();
    const std::string baked = savedBytes();
    click(1); // before the bake
    EXPECT_EQ(ktUndoStack::get(0)->index(), 1);
    EXPECT_EQ(plugin().getShadowQuality(), 0);
    const std::string without = savedBytes();
    EXPECT_NE(without, baked);
    click(4);
    EXPECT_EQ(ktUndoStack::get(0)->index(), 4);
    EXPECT_EQ(plugin().getShadowQuality(), 1);
    EXPECT_EQ(plugin().getMinDistance(), 7);
    EXPECT_TRUE(savedBytes() == baked);
    click(0);
    EXPECT_EQ(ktUndoStack::get(0)->index(), 0);
    EXPECT_EQ(plugin().getShadowQuality(), 2) << "the initial one";
    EXPECT_TRUE(savedBytes() == without);
}

TEST_F(StudioHistory, GivenSaving_MarksTheSavedStateAndKnowsItAgain) {
    makeSteps();
    click(2); // after the bake
    EXPECT_TRUE(window->isWindowModified());
    savedBytes();
    EXPECT_EQ(markedRows(), std::vector<int>{2});
    EXPECT_FALSE(window->isWindowModified());
    click(1);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_EQ(markedRows(), std::vector<int>{2});
    click(4); // settings are not in the file
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_EQ(markedRows(), std::vector<int>{2});
}

TEST_F(StudioHistory, GivenWorkThatIsOn_TakesNoClicks) {
    makeSteps();
    bool wasEnabled = true;
    QObject::connect(&window->getRun(), &ktStudioRun::runningChanged, window.get(), [&](bool isRunning) {
        if (!isRunning)
            return;
        wasEnabled = panel().isEnabled();
        click(0);
    });
    trigger("start");
    EXPECT_FALSE(wasEnabled);
    EXPECT_EQ(ktUndoStack::get(0)->index(), 5) << "the second bake";
    EXPECT_TRUE(panel().isEnabled());
}
