// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds the main window and connects it with the services.
#include "ktStudioWindow.h"

#include "ktEmptyPage.h"
#include "ktFocusReturn.h"
#include "ktHostSignals.h"
#include "ktMessageBar.h"
#include "ktReadingPage.h"
#include "ktRunProgress.h"
#include "ktSceneView.h"
#include "ktStudioPreferences.h"
#include "ktWorkBar.h"

#include <QAction>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QStackedLayout>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWindow>

static constexpr int shortReading_ms = 150;
static constexpr int emptyWindow_ms = 100; // until it is on the screen
static constexpr int afterPicture_ms = 300;

ktStudioWindow::ktStudioWindow() {
    setObjectName("ktstudio");
    setAcceptDrops(true);
    resize(1280, 800);
    makePages();
    makeFileMenu();
    makeEditMenu();
    makeBakeMenu();
    makeViewMenu();
    makeDocks();
    makeHelpMenu();
    for (QAction* const command : actions())
        if (!command->shortcut().isEmpty())
            command->setToolTip(
                QString("%1 (%2)").arg(command->toolTip(), command->shortcut().toString(QKeySequence::NativeText)));
    focusReturn = new ktFocusReturn(this);
    connectServices();
    connectView();
    firstState = saveState();
    restoreGeometry(ktStudioPreferences::the().get("window/geometry").toByteArray());
    restoreState(ktStudioPreferences::the().get("window/state").toByteArray());
    showTitle();
    updateActions();
}

// Panels and pages use the services until they are gone.
ktStudioWindow::~ktStudioWindow() {
    ktHostSignals::the().disconnect(this);
    for (QDockWidget* dock : findChildren<QDockWidget*>())
        delete dock;
    delete takeCentralWidget();
}

void ktStudioWindow::begin() {
    offerRecovery();
    QTimer::singleShot(emptyWindow_ms, this, &ktStudioWindow::warmUp);
}

// The view lies below the empty page meanwhile: Qt puts the picture of the window together with OpenGL then, whose
// programs are compiled, too, and the view gets its size.
void ktStudioWindow::warmUp() {
    if (document.isOpen() || document.isReading())
        return;
    view->setMask(QRegion(0, 0, 1, 1)); // a window of the system lies over the page, not below it
    static_cast<QStackedLayout*>(pages->layout())->setStackingMode(QStackedLayout::StackAll);
    readingPage->hide();
    view->warmUp();
    // Opening disables text fields for a moment, and each sets the pointer of the mouse again. Its first use reads
    // files.
    if (QWindow* const handle = windowHandle()) {
        handle->setCursor(Qt::IBeamCursor);
        handle->unsetCursor();
    }
    warmUpEnd->start();
}

void ktStudioWindow::endWarmUp() {
    warmUpEnd->stop();
    static_cast<QStackedLayout*>(pages->layout())->setStackingMode(QStackedLayout::StackOne);
    for (int i = 0; i < pages->count(); ++i) // Qt leaves them visible below the first page
        pages->widget(i)->setVisible(i == pages->currentIndex());
    view->clearMask();
}

void ktStudioWindow::makePages() {
    auto* center = new QWidget(this);
    auto* rows = new QVBoxLayout(center);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    messages = new ktMessageBar(center);
    rows->addWidget(messages);
    pages = new QStackedWidget(center);
    rows->addWidget(pages, 1);
    workBar = new ktWorkBar(center);
    rows->addWidget(workBar);
    emptyPage = new ktEmptyPage(pages);
    readingPage = new ktReadingPage(pages);
    readingDelay = new QTimer(this);
    readingDelay->setSingleShot(true);
    readingDelay->setInterval(shortReading_ms);
    connect(readingDelay, &QTimer::timeout, this, [this] {
        pages->setCurrentWidget(readingPage);
        paintPause.end();
    });
    warmUpEnd = new QTimer(this);
    warmUpEnd->setInterval(emptyWindow_ms);
    connect(warmUpEnd, &QTimer::timeout, this, [this] {
        if (view->isWarmingUp())
            return;
        endWarmUp();
        document.warmUpReading();
    });
    view = new ktSceneView(pages);
    for (QWidget* page :
         {static_cast<QWidget*>(emptyPage), static_cast<QWidget*>(readingPage), static_cast<QWidget*>(view)})
        pages->addWidget(page);
    setCentralWidget(center);
    connect(emptyPage, &ktEmptyPage::openRequested, this, &ktStudioWindow::chooseFile);
    connect(emptyPage, &ktEmptyPage::fileChosen, this, [this](const QString& path) { openFile(path); });
    connect(emptyPage, &ktEmptyPage::failed, this,
            [this](const QString& reason) { messages->show(ktMessageBar::Level::Error, reason); });
    connect(workBar, &ktWorkBar::cancelRequested, &document, &ktStudioDocument::cancelReading);
    connect(readingPage, &ktReadingPage::cancelRequested, &document, &ktStudioDocument::cancelReading);
}

