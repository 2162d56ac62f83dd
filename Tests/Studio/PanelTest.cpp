// SPDX-License-Identifier: LGPL-2.1-or-later
// Works with the panels by mouse and keyboard: settings, scene, history, log.
#include "ktAmbientOcclusion.h"
#include "ktLog.h"
#include "ktNodeMarks.h"
#include "ktStudioFixture.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QTableWidget>
#include <QTreeView>
#include <QtTest>

namespace {

class StudioPanels : public ktStudioFixture {
protected:
    static void type(QWidget& widget, const QString& text) {
        widget.setFocus();
        QTest::keyClick(&widget, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&widget, text);
        QTest::keyClick(&widget, Qt::Key_Return);
    }
};

} // namespace

TEST_F(StudioPanels, GivenTwoSliderDrags_AreTwoUndoSteps) {
    auto& slider = find<QSlider>("shadow-qualitySlider");
    const auto drag = [&slider](std::initializer_list<int> positions) {
        slider.setSliderDown(true);
        for (const int position : positions)
            slider.setSliderPosition(position);
        slider.setSliderDown(false);
    };
    drag({3, 4, 5});
    EXPECT_EQ(plugin().getShadowQuality(), 5);
    EXPECT_EQ(stack().count(), 1);
    drag({4, 1});
    EXPECT_EQ(stack().count(), 2);
    drag({1});
    EXPECT_EQ(stack().count(), 2) << "nothing has changed";
    trigger("undo");
    EXPECT_EQ(plugin().getShadowQuality(), 5);
    trigger("undo");
    EXPECT_EQ(plugin().getShadowQuality(), 2);
    EXPECT_EQ(slider.value(), 2);
}

TEST_F(StudioPanels, GivenWheelOverAPanel_ScrollsItAndChangesOnlyWhatHasTheFocus) {
    open(writeBoxes());
    window->resize(window->width(), 400);
    auto& field = find<QDoubleSpinBox>("shadow-quality");
    QScrollArea* area = nullptr;
    for (QWidget* above = &field; above && !area; above = above->parentWidget())
        area = qobject_cast<QScrollArea*>(above);
    ASSERT_TRUE(area);
    ASSERT_TRUE(waitFor([&] { return area->isVisible() && area->verticalScrollBar()->maximum() > 0; }));
    const auto turn = [](QWidget& widget, int angle) {
        const QPointF at = widget.rect().center();
        QWheelEvent wheel(at, widget.mapToGlobal(at.toPoint()), {}, {0, angle}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&wheel); // as from the mouse: otherwise Qt does not pass it on
        qApp->notify(&widget, &wheel);
    };
    window->activateWindow();
    find<QCheckBox>("subdivide").setFocus();
    const int steps = stack().count();
    for (QWidget* widget : {static_cast<QWidget*>(&field), static_cast<QWidget*>(&find<QSlider>("max-distanceSlider")),
                            static_cast<QWidget*>(&find<QComboBox>("mode"))}) {
        area->verticalScrollBar()->setValue(0);
        turn(*widget, -120);
        EXPECT_EQ(stack().count(), steps) << widget->objectName().toStdString();
        EXPECT_GT(area->verticalScrollBar()->value(), 0) << widget->objectName().toStdString();
    }
    field.setFocus();
    ASSERT_TRUE(waitFor([&] { return field.hasFocus(); }));
    turn(field, -120);
    EXPECT_EQ(plugin().getShadowQuality(), 1);
}

TEST_F(StudioPanels, GivenMinimumAboveMaximum_SaysSoAtOnce) {
    QLabel& warning = find<QLabel>("settingsWarning");
    EXPECT_FALSE(warning.isVisible());
    type(find<QDoubleSpinBox>("min-distance"), "4000");
    EXPECT_TRUE(warning.isVisible());
    EXPECT_THAT(warning.text().toStdString(), testing::HasSubstr("minimum distance must be smaller"));
    trigger("undo");
    EXPECT_FALSE(warning.isVisible());
}

TEST_F(StudioPanels, GivenClickInTheTree_SelectsInTheHostAndBack) {
    open(writeBoxes());
    auto& tree = find<QTreeView>("sceneTree");
    ASSERT_EQ(tree.model()->rowCount(), 2);
    EXPECT_THAT(selectedNames(), testing::ElementsAre("left", "right")) << "as ktbake bakes";
    const QModelIndex right = tree.model()->index(1, 0);
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, tree.visualRect(right).center());
    EXPECT_THAT(selectedNames(), testing::ElementsAre("right"));
    window->getSelection().selectByText("left");
    EXPECT_EQ(tree.selectionModel()->selectedRows(), QModelIndexList{tree.model()->index(0, 0)});
}

TEST_F(StudioPanels, GivenSearchWithWildcard_SelectsWhatFits) {
    open(writeBoxes());
    type(find<QLineEdit>("sceneSearch"), "/ri*");
    EXPECT_THAT(selectedNames(), testing::ElementsAre("right"));
    type(find<QLineEdit>("sceneSearch"), "nothing");
    EXPECT_THAT(selectedNames(), testing::ElementsAre("right")) << "no match changes nothing";
}

TEST_F(StudioPanels, GivenResults_TreeSaysWhatIsMissing) {
    open(writeBoxes());
    auto& tree = find<QTreeView>("sceneTree");
    const auto results = [&](int row) { return tree.model()->index(row, 3).data().toString(); };
    EXPECT_TRUE(waitFor([&] { return results(0) == "missing"; }));
    EXPECT_EQ(tree.model()->index(0, 5).data().toString(), "12");
    window->getSelection().selectByText("left");
    trigger("start");
    EXPECT_TRUE(waitFor([&] { return results(0) == "yes"; }));
    EXPECT_TRUE(waitFor([&] { return results(1) == "missing"; }));
    trigger("selectMissing");
    EXPECT_THAT(selectedNames(), testing::ElementsAre("right"));
    trigger("undo");
    EXPECT_TRUE(waitFor([&] { return results(0) == "missing"; }));
}

