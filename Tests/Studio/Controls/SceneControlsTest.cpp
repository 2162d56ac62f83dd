// SPDX-License-Identifier: LGPL-2.1-or-later
// Every control of the panels Scene, Part and History.
#include "ktAmbientOcclusion.h"
#include "ktDrivenControls.h"
#include "ktNodeMarks.h"
#include "ktSceneModel.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QTableWidget>
#include <QTreeView>
#include <QtTest>
#include <QUndoView>

using testing::ElementsAre;

namespace {

class StudioSceneControls : public ktDrivenControls {
protected:
    StudioSceneControls() { open(writeBoxes()); }

    osg::NodePtr left() { return window->getDocument().getTopNodes()[0]; }
    QTreeView& tree() { return find<QTreeView>("sceneTree"); }
    QModelIndex cell(int row, int column) { return tree().model()->index(row, column); }

    /// Clicks the check box of a cell.
    void clickBox(const QModelIndex& index) {
        QStyleOptionViewItem option;
        option.initFrom(&tree());
        option.rect = tree().visualRect(index);
        option.features = QStyleOptionViewItem::HasCheckIndicator;
        const QRect box = tree().style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &tree());
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, box.center());
    }

    /// Chooses an entry of the menu of the tree's first row.
    void chooseInTreeMenu(const QString& entry) {
        chooseInMenu(
            [this] {
                const QPoint at = tree().visualRect(cell(0, 0)).center();
                QContextMenuEvent event(QContextMenuEvent::Keyboard, at, tree().viewport()->mapToGlobal(at));
                QApplication::sendEvent(tree().viewport(), &event);
            },
            entry);
    }
};

} // namespace

TEST_F(StudioSceneControls, GivenEvents_EachOfTheTreeSelectsHidesOrLocks) {
    const auto isHidden = [this] { return ktStudioEdit::isHidden(left()); };
    const auto isLocked = [this] { return ktStudioEdit::isLocked(left()); };
    Drives drives;
    drives["sceneSearch"] = [this](QWidget& field) {
        type(field, "/ri*");
        EXPECT_THAT(selectedNames(), ElementsAre("right"));
    };
    drives["sceneTree"] = [&](QWidget&) {
        tree().collapseAll();
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, tree().visualRect(cell(1, 0)).center());
        EXPECT_THAT(selectedNames(), ElementsAre("right"));
        press(tree(), Qt::Key_Up);
        EXPECT_THAT(selectedNames(), ElementsAre("left"));
        press(tree(), Qt::Key_Down, Qt::ShiftModifier);
        EXPECT_THAT(selectedNames(), ElementsAre("left", "right"));
        expectStep(isHidden, [this] { clickBox(cell(0, ktSceneModel::Shown)); });
        expectStep(isLocked, [this] { clickBox(cell(0, ktSceneModel::Locked)); });
    };
    driveAll("sceneDock", drives);
}

TEST_F(StudioSceneControls, GivenMenuOfTheTree_EachEntryDoesWhatItSays) {
    const auto isHidden = [this] { return ktStudioEdit::isHidden(left()); };
    const auto isLocked = [this] { return ktStudioEdit::isLocked(left()); };
    plugin().setShadowQuality(0);
    window->getSelection().set({left()});
    expectStep(isHidden, [this] { chooseInTreeMenu("Hide"); });
    expectStep(isHidden, [this] { chooseInTreeMenu("Show"); });
    expectStep(isLocked, [this] { chooseInTreeMenu("Lock"); });
    expectStep(isLocked, [this] { chooseInTreeMenu("Unlock"); });
    expectStep([this] { return savedBytes(); }, [this] { chooseInTreeMenu("Bake"); });
    plugin().setShadowQuality(3);
    expectStep([] { return plugin().getShadowQuality(); },
               [this] { chooseInTreeMenu("Use the settings of its last bake"); });
    trigger("selectAll");
    chooseInTreeMenu("Select what is missing below");
    EXPECT_THAT(selectedNames(), ElementsAre("right"));
    trigger("selectAll");
    expectStep([this] { return savedBytes(); }, [this] { chooseInTreeMenu("Bake what is missing"); });
    chooseInTreeMenu("Expand to the selection"); // GivenClosedTree_ExpandsToTheSelection has a tree of several levels
    EXPECT_EQ(selectedNames().size(), 2u);
}

TEST_F(StudioSceneControls, GivenEvents_EachOfThePartChangesIt) {
    const auto texts = [this] { return ktStudioEdit::getTexts(left()); };
    plugin().setShadowQuality(1);
    window->getSelection().set({left()});
    trigger("start");
    EXPECT_TRUE(waitFor([this] { return find<QLabel>("partResults").text().startsWith("w:"); }));
    auto& table = find<QTableWidget>("texts");
    const auto addText = [&] {
        if (texts().empty())
            click(find<QWidget>("addText"));
    };
    const auto editCell = [&table](int row, int column, const QString& text) {
        const int steps = stepCount();
        table.setCurrentCell(row, column);
        press(table, Qt::Key_F2);
        QWidget* const editor = QApplication::focusWidget();
        ASSERT_NE(editor, &table);
        type(*editor, text);
        EXPECT_TRUE(waitFor([steps] { return stepCount() > steps; }));
    };
    Drives drives;
    drives["useSettings"] = [this](QWidget& button) {
        ASSERT_EQ(plugin().getShadowQuality(), 2);
        expectStep([] { return plugin().getShadowQuality(); }, [&button] { click(button); });
        EXPECT_EQ(plugin().getShadowQuality(), 1);
    };
    drives["addText"] = [&](QWidget& button) {
        expectStep(texts, [&button] { press(button, Qt::Key_Space); });
        pressUndo();
    };
    drives["texts"] = [&](QWidget&) {
        addText();
        expectStep(texts, [&] { editCell(0, 1, "steel"); });
        expectStep(texts, [&] { editCell(0, 0, "material"); });
        EXPECT_THAT(texts(), ElementsAre(std::pair<std::string, std::string>("material", "steel")));
    };
    drives["removeText"] = [&](QWidget& button) {
        addText();
        table.setCurrentCell(0, 0);
        expectStep(texts, [&button] { click(button); });
    };
    driveAll("partDock", drives);
}

TEST_F(StudioSceneControls, GivenKeys_TheHistoryGoesBackAndForward) {
    Drives drives;
    drives["history"] = [](QWidget& view) {
        plugin().setShadowQuality(4);
        plugin().setMinDistance(7);
        EXPECT_TRUE(waitFor([&view] { return static_cast<QUndoView&>(view).model()->rowCount() == 3; }));
        press(view, Qt::Key_Up);
        EXPECT_EQ(plugin().getMinDistance(), 1);
        EXPECT_EQ(plugin().getShadowQuality(), 4);
        press(view, Qt::Key_Up);
        EXPECT_EQ(plugin().getShadowQuality(), 2);
        press(view, Qt::Key_End);
        EXPECT_EQ(plugin().getMinDistance(), 7);
        EXPECT_EQ(plugin().getShadowQuality(), 4);
    };
    driveAll("historyDock", drives);
}
