// SPDX-License-Identifier: LGPL-2.1-or-later
// The menu of the viewport, and its connections with the services.
#include "ktAppearance.h"
#include "ktHostSignals.h"
#include "ktMessageBar.h"
#include "ktSceneCamera.h"
#include "ktSceneView.h"
#include "ktStudioPreferences.h"
#include "ktStudioWindow.h"

#include <QAction>
#include <QActionGroup>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

static constexpr int afterRun_ms = 5; // after other events: the end of a run takes its time, too

void ktStudioWindow::makeViewMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&View"));
    auto* bar = addToolBar(tr("View"));
    bar->setObjectName("viewToolBar");
    // Choices of a value, one of which holds.
    const auto addChoices = [this](QMenu* to, const auto& choices, auto current, const auto& choose) {
        auto* group = new QActionGroup(this);
        for (const auto& choice : choices) {
            QAction* action = addAction(to, choice.name, choice.text, QKeySequence(choice.keys),
                                        [choose, value = choice.value] { choose(value); });
            action->setCheckable(true);
            action->setChecked(choice.value == current);
            group->addAction(action);
        }
        return group;
    };
    const auto addSwitch = [this](QMenu* to, const char* name, const QString& text, const char* keys, bool isOn,
                                  const std::function<void(bool)>& act) {
        QAction* action = addAction(to, name, text, QKeySequence(keys), [] {});
        action->setCheckable(true);
        action->setChecked(isOn);
        connect(action, &QAction::toggled, this, act);
        return action;
    };
    struct Mode {
        const char* name;
        QString text;
        const char* keys;
        ktViewMode value;
        QString shortText; // for the tool bar
    };
    const Mode modes[] = {
        {"viewBaked", tr("&Baked"), "1", ktViewMode::Baked, tr("Baked")},
        {"viewOcclusion", tr("&Occlusion alone"), "2", ktViewMode::Occlusion, tr("Occlusion")},
        {"viewIndirect", tr("&Indirect light alone"), "3", ktViewMode::IndirectLight, tr("Indirect")},
        {"viewLight", tr("Baked &light"), "4", ktViewMode::BakedLight, tr("Light")},
        {"viewColours", tr("Surface &colours"), "5", ktViewMode::SurfaceColours, tr("Colours")},
        {"viewFalse", tr("&False colours"), "6", ktViewMode::FalseColours, tr("False colours")},
    };
    const QActionGroup* group =
        addChoices(menu, modes, ktViewMode::Baked, [this](ktViewMode mode) { view->setViewMode(mode); });
    bar->addActions(group->actions());
    for (int i = 0; i < group->actions().size(); ++i)
        group->actions()[i]->setIconText(modes[i].shortText);
    menu->addSeparator();
    addSwitch(menu, "wire", tr("&Edges"), "W", false, [this](bool on) { view->setWireOverlay(on); });
    addSwitch(menu, "headlight", tr("&Headlight"), "L", false, [this](bool on) { view->setHeadlight(on); });
    addSwitch(menu, "groundPlane", tr("&Ground plane"), "G", true, [this](bool on) { view->setGroundPlaneShown(on); });
    struct Comparison {
        const char* name;
        QString text;
        const char* keys;
        ktComparison value;
    };
    const Comparison comparisons[] = {
        {"compareNone", tr("&Nothing"), "", ktComparison::None},
        {"compareLight", tr("With the scene without &light"), "C", ktComparison::WithoutLight},
        {"compareEarlier", tr("With the results before the last &bake"), "Shift+C", ktComparison::EarlierResults},
    };
    addChoices(menu->addMenu(tr("Co&mpare")), comparisons, ktComparison::None,
               [this](ktComparison comparison) { view->setComparison(comparison); });
    addSwitch(menu, "measure", tr("&Measure a distance"), "M", false, [this](bool on) {
        view->setMeasuring(on);
        if (on)
            view->setFocus(); // for its keys
    });
    for (const char* const name : {"wire", "compareLight", "compareEarlier"})
        findChild<QAction*>(name)->setEnabled(view->usesOpenGL()); // the ray tracer draws without
    menu->addSeparator();
    QAction* all =
        addAction(menu, "frameAll", tr("Frame &everything"), QKeySequence("A"), [this] { view->frameAll(); });
    addAction(menu, "frameSelection", tr("Frame the &selection"), QKeySequence("F"),
              [this] { view->frameSelection(); });
    bar->addSeparator();
    bar->addAction(all);
    QMenu* sides = menu->addMenu(tr("Look from"));
    struct Side {
        const char* name;
        QString text;
        const char* keys;
        ktStandardView value;
    };
    const Side views[] = {
        {"viewFront", tr("&Front"), "Ctrl+1", ktStandardView::Front},
        {"viewBack", tr("&Back"), "Ctrl+2", ktStandardView::Back},
        {"viewLeft", tr("&Left"), "Ctrl+3", ktStandardView::Left},
        {"viewRight", tr("&Right"), "Ctrl+4", ktStandardView::Right},
        {"viewTop", tr("&Top"), "Ctrl+5", ktStandardView::Top},
        {"viewBottom", tr("B&ottom"), "Ctrl+6", ktStandardView::Bottom},
    };
    for (const Side& side : views)
        addAction(sides, side.name, side.text, QKeySequence(side.keys),
                  [this, value = side.value] { view->setStandardView(value); });
    makeCameraMenu(menu);
    addSwitch(menu, "parallel", tr("&Parallel projection"), "P", false,
              [this](bool on) { view->setParallelProjection(on); });
    addSwitch(menu, "turntable", tr("&Turntable"), "T", false, [this](bool on) { view->setTurntable(on); });
    struct Mouse {
        const char* name;
        QString text;
        const char* keys;
        ktMouseStyle value;
    };
    const Mouse mice[] = {
        {"mouseMeshLab", tr("As in &MeshLab"), "", ktMouseStyle::MeshLab},
        {"mouseBlender", tr("As in &Blender"), "", ktMouseStyle::Blender},
    };
    const char* const mouseKey = "view/mouse";
    const auto mouse = ktMouseStyle(ktStudioPreferences::the().get(mouseKey, int(ktMouseStyle::MeshLab)).toInt());
    addChoices(menu->addMenu(tr("M&ouse")), mice, mouse, [this, mouseKey](ktMouseStyle style) {
        view->setMouseStyle(style);
        ktStudioPreferences::the().set(mouseKey, int(style));
    });
    view->setMouseStyle(mouse);
    makeLookMenus(menu);
    menu->addSeparator();
    dockMenu = menu->addMenu(tr("&Panels"));
}

