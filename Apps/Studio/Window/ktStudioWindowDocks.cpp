// SPDX-License-Identifier: LGPL-2.1-or-later
// The docks of the main window, and the help.
#include "ktAmbientOcclusion.h"
#include "ktCalculationPanel.h"
#include "ktCommandPalette.h"
#include "ktHistoryPanel.h"
#include "ktLogPanel.h"
#include "ktOptionPanel.h"
#include "ktPartPanel.h"
#include "ktRunPanel.h"
#include "ktScenePanel.h"
#include "ktSceneView.h"
#include "ktScriptPanel.h"
#include "ktShortcutDialog.h"
#include "ktStudioWindow.h"
#include "ktUndoKeys.h"
#include "ktVersion.h"
#include "ktWheelGuard.h"

#include <QAction>
#include <QDockWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScrollArea>

namespace {

/// A panel that scrolls when the dock is small.
QWidget* scrolling(QWidget* panel) {
    auto* area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus); // it follows the widget that has the keyboard
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(panel);
    new ktWheelGuard(panel);
    area->setMinimumWidth(panel->minimumSizeHint().width() + 20);
    return area;
}

} // namespace

void ktStudioWindow::makeDocks() {
    const auto addDock = [this](const char* name, const QString& title, Qt::DockWidgetArea area, QWidget* content) {
        auto* dock = new QDockWidget(title, this);
        dock->setObjectName(name);
        dock->setWidget(content);
        new ktUndoKeys(content);
        addDockWidget(area, dock);
        dockMenu->addAction(dock->toggleViewAction());
        return dock;
    };
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    scenePanel = new ktScenePanel(services);
    QDockWidget* scene = addDock("sceneDock", tr("Scene"), Qt::LeftDockWidgetArea, scenePanel);
    QDockWidget* part = addDock("partDock", tr("Part"), Qt::LeftDockWidgetArea, scrolling(new ktPartPanel(services)));
    resizeDocks({scene, part}, {330, 260}, Qt::Vertical);
    auto* runPanel = new ktRunPanel(services);
    runPanel->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    QDockWidget* bake = addDock("runDock", tr("Bake"), Qt::RightDockWidgetArea, runPanel);
    auto* calculation = new ktCalculationPanel(services);
    connect(calculation, &ktCalculationPanel::radiusChanged, view, &ktSceneView::showRadiusRing);
    QDockWidget* settings =
        addDock("calculationDock", tr("Calculation"), Qt::RightDockWidgetArea, scrolling(calculation));
    QDockWidget* options =
        addDock("optionDock", tr("Options"), Qt::RightDockWidgetArea, scrolling(new ktOptionPanel(services)));
    tabifyDockWidget(settings, options);
    settings->raise();
    QDockWidget* log = addDock("logDock", tr("Log"), Qt::BottomDockWidgetArea, new ktLogPanel(services));
    QDockWidget* history =
        addDock("historyDock", tr("History"), Qt::BottomDockWidgetArea, new ktHistoryPanel(services));
    tabifyDockWidget(log, history);
    QDockWidget* script = addDock("scriptDock", tr("Script"), Qt::BottomDockWidgetArea, new ktScriptPanel(services));
    tabifyDockWidget(history, script);
    log->raise();
    resizeDocks({scene, bake}, {370, 360}, Qt::Horizontal);
    resizeDocks({log}, {120}, Qt::Vertical);
    addGoingTo({scene, part, bake, settings, options, log, history, script});
    dockMenu->addSeparator();
    addAction(dockMenu, "resetLayout", tr("&Restore the layout"), {}, [this] {
        // Qt 5.15 crashes if docks move aside meanwhile, as after a drag.
        for (QPropertyAnimation* const motion : findChildren<QPropertyAnimation*>())
            motion->setCurrentTime(motion->totalDuration());
        restoreState(firstState);
    });
}

// For the keyboard: shows a panel that is closed or behind another one, and goes into it.
void ktStudioWindow::addGoingTo(const QList<QDockWidget*>& docks) {
    QMenu* menu = dockMenu->addMenu(tr("&Go to"));
    addAction(menu, "goToView", tr("Go to: picture"), QKeySequence("Alt+0"), [this] { view->setFocus(); });
    for (int i = 0; i < docks.size(); ++i) {
        QDockWidget* const dock = docks[i];
        addAction(menu, qUtf8Printable("goTo-" + dock->objectName()), tr("Go to: %1").arg(dock->windowTitle()),
                  QKeySequence(QString("Alt+%1").arg(i + 1)), [dock] {
                      dock->show();
                      dock->raise();
                      const QList<QWidget*> parts =
                          QList<QWidget*>{dock->widget()} + dock->widget()->findChildren<QWidget*>();
                      for (QWidget* const part : parts)
                          if (part->isEnabled() && part->isVisible() && part->focusPolicy() & Qt::TabFocus) {
                              part->setFocus(Qt::ShortcutFocusReason);
                              return;
                          }
                  });
    }
}

std::vector<std::pair<QString, QAction*>> ktStudioWindow::findCommands() {
    std::vector<std::pair<QString, QAction*>> commands;
    const auto withoutMark = [](QString text) {
        text.replace("&&", QChar(0)).remove('&').replace(QChar(0), '&');
        return text;
    };
    const std::function<void(QMenu*, const QString&)> addMenu = [&](QMenu* menu, const QString& title) {
        emit menu->aboutToShow(); // fills it
        for (QAction* const action : menu->actions()) {
            const QString text = withoutMark(action->text());
            if (action->menu())
                addMenu(action->menu(), text);
            else if (!action->isSeparator())
                commands.emplace_back(actions().contains(action) ? text : title + ": " + text, action);
        }
    };
    for (const QAction* menu : menuBar()->actions())
        addMenu(menu->menu(), withoutMark(menu->text()));
    for (const QPushButton* button : findChildren<QPushButton*>())
        if (button->menu())
            addMenu(button->menu(), button->accessibleName());
    return commands;
}

void ktStudioWindow::makeHelpMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Help"));
    addAction(menu, "commands", tr("&Commands…"), QKeySequence("Ctrl+Shift+P"), [this] {
        auto* palette = new ktCommandPalette(findCommands(), this);
        palette->setAttribute(Qt::WA_DeleteOnClose);
        palette->open();
    });
    addAction(menu, "shortcuts", tr("&Keyboard shortcuts"), QKeySequence::HelpContents, [this] {
        auto* dialog = new ktShortcutDialog(actions(), view->describeControls(), this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    });
    addAction(menu, "about", tr("&About ktstudio"), {}, [this] {
        QMessageBox::about(this, tr("About ktstudio"),
                           tr("<b>ktstudio %1</b><p>Bakes ambient occlusion and bounced light into the vertices of a "
                              "scene.<p>Licence: LGPL 2.1 or later")
                               .arg(ktProjectVersion()));
    });
}
