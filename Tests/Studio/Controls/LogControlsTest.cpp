// SPDX-License-Identifier: LGPL-2.1-or-later
// Every control of the panel Log, and the list of the panels.
#include "ktDrivenControls.h"
#include "ktLog.h"

#include <gmock/gmock.h>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDockWidget>
#include <QListView>
#include <QtTest>
#include <set>

using StudioLogControls = ktDrivenControls;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(StudioLogControls, GivenDocks_EachIsDriven) {
    std::set<std::string> docks;
    for (const QDockWidget* dock : window->findChildren<QDockWidget*>())
        docks.insert(dock->objectName().toStdString());
    EXPECT_EQ(docks, std::set<std::string>(std::begin(ktDrivenDocks), std::end(ktDrivenDocks)));
}

TEST_F(StudioLogControls, GivenEvents_EachOfTheLogFiltersCopiesOrSelects) {
    open(writeBoxes());
    auto& lines = find<QListView>("logLines");
    const auto rows = [&lines] { return lines.model()->rowCount(); };
    const auto text = [&lines](int row) { return lines.model()->index(row, 0).data().toString().toStdString(); };
    const auto logTwo = [this] {
        click(find<QWidget>("logClear"));
        ktLog::warning("The part \"right\" is inside out");
        ktLog::info("The part \"left\" is fine");
    };
    Drives drives;
    drives["logLevel"] = [&](QWidget& box) {
        logTwo();
        press(box, Qt::Key_Up);
        ASSERT_EQ(rows(), 1) << "warnings";
        EXPECT_THAT(text(0), HasSubstr("inside out"));
        press(box, Qt::Key_Up);
        EXPECT_EQ(rows(), 0) << "errors";
        press(box, Qt::Key_End);
        EXPECT_EQ(rows(), 2);
    };
    drives["logFilter"] = [&](QWidget& field) {
        logTwo();
        type(field, "fine");
        ASSERT_EQ(rows(), 1);
        EXPECT_THAT(text(0), HasSubstr("left"));
        press(field, Qt::Key_A, Qt::ControlModifier);
        press(field, Qt::Key_Backspace);
        EXPECT_EQ(rows(), 2);
    };
    drives["logCopy"] = [&](QWidget& button) {
        logTwo();
        click(button);
        EXPECT_THAT(QApplication::clipboard()->text().toStdString(), testing::MatchesRegex(".*inside out\n.*fine"));
    };
    drives["logClear"] = [&](QWidget& button) {
        logTwo();
        press(button, Qt::Key_Space);
        EXPECT_EQ(rows(), 0);
    };
    drives["logLines"] = [&](QWidget&) {
        logTwo();
        QTest::mouseClick(lines.viewport(), Qt::LeftButton, {}, lines.visualRect(lines.model()->index(0, 0)).center());
        EXPECT_THAT(selectedNames(), ElementsAre("right"));
        press(lines, Qt::Key_Down);
        press(lines, Qt::Key_Return);
        EXPECT_THAT(selectedNames(), ElementsAre("left"));
    };
    driveAll("logDock", drives);
}