void ktStudioWindow::makeCameraMenu(QMenu* menu) {
    QMenu* cameras = menu->addMenu(tr("Camera of the fi&le"));
    cameras->menuAction()->setObjectName("fileCameras");
    cameras->setEnabled(false);
    connect(&document, &ktStudioDocument::opened, this, [this, cameras] {
        cameras->clear();
        for (const ktSceneCamera& camera : document.getCameras())
            cameras->addAction(camera.name.empty() ? tr("Camera without a name") : QString::fromStdString(camera.name),
                               view, [this, camera] { view->setFileCamera(camera); });
        cameras->setEnabled(!document.getCameras().empty());
    });
}

void ktStudioWindow::makeLookMenus(QMenu* menu) {
    ktStudioPreferences& preferences = ktStudioPreferences::the();
    // Choices that the preferences keep.
    const auto addKept = [this, &preferences](QMenu* to, const QString& key, const auto& choices,
                                              const std::function<void(const QString&)>& choose) {
        auto* group = new QActionGroup(this);
        QString now = preferences.get(key, choices[0].value).toString();
        for (const auto& choice : choices) {
            const QString value = choice.value;
            QAction* action = addAction(to, choice.name, choice.text, {}, [&preferences, key, value, choose] {
                preferences.set(key, value);
                choose(value);
            });
            action->setCheckable(true);
            action->setChecked(value == now);
            group->addAction(action);
        }
        return now;
    };
    struct Choice {
        const char* name;
        QString text, value;
    };
    const Choice backgrounds[] = {{"backgroundSky", tr("&Sky"), "sky"},
                                  {"backgroundWhite", tr("&White"), "white"},
                                  {"backgroundGrey", tr("&Grey"), "grey"},
                                  {"backgroundDark", tr("&Dark"), "dark"}};
    const auto setBackground = [this](const QString& name) {
        const QColor plain = name == "white" ? Qt::white : name == "grey" ? QColor(128, 128, 128) : QColor(28, 30, 33);
        if (name == "sky")
            view->resetBackground();
        else
            view->setBackground(plain, plain);
    };
    setBackground(addKept(menu->addMenu(tr("Back&ground")), "view/background", backgrounds, setBackground));
    menu->addSeparator();
    const Choice colors[] = {{"colorsSystem", tr("As the &desktop"), "system"},
                             {"colorsLight", tr("&Light"), "light"},
                             {"colorsDark", tr("Dar&k"), "dark"}};
    addKept(menu->addMenu(tr("&Window colours")), "window/colors", colors, ktAppearance::setColors);
    const Choice languages[] = {
        {"languageSystem", tr("As the &system"), ""}, {"languageEn", "English", "en"}, {"languageDe", "Deutsch", "de"}};
    addKept(menu->addMenu(tr("La&nguage")), "window/language", languages, [this](const QString&) {
        messages->show(ktMessageBar::Level::Info, tr("The language changes at the next start."), {}, "language");
    });
}