QAction* ktStudioWindow::addAction(QMenu* menu, const char* name, const QString& text, const QKeySequence& keys,
                                   const std::function<void()>& act) {
    auto* action = new QAction(text, this);
    action->setObjectName(name);
    action->setShortcut(keys);
    if (menu)
        menu->addAction(action);
    QMainWindow::addAction(action);
    connect(action, &QAction::triggered, this, act);
    return action;
}

void ktStudioWindow::connectServices() {
    connect(&document, &ktStudioDocument::readingChanged, this, [this](bool isReading, const QString& what) {
        if (isReading) {
            endWarmUp();
            readingPage->begin(what);
            readingDelay->start();
        } else {
            readingDelay->stop();
            readingPage->end();
            pages->setCurrentWidget(document.isOpen() ? static_cast<QWidget*>(view) : emptyPage);
        }
    });
    connect(&document, &ktStudioDocument::readingProgressed, readingPage, &ktReadingPage::setShare);
    connect(&document, &ktStudioDocument::workChanged, this,
            [this](bool isWorking, const QString& what) { isWorking ? workBar->begin(what) : workBar->end(); });
    connect(&document, &ktStudioDocument::workProgressed, workBar, &ktWorkBar::setShare);
    connect(&document, &ktStudioDocument::opened, this, &ktStudioWindow::showOpened);
    connect(&document, &ktStudioDocument::modifiedChanged, this, &ktStudioWindow::showTitle);
    connect(&document, &ktStudioDocument::saved, this, [this](const QString& path) {
        messages->close("run");
        messages->show(ktMessageBar::Level::Info, tr("Saved as %1").arg(path), {}, "saved");
        showTitle();
    });
    connect(&document, &ktStudioDocument::changedOnDisk, this, [this](const QString& path) {
        messages->show(ktMessageBar::Level::Warning, tr("%1 has changed on disk.").arg(QFileInfo(path).fileName()),
                       {{tr("Read again"), [this] { findChild<QAction*>("readAgain")->trigger(); }}}, "changed");
    });
    connect(&document, &ktStudioDocument::failed, this, [this](const QString& reason) {
        messages->show(ktMessageBar::Level::Error, reason, {}, "file: " + reason);
    });
    connect(&services.presets, &ktStudioPresets::failed, this,
            [this](const QString& reason) { messages->show(ktMessageBar::Level::Error, reason, {}, "presets"); });
    connect(&run, &ktStudioRun::runningChanged, this, [this](bool isRunning) {
        if (isRunning) {
            messages->close("unit");
            messages->close("run");
            messages->close("hint");
            messages->close("saved");
            view->keepResultsForComparison();
            findChild<QDockWidget*>("runDock")->show(); // it has the way out
        }
    });
    connect(&services, &ktStudioServices::frozenChanged, this, [this] {
        view->setHurried(isFrozen());
        updateActions();
        if (!isFrozen())
            focusReturn->giveBack();
        closeWhenIdle();
    });
    connect(&run, &ktStudioRun::refused, this, &ktStudioWindow::showRefusal);
    connect(&run, &ktStudioRun::ended, this, &ktStudioWindow::showEnd);
    connect(&run, &ktStudioRun::hinted, this,
            [this](const QString& hint) { messages->show(ktMessageBar::Level::Info, hint, {}, "hint"); });
}

void ktStudioWindow::showOpened() {
    QTimer::singleShot(afterPicture_ms, this, [path = document.getPath()] { // a disk takes its time
        ktStudioPreferences::the().addRecentFile(path);
    });
    messages->close("changed");
    messages->close("unit");
    showTitle();
    updateActions();
    pages->setCurrentWidget(view);
    paintPause.showCentre([this] { askUnitAndUpAxis(); }); // the message takes a part of the view's place
}

