// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts every command of the window by its keys, on a display with software OpenGL, and looks at what it does.
#include "ktAmbientOcclusion.h"
#include "ktMessageBar.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktStudioPreferences.h"
#include "ktViewCamera.h"

#include <map>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDockWidget>
#include <QOpenGLWidget>
#include <QTreeView>
#include <QtTest>
#include <set>

namespace {

class StudioEveryCommand : public ktStudioFixture {
protected:
    /// What to do with a command, by its name: its keys are pressed by `press`.
    using Press = std::function<void()>;
    using Drives = std::map<QString, std::function<void(const Press&)>>;
    Drives made; ///< so far

    ktSceneView& view() { return *window->findChild<ktSceneView*>(); }
    std::vector<osg::NodePtr> parts() { return window->getDocument().getTopNodes(); }
    osg::NodePtr left() { return parts()[0]; }

    /// What is on the screen when nothing is left to draw.
    QImage picture() {
        EXPECT_TRUE(waitFor([this] { return view().isSettled(); }));
        return view().findChild<QOpenGLWidget*>()->grabFramebuffer();
    }
    QString camera() {
        QStringList numbers;
        for (const ktViewCamera::Vector& point : {view().camera().eye(), view().camera().target()})
            for (const double value : point)
                numbers << QString::number(value);
        return numbers.join(' ');
    }

    /// Fails unless `press` changes what `read` returns.
    template <class Read>
    static void expectChange(const Press& press, const Read& read) {
        const auto before = read();
        press();
        EXPECT_FALSE(read() == before) << "no effect";
    }
    /// The same for a state that `other` has left.
    template <class Read>
    void addChoice(const char* name, const char* other, const Read& read) {
        made[name] = [this, other, read](const Press& press) {
            trigger(other);
            expectChange(press, read);
        };
    }
    /// A second time takes the change back.
    template <class Read>
    void addSwitch(const char* name, const Read& read) {
        made[name] = [read](const Press& press) {
            const auto before = read();
            expectChange(press, read);
            press();
            EXPECT_TRUE(read() == before) << "off again";
        };
    }
    void addDialog(const char* name, const char* title) {
        made[name] = [title](const Press& press) {
            QString shown;
            whenDialogShows([&shown](QWidget& dialog) {
                shown = dialog.windowTitle();
                static_cast<QDialog&>(dialog).reject();
            });
            press();
            EXPECT_TRUE(waitFor([&shown] { return !shown.isEmpty() && !QApplication::activeModalWidget(); }));
            EXPECT_EQ(shown.toStdString(), title);
        };
    }
    /// A change of the scene, which undo takes back. `prepare` comes before.
    template <class Read>
    void addEdit(
        const char* name, const Read& read, const std::function<void()>& prepare = [] {}) {
        made[name] = [this, read, prepare](const Press& press) {
            prepare();
            const auto before = read();
            expectChange(press, read);
            trigger("undo");
            EXPECT_TRUE(read() == before) << "undo";
        };
    }

