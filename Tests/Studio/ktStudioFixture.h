// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeProcess.h"
#include "ktStudioWindow.h"

#include <functional>
#include <gtest/gtest.h>
#include <QAbstractButton>
#include <stdexcept>
#include <string>
#include <vector>

class ktAmbientOcclusion;
class ktUndoStack;

/// A window of ktstudio, and a folder with scenes. The plug-in's settings, the options and the preferences are as at a
/// first start.
class ktStudioFixture : public testing::Test {
protected:
    ktStudioFixture();
    ~ktStudioFixture() override;

    /// Two boxes near each other, "left" and "right", as a file in the folder. @return its path
    std::string writeBoxes(const std::string& name = "boxes.gltf");
    /// Opens a file as the user does and waits until it is read.
    void open(const std::string& path);
    /// Waits until the window gets the keys, also after a dialog or a menu: no window manager gives them back to it.
    bool hasKeys();
    /// Triggers the action of this name; fails if it is disabled.
    void trigger(const char* action);
    QAction& action(const char* name);
    /// Drops files on the window.
    void drop(const std::vector<std::string>& paths, Qt::KeyboardModifiers modifiers = {});
    /// Presses the button with this text in the newest message.
    void pressInMessage(const QString& text);
    /// Saves to a new file and returns its content.
    std::string savedBytes();
    /// Bakes with ktbake and returns the file's content.
    std::string bakedByKtbake(const std::string& scene, std::vector<std::string> arguments = {});
    /// Runs `act` when the next dialog is shown.
    static void whenDialogShows(const std::function<void(QWidget&)>& act);
    QString message() const;
    /// The widget of this name. @throws std::runtime_error if there is none
    template <class Widget>
    Widget& find(const QString& name) {
        auto* const widget = window->findChild<Widget*>(name);
        if (!widget)
            throw std::runtime_error("no widget " + name.toStdString());
        return *widget;
    }
    static ktAmbientOcclusion& plugin();
    static ktUndoStack& stack();
    /// Of the selected nodes, as the window shows them.
    std::vector<std::string> selectedNames() const;

    ktTestFolder folder;
    std::unique_ptr<ktStudioWindow> window;

private:
    int savedFiles = 0;
};

/// Handles events until the condition holds, for at most 20 s. @return whether it holds
bool waitFor(const std::function<bool()>& condition);