TEST_F(StudioPanels, GivenHiddenAndLockedParts_UndoBringsThemBack) {
    open(writeBoxes());
    auto& tree = find<QTreeView>("sceneTree");
    const osg::NodePtr left = window->getDocument().getTopNodes()[0];
    EXPECT_TRUE(tree.model()->setData(tree.model()->index(0, 1), Qt::Unchecked, Qt::CheckStateRole));
    EXPECT_FALSE(left->getActive());
    EXPECT_FALSE(window->isWindowModified()) << "the file does not keep what is hidden";
    EXPECT_TRUE(tree.model()->setData(tree.model()->index(0, 2), Qt::Checked, Qt::CheckStateRole));
    EXPECT_TRUE(ktNodeMarks::isLocked(left));
    EXPECT_TRUE(window->isWindowModified());
    trigger("undo");
    EXPECT_FALSE(ktNodeMarks::isLocked(left));
    trigger("undo");
    EXPECT_TRUE(left->getActive());
    trigger("hide");
    EXPECT_FALSE(left->getActive());
    trigger("showAll");
    EXPECT_TRUE(left->getActive());
}

TEST_F(StudioPanels, GivenLogLineWithAName_AClickSelectsThePart) {
    open(writeBoxes());
    trigger("selectNone");
    ktLog::warning("The part \"right\" is inside out");
    auto& lines = find<QListView>("logLines");
    const QModelIndex last = lines.model()->index(lines.model()->rowCount() - 1, 0);
    EXPECT_THAT(last.data().toString().toStdString(), testing::HasSubstr("inside out"));
    lines.window()->activateWindow();
    QTest::mouseClick(lines.viewport(), Qt::LeftButton, {}, lines.visualRect(last).center());
    EXPECT_THAT(selectedNames(), testing::ElementsAre("right"));
    find<QComboBox>("logLevel").setCurrentIndex(0);
    EXPECT_EQ(lines.model()->rowCount(), 0) << "errors only";
}

TEST_F(StudioPanels, GivenOptions_SavesTheBytesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    find<QComboBox>("fit").setFocus();
    QTest::keyClick(&find<QComboBox>("fit"), Qt::Key_Up);
    QTest::mouseClick(&find<QCheckBox>("shade"), Qt::LeftButton, {}, QPoint(8, find<QCheckBox>("shade").height() / 2));
    EXPECT_EQ(stack().count(), 2);
    trigger("start");
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene, {"--fit", "vertices", "--shade", "none"}));
    trigger("undo");
    trigger("undo");
    EXPECT_TRUE(find<QCheckBox>("shade").isChecked());
    trigger("undo");
    EXPECT_EQ(find<QComboBox>("fit").currentIndex(), 1);
}

TEST_F(StudioPanels, GivenBakedPart_SaysWhatItHoldsAndLoadsItsSettings) {
    open(writeBoxes());
    plugin().setShadowQuality(1);
    trigger("start");
    plugin().setShadowQuality(3);
    EXPECT_TRUE(waitFor([&] { return find<QLabel>("partResults").text().startsWith("w: least"); }))
        << find<QLabel>("partResults").text().toStdString();
    QTest::mouseClick(&find<QPushButton>("useSettings"), Qt::LeftButton);
    EXPECT_EQ(plugin().getShadowQuality(), 1);
    trigger("undo");
    EXPECT_EQ(plugin().getShadowQuality(), 3);
    trigger("undo");
    trigger("undo");
    EXPECT_TRUE(waitFor([&] { return find<QLabel>("partResults").text() == "No results."; }));
}

// The tree counts each use, too.
TEST_F(StudioPanels, GivenGeometryThatIsUsedTwice_SaysHowManyTrianglesAllUsesHave) {
    open(KT_MODELS "/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb");
    window->getSelection().set(window->getDocument().getTopNodes());
    EXPECT_TRUE(waitFor([&] {
        QString text = find<QLabel>("partCounts").text();
        return text.remove(QLocale().groupSeparator()).endsWith("triangles: 75730 (121496 with all uses)");
    })) << find<QLabel>("partCounts").text().toStdString();
}

TEST_F(StudioPanels, GivenTextOfANode_ChangesItWithUndo) {
    open(writeBoxes());
    const osg::NodePtr left = window->getDocument().getTopNodes()[0];
    window->getSelection().set({left});
    auto& table = find<QTableWidget>("texts");
    EXPECT_TRUE(waitFor([&] { return table.isVisible(); }));
    QTest::mouseClick(&find<QPushButton>("addText"), Qt::LeftButton);
    ASSERT_EQ(table.rowCount(), 1);
    table.item(0, 1)->setText("steel");
    EXPECT_TRUE(waitFor([&] { return ktStudioEdit::getTexts(left).back().second == "steel"; }));
    table.item(0, 0)->setText("material");
    using Pair = std::pair<std::string, std::string>;
    EXPECT_THAT(ktStudioEdit::getTexts(left), testing::ElementsAre(Pair("material", "steel")));
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_THAT(savedBytes(), testing::HasSubstr("\"material\":\"steel\""));
    trigger("undo");
    EXPECT_THAT(ktStudioEdit::getTexts(left), testing::ElementsAre(Pair("name", "steel")));
    trigger("undo");
    trigger("undo");
    EXPECT_TRUE(ktStudioEdit::getTexts(left).empty());
}
