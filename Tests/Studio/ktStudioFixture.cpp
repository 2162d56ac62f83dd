// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes windows of ktstudio for tests, and drives them.
#include "ktStudioFixture.h"

#include "ktAmbientOcclusion.h"
#include "ktBoxScene.h"
#include "ktFitMode.h"
#include "ktMessageBar.h"
#include "ktPresetStore.h"
#include "ktStudioEdit.h"
#include "ktUndoStack.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPushButton>
#include <QtTest>
#include <QUrl>

namespace Settings = ktAmbientOcclusionSettings;

/// Makes the application object, unless the main function has made one.
static void makeApplication() {
    static int count = 1;
    static char name[] = "ktStudioTest";
    static char* arguments[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QApplication(count, arguments); // never destroyed
}

ktAmbientOcclusion& ktStudioFixture::plugin() {
    return *ktAmbientOcclusion::the();
}

ktUndoStack& ktStudioFixture::stack() {
    return *ktUndoStack::get(0);
}

std::vector<std::string> ktStudioFixture::selectedNames() const {
    std::vector<std::string> names;
    for (const osg::NodePtr& node : window->getSelection().get())
        names.push_back(ktStudioEdit::nameOf(node).toStdString());
    return names;
}

bool waitFor(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 20000);
}

ktStudioFixture::ktStudioFixture() {
    makeApplication();
    // Tests that run at the same time share nothing. The process that a test kills keeps what it was given.
    if (!qEnvironmentVariableIsSet("KT_STUDIO_VICTIM_SCENE"))
        qputenv("KT_PREFERENCES_DIR", QByteArray::fromStdString(folder.file("preferences/")));
    ktPresetStore::load();
    Settings::forEachSetting([](auto row) { row.set(*ktAmbientOcclusion::the(), row.initial); });
    ktUndoStack::get(0)->clear();
    window = std::make_unique<ktStudioWindow>();
    window->show();
}

ktStudioFixture::~ktStudioFixture() {
    window.reset();
}

std::string ktStudioFixture::writeBoxes(const std::string& name) {
    return folder.write(name, makeBoxes({{"left", {0, 0, 0}}, {"right", {1.2f, 0, 0}}}).dump());
}

void ktStudioFixture::open(const std::string& path) {
    window->openFile(QString::fromStdString(path));
    ASSERT_TRUE(window->getDocument().isOpen()) << message().toStdString();
}

bool ktStudioFixture::hasKeys() {
    window->activateWindow();
    return QTest::qWaitForWindowActive(window.get());
}

QAction& ktStudioFixture::action(const char* name) {
    auto* const found = window->findChild<QAction*>(name);
    if (!found)
        throw std::runtime_error(std::string("no action ") + name);
    return *found;
}

void ktStudioFixture::trigger(const char* name) {
    ASSERT_TRUE(action(name).isEnabled()) << name;
    action(name).trigger();
}

void ktStudioFixture::drop(const std::vector<std::string>& paths, Qt::KeyboardModifiers modifiers) {
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths)
        urls << QUrl::fromLocalFile(QString::fromStdString(path));
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, modifiers);
    QCoreApplication::sendEvent(window.get(), &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent event(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, modifiers);
    QCoreApplication::sendEvent(window.get(), &event);
}

void ktStudioFixture::pressInMessage(const QString& text) {
    for (QPushButton* button : window->getMessages().findChildren<QPushButton*>())
        if (button->text() == text) {
            QTest::mouseClick(button, Qt::LeftButton);
            return;
        }
    FAIL() << "no message with the button " << text.toStdString() << " but: " << message().toStdString();
}

std::string ktStudioFixture::savedBytes() {
    const std::string file = folder.file("saved" + std::to_string(++savedFiles) + ".glb");
    EXPECT_TRUE(window->getDocument().saveAs(QString::fromStdString(file))) << message().toStdString();
    return readFile(file);
}

std::string ktStudioFixture::bakedByKtbake(const std::string& scene, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {scene, "-o", "ktbake.glb"});
    const ktBakeResult result = runBake(folder.path, arguments);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return readFile(folder.file("ktbake.glb"));
}

void ktStudioFixture::whenDialogShows(const std::function<void(QWidget&)>& act) {
    auto* const timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act] {
        QWidget* const dialog = QApplication::activeModalWidget();
        if (!dialog)
            return;
        timer->deleteLater();
        timer->stop();
        act(*dialog);
    });
    timer->start(20);
}

QString ktStudioFixture::message() const {
    return window->getMessages().getNewest();
}
