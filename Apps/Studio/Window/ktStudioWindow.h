// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPaintPause.h"
#include "ktStudioServices.h"

#include <functional>
#include <QKeySequence>
#include <QMainWindow>

class ktEmptyPage;
class ktFocusReturn;
class ktMessageBar;
class ktReadingPage;
class ktScenePanel;
class ktSceneView;
class ktWorkBar;
class QActionGroup;
class QDockWidget;
class QSize;
class QStackedWidget;
class QTimer;

/// The main window. Connects the services with menus, panels and the viewport.
class ktStudioWindow : public QMainWindow {
    Q_OBJECT
public:
    ktStudioWindow();
    ~ktStudioWindow() override;

    /// Opens a file; asks first what to do with unsaved changes.
    void openFile(const QString& path, const ktStudioReadOptions& options = {});
    /// Opens the first file that can be read, as above, and adds those after it.
    void openFiles(const QStringList& paths, const ktStudioReadOptions& options = {});

    /// For the start of the program: offers what an earlier process has left unsaved, and starts OpenGL.
    void begin();

    ktStudioDocument& getDocument() { return document; }
    ktStudioRun& getRun() { return run; }
    ktStudioSelection& getSelection() { return selection; }
    ktStudioServices& getServices() { return services; }
    ktMessageBar& getMessages() { return *messages; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QAction* addAction(QMenu* menu, const char* name, const QString& text, const QKeySequence& keys,
                       const std::function<void()>& act);
    void makePages();
    void makeFileMenu();
    void makeEditMenu();
    void makeBakeMenu();
    void makeViewMenu();
    void makeCameraMenu(QMenu* menu);
    void makeLookMenus(QMenu* menu);
    void makeDocks();
    void addGoingTo(const QList<QDockWidget*>& docks);
    void makeHelpMenu();
    void connectView();
    void connectServices();

    bool readFile(const QString& path, const ktStudioReadOptions& options);
    /// What the menus and the buttons with menus offer, with names for a list.
    std::vector<std::pair<QString, QAction*>> findCommands();
    void chooseFile();
    void chooseOutput();
    void save();
    void chooseFilesToAdd();
    void addFiles(const QStringList& paths);
    enum class PictureKind { Preview, View, Turntable };
    void choosePicture(PictureKind kind);
    void saveViewPictures(const QString& path, const QSize& size, int count);
    void chooseStatistics();
    void chooseFileToWrite(const QString& title, const QString& proposal, const QString& filter,
                           const std::function<void(const QString&)>& write);
    /// Says that a file was written, or why not.
    void showWritten(const QString& path, const QString& reason = {});
    void chooseReadingOptions();
    /// Offers sizes if the file does not say its unit, and z if it does not say which axis points up.
    void askUnitAndUpAxis();
    void offerRecovery();
    /// Whether to go on although unsaved changes would be lost.
    bool mayLoseChanges();

    /// Starts OpenGL while the empty page is shown.
    void warmUp();
    void endWarmUp();
    void showOpened();
    void showRefusal(ktStudioRun::Refusal why);
    /// Says that nothing is selected, if so. @return whether something is
    bool hasSelection();
    void showEnd(ktStudioRun::Ending how, const QString& reason, double seconds);
    void showTitle();
    /// Enables what may be used now.
    void updateActions();
    void closeWhenIdle();
    bool isFrozen() const { return services.isFrozen(); }

    ktStudioServices services;
    ktStudioDocument& document = services.document;
    ktStudioSelection& selection = services.selection;
    ktStudioRun& run = services.run;

    ktMessageBar* messages = nullptr;
    QStackedWidget* pages = nullptr;
    ktEmptyPage* emptyPage = nullptr;
    ktReadingPage* readingPage = nullptr;
    QTimer* readingDelay = nullptr; ///< a short reading shows no page
    QTimer* warmUpEnd = nullptr;    ///< while OpenGL starts
    ktPaintPause paintPause{*this};
    ktFocusReturn* focusReturn = nullptr;
    ktWorkBar* workBar = nullptr;
    ktSceneView* view = nullptr;
    ktScenePanel* scenePanel = nullptr;
    QList<QAction*> needScene; ///< enabled with a scene, while nothing is frozen
    QList<QAction*> needIdle;  ///< enabled while nothing is frozen
    QAction* cancelAction = nullptr;
    QMenu* dockMenu = nullptr;
    QByteArray firstState; ///< layout of the docks at the first start
    bool closesWhenIdle = false;
};
