// SPDX-License-Identifier: LGPL-2.1-or-later
// Commands say why nothing happens, reach each panel by keyboard, and are listed.
#include "ktMessageBar.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDockWidget>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTreeView>
#include <QtTest>
#include <set>

using StudioCommands = ktStudioFixture;

TEST_F(StudioCommands, GivenNothingSelected_EachCommandForPartsSaysSo) {
    open(writeBoxes());
    trigger("selectNone");
    for (const char* command : {"hide", "show", "lock", "unlock", "useSettings", "expandSelection", "clearShadows",
                                "clearActiveShadows", "clearIndirect", "clearActiveIndirect"}) {
        SCOPED_TRACE(command);
        window->getMessages().close("run");
        trigger(command);
        EXPECT_THAT(message().toStdString(), testing::HasSubstr("Nothing is selected. Select parts"));
    }
    EXPECT_EQ(ktUndoStack::get(0)->count(), 0);
    pressInMessage("Select everything");
    EXPECT_EQ(window->getSelection().get().size(), 2u);
}

TEST_F(StudioCommands, GivenNothingToDo_CommandsSayWhy) {
    open(writeBoxes());
    const std::pair<const char*, const char*> reasons[] = {
        {"clearShadows", "no such results"},
        {"clearIndirect", "no such results"},
        {"useSettings", "keeps no settings"},
        {"showAll", "Nothing is hidden"},
    };
    for (const auto& [command, reason] : reasons) {
        SCOPED_TRACE(command);
        trigger(command);
        EXPECT_THAT(message().toStdString(), testing::HasSubstr(reason));
    }
    EXPECT_EQ(ktUndoStack::get(0)->count(), 0);
}

TEST_F(StudioCommands, GivenClosedTree_ExpandsToTheSelection) {
    open(KT_MODELS "/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    window->getSelection().selectByText("body");
    auto& tree = *window->findChild<QTreeView*>("sceneTree");
    ASSERT_FALSE(tree.selectionModel()->selectedRows().isEmpty());
    const QModelIndex selected = tree.selectionModel()->selectedRows().first();
    tree.collapseAll();
    ASSERT_TRUE(selected.parent().isValid());
    EXPECT_FALSE(tree.isExpanded(selected.parent()));
    trigger("expandSelection");
    EXPECT_TRUE(tree.isExpanded(selected.parent()));
    EXPECT_TRUE(tree.viewport()->rect().intersects(tree.visualRect(selected)));
}

TEST_F(StudioCommands, GivenAltAndANumber_EachPanelGetsTheKeyboard) {
    open(writeBoxes());
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    const QStringList docks = {"sceneDock",  "partDock", "runDock",     "calculationDock",
                               "optionDock", "logDock",  "historyDock", "scriptDock"};
    for (const QString& name : docks)
        window->findChild<QDockWidget*>(name)->close();
    for (int i = 0; i < docks.size(); ++i) {
        SCOPED_TRACE(docks[i].toStdString());
        QTest::keyClick(window.get(), static_cast<Qt::Key>(Qt::Key_1 + i), Qt::AltModifier);
        auto* const dock = window->findChild<QDockWidget*>(docks[i]);
        EXPECT_TRUE(waitFor([&] { return dock->isAncestorOf(QApplication::focusWidget()); }));
        EXPECT_TRUE(dock->isVisible());
    }
    QTest::keyClick(window.get(), Qt::Key_0, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), window->findChild<ktSceneView*>());
}

TEST_F(StudioCommands, GivenHelp_ListsShortcutsAndWhatTheMouseDoes) {
    std::set<std::string> keys;
    for (const QAction* action : window->actions()) {
        const std::string key = action->shortcut().toString(QKeySequence::NativeText).toStdString();
        EXPECT_TRUE(key.empty() || keys.insert(key).second) << key;
    }
    EXPECT_GT(keys.size(), 60u);
    const auto listed = [this] {
        std::set<std::string> cells;
        whenDialogShows([&cells](QWidget& dialog) {
            const auto& table = *dialog.findChild<QTableWidget*>();
            for (int row = 0; row < table.rowCount(); ++row)
                if (const QTableWidgetItem* cell = table.item(row, 1))
                    cells.insert(cell->text().toStdString());
            static_cast<QDialog&>(dialog).reject();
        });
        trigger("shortcuts");
        EXPECT_TRUE(waitFor([&cells] { return !cells.empty(); }));
        return cells;
    };
    trigger("mouseMeshLab");
    const std::set<std::string> all = listed();
    for (const std::string& key : keys)
        EXPECT_EQ(all.count(key), 1u) << key;
    EXPECT_EQ(all.count("Shift + left button"), 1u);
    trigger("mouseBlender");
    EXPECT_EQ(listed().count("Shift + middle button"), 1u);
}

TEST_F(StudioCommands, GivenWidgetsAndToolBars_EachHasATooltip) {
    open(writeBoxes());
    std::set<std::string> silent;
    for (const QDockWidget* dock : window->findChildren<QDockWidget*>())
        for (const QWidget* widget : dock->widget()->findChildren<QWidget*>()) {
            const bool isOfQt = widget->objectName().startsWith("qt_") || widget->parentWidget()->inherits("QDialog");
            const bool isHere = widget->window() == window.get() && (widget->focusPolicy() & Qt::TabFocus);
            bool isSilent = isHere && !isOfQt;
            for (const QWidget* around = widget; around && around != dock; around = around->parentWidget())
                isSilent = isSilent && around->toolTip().isEmpty();
            if (isSilent)
                silent.insert((dock->objectName() + "/" + widget->metaObject()->className() + "/" +
                               widget->objectName() + "/" + widget->property("text").toString())
                                  .toStdString());
        }
    EXPECT_THAT(silent, testing::IsEmpty());
    EXPECT_EQ(action("save").toolTip().toStdString(), "Save the scene with its baked light (Ctrl+S)");
    for (const QAction* command : window->actions())
        EXPECT_FALSE(command->toolTip().isEmpty()) << command->objectName().toStdString();
}

TEST_F(StudioCommands, GivenPalette_ListsAllThatMenusOfferNow) {
    open(KT_MODELS "/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    std::vector<std::string> offered;
    const std::function<void(QMenu&)> visit = [&](QMenu& menu) {
        emit menu.aboutToShow();
        for (const QAction* action : menu.actions())
            if (action->menu())
                visit(*action->menu());
            else if (!action->isSeparator() && action->isEnabled())
                offered.push_back(action->text().remove('&').toStdString());
    };
    for (const QAction* action : window->menuBar()->actions())
        visit(*action->menu());
    for (const QAction* action : window->findChild<QPushButton*>("changePresets")->menu()->actions())
        if (!action->isSeparator())
            offered.push_back(action->text().toStdString());
    EXPECT_GT(offered.size(), 80u);
    std::vector<std::string> listed;
    whenDialogShows([&](QWidget& dialog) {
        const auto& list = *dialog.findChild<QListWidget*>();
        for (int row = 0; row < list.count(); ++row)
            listed.push_back(list.item(row)->text().toStdString());
        auto* const text = dialog.findChild<QWidget*>("commandText");
        QTest::keyClicks(text, "panels: history");
        QTest::keyClick(text, Qt::Key_Return);
    });
    trigger("commands");
    auto* const history = window->findChild<QDockWidget*>("historyDock");
    EXPECT_TRUE(waitFor([&] { return history->isHidden(); })) << "the palette switches a panel off";
    for (const std::string& text : offered)
        EXPECT_THAT(listed, testing::Contains(testing::HasSubstr(text)));
}
