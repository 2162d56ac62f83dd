// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the controls of a dock, and drives each.
#include "ktDrivenControls.h"

#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktUndoStack.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>
#include <QtTest>
#include <set>

namespace Settings = ktAmbientOcclusionSettings;

int ktDrivenControls::stepCount() {
    return stack().index();
}

void ktDrivenControls::pressShortcut(const char* command) {
    const int key = action(command).shortcut()[0], steps = stepCount(); // the key with its modifiers
    // The window may lose the keys once more, when the end of a menu is told late.
    EXPECT_TRUE(waitFor([&] {
        if (!hasKeys())
            return false;
        QWidget* const focus = window->focusWidget(); // where the keyboard is
        QTest::keyClick(focus && focus->isVisible() ? focus : window.get(), Qt::Key(key & ~Qt::KeyboardModifierMask),
                        Qt::KeyboardModifiers(key & Qt::KeyboardModifierMask));
        return stepCount() != steps;
    })) << command;
}

void ktDrivenControls::driveAll(const char* dock, const Drives& drives) {
    auto* const panel = window->findChild<QDockWidget*>(dock);
    ASSERT_TRUE(panel);
    panel->show();
    panel->raise();
    QList<QWidget*> controls = panel->widget()->findChildren<QWidget*>();
    controls.prepend(panel->widget());
    std::set<QString> driven;
    for (QWidget* const control : controls) {
        const bool isOfQt = control->objectName().startsWith("qt_");
        const bool isHere = control->window() == window.get(); // not a list that Qt drops down
        if (!isHere || isOfQt || (control->focusPolicy() & Qt::TabFocus) != Qt::TabFocus)
            continue;
        SCOPED_TRACE(dock + ("/" + control->objectName()).toStdString());
        const auto drive = drives.find(control->objectName());
        if (drive == drives.end()) {
            ADD_FAILURE() << "no test drives this " << control->metaObject()->className();
            continue;
        }
        Settings::forEachSetting([](auto row) { row.set(plugin(), row.initial); });
        stack().clear();
        drive->second(*control);
        driven.insert(control->objectName());
    }
    for (const auto& [name, drive] : drives)
        EXPECT_EQ(driven.count(name), 1u) << "the dock has no control " << name.toStdString();
}

void ktDrivenControls::click(QWidget& widget) {
    ASSERT_TRUE(widget.isVisible() && widget.isEnabled()) << widget.objectName().toStdString();
    QTest::mouseClick(&widget, Qt::LeftButton, {}, QPoint(8, widget.height() / 2)); // where a check box is
}

void ktDrivenControls::press(QWidget& widget, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    ASSERT_TRUE(widget.isVisible() && widget.isEnabled()) << widget.objectName().toStdString();
    widget.setFocus();
    QTest::keyClick(&widget, key, modifiers);
}

void ktDrivenControls::type(QWidget& widget, const QString& text) {
    press(widget, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&widget, text);
    QTest::keyClick(&widget, Qt::Key_Return);
}

void ktDrivenControls::chooseInMenu(const std::function<void()>& open, const QString& text) {
    bool isDone = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        timer.stop();
        isDone = true;
        for (int i = 0; i < menu->actions().size(); ++i) {
            QTest::keyClick(menu, Qt::Key_Down);
            if (menu->activeAction() && menu->activeAction()->text() == text) {
                QTest::keyClick(menu, Qt::Key_Return);
                return;
            }
        }
        ADD_FAILURE() << "no entry " << text.toStdString();
        menu->close();
    });
    timer.start(5);
    open();
    EXPECT_TRUE(waitFor([&] { return isDone && !QApplication::activePopupWidget(); }));
}

void ktDrivenControls::answerWithText(const QString& text) {
    whenDialogShows([text](QWidget& dialog) {
        auto* const line = dialog.findChild<QLineEdit*>();
        ASSERT_TRUE(line);
        type(*line, text);
    });
}

void ktDrivenControls::answerWithFile(const std::string& path) {
    whenDialogShows([path](QWidget& dialog) {
        auto* const line = dialog.findChild<QLineEdit*>("fileNameEdit");
        ASSERT_TRUE(line);
        line->setText(QString::fromStdString(path)); // typed letters open a list of proposals
        QTest::keyClick(line, Qt::Key_Return);
    });
}