void ktStudioWindow::showRefusal(ktStudioRun::Refusal why) {
    using Level = ktMessageBar::Level;
    const QString topic = "run";
    const ktMessageBar::Button selectAll{tr("Select everything"), [this] { selection.set(document.getTopNodes()); }};
    switch (why) {
    case ktStudioRun::NothingOpen:
        messages->show(Level::Warning, tr("There is nothing to bake: open a scene first."),
                       {{tr("Open…"), [this] { chooseFile(); }}}, topic);
        break;
    case ktStudioRun::NothingSelected:
        messages->show(
            Level::Warning,
            tr("Nothing is selected. Select the parts to bake in the scene or in the picture, or bake everything."),
            {{tr("Bake everything"),
              [this] {
                  selection.set(document.getTopNodes());
                  run.start(false);
              }},
             selectAll},
            topic);
        break;
    case ktStudioRun::AllLocked:
        messages->show(Level::Warning,
                       tr("Every selected part is locked. Unlock it (Edit, Unlock), or select other parts."), {},
                       topic);
        break;
    case ktStudioRun::WrongDistances:
        messages->show(Level::Warning, tr("The minimum distance must be smaller than the maximum distance."), {},
                       topic);
        break;
    case ktStudioRun::NoLight:
        messages->show(
            Level::Warning,
            tr("This mode needs a light, and no visible light of the scene shines. Choose the mode classic."), {},
            topic);
        break;
    case ktStudioRun::NothingMissing:
        messages->show(Level::Info, tr("Nothing is missing: the selected parts have their results."), {}, topic);
        break;
    case ktStudioRun::NoGeometry:
        messages->show(Level::Warning, tr("The selection holds no geometry to calculate. Select a part with surfaces."),
                       {selectAll}, topic);
        break;
    case ktStudioRun::NothingToClear:
        messages->show(Level::Info,
                       tr("Nothing was cleared: the selected parts have no such results, are hidden or are locked."),
                       {}, topic);
        break;
    case ktStudioRun::NoSettings:
        messages->show(Level::Info, tr("The selected part keeps no settings: it was not baked by itself."), {}, topic);
        break;
    }
}

bool ktStudioWindow::hasSelection() {
    if (!selection.isEmpty())
        return true;
    messages->show(ktMessageBar::Level::Warning,
                   tr("Nothing is selected. Select parts in the scene or in the picture first."),
                   {{tr("Select everything"), [this] { selection.set(document.getTopNodes()); }}}, "run");
    return false;
}

void ktStudioWindow::showEnd(ktStudioRun::Ending how, const QString& reason, double seconds) {
    const QString time = QString::fromStdString(formatDuration(seconds));
    switch (how) {
    case ktStudioRun::Ending::Done:
        messages->show(ktMessageBar::Level::Info, tr("Baked in %1.").arg(time), {}, "run");
        break;
    case ktStudioRun::Ending::Cancelled:
        messages->show(ktMessageBar::Level::Info,
                       tr("Cancelled. Parts that were finished keep their new results; the others are as before."), {},
                       "run");
        break;
    case ktStudioRun::Ending::Failed:
        messages->show(ktMessageBar::Level::Error, tr("The bake failed: %1").arg(reason), {}, "run");
        break;
    }
}

void ktStudioWindow::showTitle() {
    if (!document.isOpen()) {
        setWindowTitle("ktstudio");
        return;
    }
    QStringList names = {QFileInfo(document.getPath()).fileName()};
    for (const QString& path : document.getAddedPaths())
        names << QFileInfo(path).fileName();
    setWindowTitle(names.join(" + ") + "[*] – ktstudio");
    setWindowModified(document.isModified());
}

void ktStudioWindow::updateActions() {
    for (QAction* action : needIdle)
        action->setEnabled(!isFrozen());
    for (QAction* action : needScene)
        action->setEnabled(document.isOpen() && !isFrozen());
    cancelAction->setEnabled(run.isRunning() || services.scripts.isRunning());
}

void ktStudioWindow::closeWhenIdle() {
    if (closesWhenIdle && !isFrozen())
        QTimer::singleShot(0, this, &QWidget::close);
}

void ktStudioWindow::closeEvent(QCloseEvent* event) {
    if (isFrozen()) {
        event->ignore();
        closesWhenIdle = true;
        run.cancel();
        document.cancelReading();
        services.scripts.cancel();
        return;
    }
    closesWhenIdle = false;
    if (!mayLoseChanges()) {
        event->ignore();
        return;
    }
    ktStudioPreferences::the().set("window/geometry", saveGeometry());
    ktStudioPreferences::the().set("window/state", saveState());
    event->accept();
}