    void bake() {
        plugin().setShadowQuality(0);
        trigger("start");
    }
    Drives makePictures();
    Drives makeFiles();
    Drives makeEdits();
    Drives makePanels();
    /// A new window with a baked and saved scene of two boxes and a ground plane.
    void openBaked();
    void pressKeysOf(QAction& command);
    /// @param hasOwnWindow each command gets a new window
    void driveAll(const Drives& drives, bool hasOwnWindow);
};

StudioEveryCommand::Drives StudioEveryCommand::makePictures() {
    made.clear();
    const auto shown = [this] { return picture(); };
    const auto seen = [this] { return camera(); };
    addChoice("viewBaked", "viewFalse", shown);
    for (const char* mode : {"viewOcclusion", "viewIndirect", "viewColours", "viewFalse"})
        addChoice(mode, "viewBaked", shown);
    addChoice("viewLight", "viewColours", shown); // the boxes are white
    for (const char* overlay : {"wire", "headlight", "groundPlane", "measure"})
        addSwitch(overlay, shown);
    addChoice("compareNone", "compareLight", shown);
    addChoice("compareLight", "compareNone", shown);
    addChoice("compareEarlier", "compareNone", shown);
    for (const char* plain : {"backgroundWhite", "backgroundGrey", "backgroundDark"})
        addChoice(plain, "backgroundSky", shown);
    addChoice("backgroundSky", "backgroundDark", shown);
    for (const char* side : {"viewBack", "viewLeft", "viewRight", "viewTop", "viewBottom"})
        addChoice(side, "viewFront", seen);
    addChoice("viewFront", "viewBack", seen);
    for (const char* frame : {"frameAll", "frameSelection"})
        made[frame] = [this, seen](const Press& press) {
            QTest::keyClick(&view(), Qt::Key_Plus);
            expectChange(press, seen);
        };
    addSwitch("parallel", [this] { return view().isParallelProjection(); });
    made["turntable"] = [this](const Press& press) {
        const QString before = camera();
        press();
        EXPECT_TRUE(waitFor([&] { return camera() != before; }));
        press();
        const QString after = camera();
        QTest::qWait(100);
        EXPECT_EQ(camera(), after);
    };
    const auto mouse = [this] { return view().describeControls(); };
    addChoice("mouseMeshLab", "mouseBlender", mouse);
    addChoice("mouseBlender", "mouseMeshLab", mouse);
    const auto light = [this] { return window->palette().color(QPalette::Window).lightness() > 128; };
    addChoice("colorsLight", "colorsDark", light);
    addChoice("colorsSystem", "colorsDark", light);
    addChoice("colorsDark", "colorsLight", light);
    const auto language = [] { return ktStudioPreferences::the().get("window/language", "none").toString(); };
    addChoice("languageSystem", "languageDe", language);
    addChoice("languageEn", "languageDe", language);
    addChoice("languageDe", "languageEn", language);
    return made;
}

StudioEveryCommand::Drives StudioEveryCommand::makeFiles() {
    made.clear();
    addDialog("open", "Open a scene");
    addDialog("addFiles", "Add files to the scene");
    addDialog("readingOptions", "Reading options");
    addDialog("saveAs", "Save the baked scene");
    addDialog("savePicture", "Picture of the view");
    addDialog("saveTurntable", "Turntable");
    addDialog("savePreview", "Preview picture");
    addDialog("saveStatistics", "Save the statistics");
    addDialog("commands", "Commands");
    addDialog("shortcuts", "Keyboard shortcuts");
    addDialog("about", "About ktstudio");
    made["save"] = [this](const Press& press) {
        press();
        EXPECT_TRUE(waitFor([this] { return message().startsWith("Saved as"); }));
    };
    made["readAgain"] = [this](const Press& press) {
        savedBytes(); // else it asks what to do
        int count = 0;
        const auto opened = QObject::connect(&window->getDocument(), &ktStudioDocument::opened, [&count] { ++count; });
        press();
        QObject::disconnect(opened);
        EXPECT_EQ(count, 1);
        bake();
    };
    made["quit"] = [this](const Press& press) {
        savedBytes();
        press();
        EXPECT_FALSE(window->isVisible());
        window->show();
    };
    return made;
}

StudioEveryCommand::Drives StudioEveryCommand::makeEdits() {
    made.clear();
    const auto quality = [] { return plugin().getShadowQuality(); };
    const auto results = [this] { return savedBytes(); };
    const auto selected = [this] { return window->getSelection().get(); };
    const auto hidden = [this] { return ktStudioEdit::isHidden(left()); };
    const auto locked = [this] { return ktStudioEdit::isLocked(left()); };
    made["undo"] = [quality](const Press& press) {
        plugin().setShadowQuality(4);
        expectChange(press, quality);
    };
    made["redo"] = [this, quality](const Press& press) {
        plugin().setShadowQuality(4);
        trigger("undo");
        expectChange(press, quality);
    };
    addChoice("selectAll", "selectNone", selected);
    addChoice("selectNone", "selectAll", selected);
    made["selectMissing"] = [this](const Press& press) {
        trigger("undo"); // the bake
        window->getSelection().set({left()});
        bake();
        press();
        EXPECT_FALSE(window->getSelection().get().empty());
        for (const osg::NodePtr& node : window->getSelection().get())
            EXPECT_FALSE(node == left());
    };
    made["expandSelection"] = [this](const Press& press) {
        auto& tree = *window->findChild<QTreeView*>("sceneTree");
        tree.collapseAll();
        window->getSelection().set({left()->getChild(0)});
        press();
        EXPECT_TRUE(tree.isExpanded(tree.model()->index(0, 0)));
    };
    addEdit("hide", hidden);
    addEdit("show", hidden, [this] { trigger("hide"); });
    addEdit("showAll", hidden, [this] { trigger("hide"); });
    addEdit("lock", locked);
    addEdit("unlock", locked, [this] { trigger("lock"); });
    addEdit("start", results, [] { plugin().setShadowQuality(1); });
    addEdit("startMissing", results, [this] { trigger("clearShadows"); });
    addEdit("useSettings", quality, [] { plugin().setShadowQuality(3); });
    made["cancel"] = [this](const Press& press) {
        plugin().setShadowQuality(5);
        bool isPressed = false;
        const auto running = QObject::connect(&window->getRun(), &ktStudioRun::stateChanged, window.get(), [&] {
            if (!isPressed)
                press();
            isPressed = true;
        });
        trigger("start");
        QObject::disconnect(running);
        EXPECT_TRUE(message().contains("Cancelled")) << message().toStdString();
    };
    for (const char* clear : {"clearShadows", "clearIndirect"})
        addEdit(clear, results);
    for (const char* clear : {"clearActiveShadows", "clearActiveIndirect"})
        addEdit(clear, results, [this] { window->getServices().edit.setHidden({left()}, true); });
    return made;
}

StudioEveryCommand::Drives StudioEveryCommand::makePanels() {
    made.clear();
    const auto hasFocus = [this](const QString& dock) {
        return window->findChild<QDockWidget*>(dock)->isAncestorOf(QApplication::focusWidget());
    };
    for (const QDockWidget* dock : window->findChildren<QDockWidget*>())
        made["goTo-" + dock->objectName()] = [name = dock->objectName(), hasFocus](const Press& press) {
            press();
            EXPECT_TRUE(waitFor([&] { return hasFocus(name); }));
        };
    made["goToView"] = [this](const Press& press) {
        trigger("goTo-sceneDock");
        press();
        EXPECT_TRUE(view().hasFocus());
    };
    made["search"] = [this](const Press& press) {
        press();
        EXPECT_TRUE(waitFor([this] { return window->findChild<QWidget*>("sceneSearch")->hasFocus(); }));
    };
    made["resetLayout"] = [this](const Press& press) {
        auto* const dock = window->findChild<QDockWidget*>("sceneDock");
        dock->close();
        press();
        EXPECT_FALSE(dock->isHidden());
    };
    return made;
}

void StudioEveryCommand::openBaked() {
    window = std::make_unique<ktStudioWindow>();
    window->show();
    window->getMessages().hide(); // the picture keeps its size
    ktStudioReadOptions options;
    options.groundPlane = true;
    window->openFile(QString::fromStdString(writeBoxes()), options);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    bake();
    savedBytes();
}

void StudioEveryCommand::pressKeysOf(QAction& command) {
    if (command.shortcut().isEmpty())
        return command.trigger();
    ASSERT_TRUE(hasKeys());
    const int keys = command.shortcut()[0];
    QTest::keyClick(window.get(), Qt::Key(keys & ~Qt::KeyboardModifierMask),
                    Qt::KeyboardModifiers(keys & Qt::KeyboardModifierMask));
}

void StudioEveryCommand::driveAll(const Drives& drives, bool hasOwnWindow) {
    openBaked();
    for (const auto& [name, drive] : drives) {
        SCOPED_TRACE(name.toStdString());
        if (hasOwnWindow)
            openBaked();
        drive([this, command = name.toUtf8()] { pressKeysOf(action(command.constData())); });
    }
}

} // namespace

TEST_F(StudioEveryCommand, GivenEachOfTheWindow_ATestPressesItsKeys) {
    std::set<QString> driven, commands;
    for (const Drives& drives : {makePictures(), makeFiles(), makeEdits(), makePanels()})
        for (const auto& [name, drive] : drives)
            driven.insert(name);
    for (const QAction* command : window->actions())
        commands.insert(command->objectName());
    for (const QString& name : commands)
        EXPECT_EQ(driven.count(name), 1u) << "no test drives " << name.toStdString();
    for (const QString& name : driven)
        EXPECT_EQ(commands.count(name), 1u) << "the window has no command " << name.toStdString();
}

TEST_F(StudioEveryCommand, GivenKeysOfThePicture_ItChanges) {
    driveAll(makePictures(), false);
}

TEST_F(StudioEveryCommand, GivenKeysOfFiles_TheirDialogsShow) {
    driveAll(makeFiles(), false);
}

TEST_F(StudioEveryCommand, GivenKeysOfEdits_TheSceneChanges) {
    driveAll(makeEdits(), true);
}

TEST_F(StudioEveryCommand, GivenKeysOfPanels_TheyGetTheKeyboard) {
    driveAll(makePanels(), false);
}