void ktStudioWindow::connectView() {
    auto* info = new QLabel(this);
    statusBar()->addWidget(info, 1);
    connect(view, &ktSceneView::pictureShown, this, [this] { paintPause.noteCentreShown(); });
    connect(view, &ktSceneView::pointerInfoChanged, info, &QLabel::setText);
    connect(view, &ktSceneView::nodePicked, this, [this](const OSG::NodePtr& node, Qt::KeyboardModifiers modifiers) {
        const bool adds = (modifiers & Qt::ControlModifier) != 0;
        if (node == OSG::NullFC) {
            if (!adds)
                selection.clear();
        } else if (adds)
            selection.toggle({node});
        else
            selection.set({node});
    });
    connect(view, &ktSceneView::nodesPicked, this,
            [this](const std::vector<OSG::NodePtr>& nodes, Qt::KeyboardModifiers modifiers) {
                if (modifiers & Qt::ControlModifier)
                    selection.toggle(nodes);
                else
                    selection.set(nodes);
            });
    connect(&selection, &ktStudioSelection::changed, view, [this] { view->setSelection(selection.get()); });
    connect(&document, &ktStudioDocument::optionsChanged, view,
            [this] { view->setExposure(document.getOptions().exposure); });
    document.setPreparation([](const OSG::NodePtr& root, const auto& isInterrupted) {
        return ktSceneView::readShapes(root, isInterrupted);
    });
    // The old scene still exists when another one is opened.
    const auto show = [this] {
        if (document.isReplacing())
            view->forgetShapes();
        for (const std::shared_ptr<void>& copies : document.takePrepared())
            view->takeShapes(*std::static_pointer_cast<ktViewShapes>(copies));
        view->setScene(document.getRoot());
    };
    connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, this, [this, show] {
        // The end of a run has enough to do. What comes next may be the end of the scene, so nothing else can wait.
        if (run.isRunning())
            QTimer::singleShot(afterRun_ms, view, [this] { view->setSceneBeside(document.getRoot()); });
        else
            show();
    });
    connect(&document, &ktStudioDocument::filesChanged, this, show);
    connect(&document, &ktStudioDocument::filesChanged, this, &ktStudioWindow::showTitle);
    connect(&document, &ktStudioDocument::picturesLoaded, this, show);
    connect(&document, &ktStudioDocument::opened, this, [this] {
        view->setSelection(selection.get());
        if (!document.isReloading())
            view->frameAll();
    });
}
