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
#include "ktStudioWindow.h"
#include "ktVersion.h"
#include "ktWheelGuard.h"

#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollArea>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

/// A panel that scrolls when the dock is small.
QWidget* scrolling(QWidget* panel) {
    auto* area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
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
    tabifyDockWidget(history,
                     addDock("scriptDock", tr("Script"), Qt::BottomDockWidgetArea, new ktScriptPanel(services)));
    log->raise();
    resizeDocks({scene, bake}, {330, 360}, Qt::Horizontal);
    resizeDocks({log}, {120}, Qt::Vertical);
    dockMenu->addSeparator();
    addAction(dockMenu, "resetLayout", tr("&Restore the layout"), {}, [this] { restoreState(firstState); });
}

void ktStudioWindow::makeHelpMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Help"));
    addAction(menu, "commands", tr("&Commands…"), QKeySequence("Ctrl+Shift+P"), [this] {
        auto* palette = new ktCommandPalette(actions(), this);
        palette->setAttribute(Qt::WA_DeleteOnClose);
        palette->open();
    });
    addAction(menu, "shortcuts", tr("&Keyboard shortcuts"), QKeySequence::HelpContents, [this] {
        auto* dialog = new QDialog(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setWindowTitle(tr("Keyboard shortcuts"));
        auto* table = new QTableWidget(0, 2, dialog);
        table->setHorizontalHeaderLabels({tr("What it does"), tr("Keys")});
        table->horizontalHeader()->setStretchLastSection(true);
        table->verticalHeader()->hide();
        table->setEditTriggers(QAbstractItemView::NoEditTriggers);
        for (const QAction* action : actions()) {
            if (action->shortcut().isEmpty())
                continue;
            const int row = table->rowCount();
            table->insertRow(row);
            table->setItem(row, 0, new QTableWidgetItem(action->text().remove('&')));
            table->setItem(row, 1, new QTableWidgetItem(action->shortcut().toString(QKeySequence::NativeText)));
        }
        table->resizeColumnsToContents();
        auto* rows = new QVBoxLayout(dialog);
        rows->addWidget(table);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
        connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
        rows->addWidget(buttons);
        dialog->resize(520, 520);
        dialog->open();
    });
    addAction(menu, "about", tr("&About ktstudio"), {}, [this] {
        QMessageBox::about(this, tr("About ktstudio"),
                           tr("<b>ktstudio %1</b><p>Bakes ambient occlusion and bounced light into the vertices of a "
                              "scene.<p>Licence: LGPL 2.1 or later")
                               .arg(ktProjectVersion()));
    });
}
