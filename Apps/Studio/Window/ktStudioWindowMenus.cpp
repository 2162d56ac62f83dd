// SPDX-License-Identifier: LGPL-2.1-or-later
// The menus of the main window.
#include "ktMessageBar.h"
#include "ktScenePanel.h"
#include "ktStudioPreferences.h"
#include "ktStudioWindow.h"
#include "ktUndoStack.h"

#include <QAction>
#include <QDockWidget>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

void ktStudioWindow::makeFileMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&File"));
    auto* bar = addToolBar(tr("Main"));
    bar->setObjectName("mainToolBar");
    QAction* open = addAction(menu, "open", tr("&Open…"), QKeySequence::Open, [this] { chooseFile(); });
    open->setToolTip(tr("Open a scene"));
    QAction* adding =
        addAction(menu, "addFiles", tr("A&dd files…"), QKeySequence("Ctrl+Shift+O"), [this] { chooseFilesToAdd(); });
    adding->setToolTip(tr("Add parts or surroundings to the open scene"));
    QMenu* recent = menu->addMenu(tr("Open &recent"));
    recent->setObjectName("recentFiles");
    connect(recent, &QMenu::aboutToShow, this, [this, recent] {
        recent->clear();
        for (const QString& file : ktStudioPreferences::the().getRecentFiles())
            recent->addAction(QString(file).replace("&", "&&"), this, [this, file] { openFile(file); });
        recent->addSeparator();
        recent->addAction(tr("Clear this list"), &ktStudioPreferences::the(), &ktStudioPreferences::clearRecentFiles);
    });
    QAction* again = addAction(menu, "readAgain", tr("Read &again"), QKeySequence::Refresh, [this] {
        if (mayLoseChanges())
            document.reload(document.getReadOptions());
    });
    QAction* reading = addAction(menu, "readingOptions", tr("Reading op&tions…"), QKeySequence("Shift+F5"),
                                 [this] { chooseReadingOptions(); });
    menu->addSeparator();
    QAction* saving = addAction(menu, "save", tr("&Save"), QKeySequence::Save, [this] { save(); });
    saving->setToolTip(tr("Save the scene with its baked light"));
    QAction* savingAs = addAction(menu, "saveAs", tr("Save &as…"), QKeySequence::SaveAs, [this] { chooseOutput(); });
    menu->addSeparator();
    needScene << addAction(menu, "savePicture", tr("Save the &view as a picture…"), QKeySequence("Ctrl+P"),
                           [this] { choosePicture(PictureKind::View); });
    needScene << addAction(menu, "saveTurntable", tr("Save a &turntable…"), QKeySequence("Ctrl+T"),
                           [this] { choosePicture(PictureKind::Turntable); });
    needScene << addAction(menu, "savePreview", tr("Save a &preview picture…"), QKeySequence("Ctrl+Alt+P"),
                           [this] { choosePicture(PictureKind::Preview); });
    needScene << addAction(menu, "saveStatistics", tr("Save stat&istics…"), QKeySequence("Ctrl+Alt+S"),
                           [this] { chooseStatistics(); });
    menu->addSeparator();
    addAction(menu, "quit", tr("&Quit"), QKeySequence::Quit, [this] { close(); });
    bar->addAction(open);
    bar->addAction(saving);
    needIdle << open << recent->menuAction();
    needScene << adding << again << reading << saving << savingAs;
}

