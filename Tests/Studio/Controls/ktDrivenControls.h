// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktStudioFixture.h"

#include <functional>
#include <map>
#include <QString>
#include <QWidget>

class QMenu;

/// The docks whose controls the tests in this folder drive.
inline constexpr const char* ktDrivenDocks[] = {"sceneDock",  "partDock", "runDock",     "calculationDock",
                                                "optionDock", "logDock",  "historyDock", "scriptDock"};

/// Changes each control of a dock by events of the mouse or the keyboard.
class ktDrivenControls : public ktStudioFixture {
protected:
    /// What to do with each control, by its name. Events go to the widget.
    using Drives = std::map<QString, std::function<void(QWidget&)>>;

    /// Drives each widget of the dock that takes the keyboard, with initial settings and an empty undo stack. Fails for
    /// a widget that has no name or no drive, and for a drive without a widget.
    void driveAll(const char* dock, const Drives& drives);

    /// Fails unless `act` changes what `read` returns by one step, which undo takes back and redo brings again.
    template <class Read>
    void expectStep(const Read& read, const std::function<void()>& act) {
        const auto before = read();
        const int steps = stepCount();
        act();
        const auto after = read();
        EXPECT_FALSE(after == before) << "no effect";
        EXPECT_EQ(stepCount(), steps + 1);
        pressUndo();
        EXPECT_TRUE(read() == before) << "undo";
        pressShortcut("redo");
        EXPECT_TRUE(read() == after) << "redo";
    }

    /// Number of the steps that are done.
    static int stepCount();
    /// Presses the keys of undo or redo where the keyboard is now, until they have an effect.
    void pressShortcut(const char* command);
    void pressUndo() { pressShortcut("undo"); }

    static void click(QWidget& widget);
    static void press(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    /// Writes over the text of a field, and Enter.
    static void type(QWidget& widget, const QString& text);
    /// Chooses the entry with this text in the menu that `open` shows, by the keyboard.
    static void chooseInMenu(const std::function<void()>& open, const QString& text);
    /// Answers the next dialog for one text, by the keyboard.
    static void answerWithText(const QString& text);
    /// Answers the next dialog for a file.
    static void answerWithFile(const std::string& path);
};
