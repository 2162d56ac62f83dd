// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes the pictures of Docs/using/studio.md: walks from an empty window to a saved file and takes each step.
// Usage, on a display: ktStudioPictures SCENE FOLDER [LANGUAGE [light|dark]]
#include "ktAppearance.h"
#include "ktPartFacts.h"
#include "ktPresetStore.h"
#include "ktStudioWindow.h"
#include "ktUndoStack.h"

#include <OpenSG/OSGBaseFunctions.h>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QtTest>

/// What the display shows, with all that is painted over the view.
static QPixmap onScreen(QWidget& window) {
    return window.screen()->grabWindow(window.winId());
}

static void take(QWidget& window, const QString& file) {
    QTest::qWait(1500); // the picture of the scene refines while nothing moves
    if (!onScreen(window).save(file))
        std::fprintf(stderr, "%s was not written\n", qPrintable(file));
}

int main(int argc, char** argv) {
    osg::osgInit(argc, argv);
    QApplication application(argc, argv);
    if (argc < 3 || argc > 5)
        return 2;
    const QString scene = argv[1], folder = argv[2];
    QDir().mkpath(folder);
    ktPresetStore::load();
    ktAppearance::setLanguage(argc > 3 ? argv[3] : "en");
    if (argc > 4)
        ktAppearance::setColors(argv[4]);
    ktStudioWindow window;
    window.resize(1280, 800);
    window.show();
    take(window, folder + "/studio-empty.png");
    window.openFile(scene);
    take(window, folder + "/studio-opened.png");

    bool isTaken = false;
    QObject::connect(&window.getRun(), &ktStudioRun::stateChanged, &window, [&] {
        if (isTaken || window.getRun().getState().share < 0.3)
            return;
        isTaken = true;
        onScreen(window).save(folder + "/studio-running.png");
    });
    QTest::mouseClick(window.findChild<QPushButton*>("bakeButton"), Qt::LeftButton);
    take(window, folder + "/studio-baked.png");
    window.findChild<QAction*>("save")->trigger();
    QTest::qWait(500);
    if (auto* const dialog = window.findChild<QFileDialog*>()) {
        take(*dialog, folder + "/studio-save.png");
        dialog->reject();
    }
    window.getSelection().selectByText("body");
    window.findChild<QAction*>("viewFalse")->trigger();
    take(window, folder + "/studio-false-colours.png");
    window.findChild<QAction*>("viewBaked")->trigger();
    window.getDocument().saveAs(folder + "/engine-baked.glb");
    window.findChild<QDockWidget*>("historyDock")->raise();
    window.getDocument().undoStack().undo();
    take(window, folder + "/studio-undone.png");
    // The child with the most surfaces.
    const osg::NodePtr top = window.getDocument().getTopNodes().back();
    osg::NodePtr part = top;
    std::size_t most = 0;
    for (osg::UInt32 i = 0; i < top->getNChildren(); ++i) {
        ktPartCollector collector({top->getChild(i)});
        collector.advance(1e30);
        if (const std::size_t count = collector.getFacts().triangles; count > most) {
            most = count;
            part = top->getChild(i);
        }
    }
    window.getSelection().set({part});
    window.findChild<QAction*>("start")->trigger();
    window.findChild<QAction*>("selectAll")->trigger();
    take(window, folder + "/studio-missing.png");
    for (const char* const dock : {"optionDock", "scriptDock"})
        window.findChild<QDockWidget*>(dock)->raise();
    take(window, folder + "/studio-options.png");
    return 0;
}