void ktStudioWindow::makeEditMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Edit"));
    ktUndoStack& stack = document.undoStack();
    QAction* undo = addAction(menu, "undo", tr("&Undo"), QKeySequence::Undo, [this] { document.undoStack().undo(); });
    QAction* redo = addAction(menu, "redo", tr("&Redo"), QKeySequence::Redo, [this] { document.undoStack().redo(); });
    const auto update = [this, undo, redo, &stack] {
        undo->setEnabled(!isFrozen() && stack.canUndo());
        undo->setText(stack.canUndo() ? tr("&Undo: %1").arg(stack.undoText()) : tr("&Undo"));
        redo->setEnabled(!isFrozen() && stack.canRedo());
        redo->setText(stack.canRedo() ? tr("&Redo: %1").arg(stack.redoText()) : tr("&Redo"));
    };
    connect(&stack, &QUndoStack::indexChanged, this, update);
    connect(&services, &ktStudioServices::frozenChanged, this, update);
    update();
    // The texts of the menu name the step; the tool bar must not change its width.
    auto* bar = findChild<QToolBar*>("mainToolBar");
    bar->addSeparator();
    for (QAction* const action : {undo, redo})
        bar->addAction(action);
    undo->setIconText(tr("Undo"));
    redo->setIconText(tr("Redo"));
    menu->addSeparator();
    needScene << addAction(menu, "selectAll", tr("Select &everything"), QKeySequence::SelectAll,
                           [this] { selection.set(document.getTopNodes()); });
    needScene << addAction(menu, "selectNone", tr("Select &nothing"), QKeySequence("Ctrl+Shift+A"),
                           [this] { selection.clear(); });
    needScene << addAction(menu, "search", tr("&Find…"), QKeySequence::Find, [this] {
        findChild<QDockWidget*>("sceneDock")->show();
        scenePanel->startSearch();
    });
    needScene << addAction(menu, "selectMissing", tr("Select what is &missing"), QKeySequence("Ctrl+M"), [this] {
        if (!selection.selectMissing(document.getTopNodes()))
            showRefusal(ktStudioRun::NothingMissing);
    });
    menu->addSeparator();
    needScene << addAction(menu, "expandSelection", tr("E&xpand to the selection"), QKeySequence("Ctrl+E"), [this] {
        if (!hasSelection())
            return;
        findChild<QDockWidget*>("sceneDock")->show();
        scenePanel->expandToSelection();
    });
    menu->addSeparator();
    const auto addEdit = [this, menu](const char* name, const QString& text, const char* keys, const auto& change,
                                      bool isOn) {
        needScene << addAction(menu, name, text, QKeySequence(keys), [this, change, isOn] {
            if (hasSelection())
                (services.edit.*change)(selection.get(), isOn);
        });
    };
    addEdit("hide", tr("&Hide"), "Ctrl+H", &ktStudioEdit::setHidden, true);
    addEdit("show", tr("Sho&w"), "Ctrl+Alt+H", &ktStudioEdit::setHidden, false);
    needScene << addAction(menu, "showAll", tr("Show everything"), QKeySequence("Ctrl+Shift+H"), [this] {
        if (!services.edit.showAll())
            messages->show(ktMessageBar::Level::Info, tr("Nothing is hidden."), {}, "run");
    });
    addEdit("lock", tr("&Lock"), "Ctrl+L", &ktStudioEdit::setLocked, true);
    addEdit("unlock", tr("Unloc&k"), "Ctrl+Shift+L", &ktStudioEdit::setLocked, false);
}

void ktStudioWindow::makeBakeMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Bake"));
    QAction* start = addAction(menu, "start", tr("&Bake"), QKeySequence("Ctrl+B"), [this] { run.start(false); });
    start->setToolTip(tr("Calculate the light of the selected parts"));
    QAction* missing = addAction(menu, "startMissing", tr("Bake what is &missing"), QKeySequence("Ctrl+Shift+B"),
                                 [this] { run.start(true); });
    cancelAction = addAction(menu, "cancel", tr("&Cancel"), QKeySequence(Qt::Key_Escape), [this] {
        services.scripts.cancel();
        run.cancel();
    });
    menu->addSeparator();
    needScene << addAction(menu, "useSettings", tr("&Use the settings of the selected part"), QKeySequence("Ctrl+U"),
                           [this] {
                               if (hasSelection())
                                   run.useSettings();
                           });
    menu->addSeparator();
    const auto addClear = [this, menu](const char* name, const QString& text, const char* keys, ktStudioRun::Clear what,
                                       bool isActive) {
        needScene << addAction(menu, name, text, QKeySequence(keys), [this, what, isActive] {
            if (hasSelection())
                run.clear(what, isActive);
        });
    };
    using Clear = ktStudioRun::Clear;
    addClear("clearShadows", tr("Clear &shadows"), "Ctrl+Del", Clear::Shadows, false);
    addClear("clearActiveShadows", tr("Clear shadows of &visible parts"), "Ctrl+Shift+Del", Clear::Shadows, true);
    addClear("clearIndirect", tr("Clear &indirect light"), "Alt+Del", Clear::Indirect, false);
    addClear("clearActiveIndirect", tr("Clear indirect light of visible &parts"), "Alt+Shift+Del", Clear::Indirect,
             true);
    auto* bar = findChild<QToolBar*>("mainToolBar");
    bar->addSeparator();
    bar->addAction(start);
    bar->addAction(cancelAction);
    needIdle << start << missing;
}
