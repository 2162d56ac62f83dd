// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs Python in the window, and lets the module kthost use the window's scene.
#include "ktStudioScripts.h"

#include "ktSceneStatistics.h"
#include "ktStudioDocument.h"
#include "ktStudioRun.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QMetaEnum>

#ifdef KT_HAS_PYTHON
#include "ktScriptConsole.h"
#include "ktScriptedScene.h"
#include "ktScripting.h"

/// The interpreter's console, and the window's scene as scripts use it.
class ktStudioScripts::Interpreter : public ktScriptedScene {
public:
    explicit Interpreter(ktStudioScripts& scripts_)
        : scripts(scripts_),
          console([this](const std::string& text,
                         bool isError) { emit scripts.printed(QString::fromStdString(text), isError); },
                  [] { QCoreApplication::processEvents(); }) {
        ktScriptedScene::set(this);
        console.run("import kthost, ktAmbientOcclusion");
    }
    ~Interpreter() override { ktScriptedScene::set(nullptr); }

    ktSceneFile* getFile() override { return scripts.document.getFile(); }

    std::string open(const std::string& path, const OpenOptions& given) override {
        if (scripts.document.isModified())
            return "the open scene has unsaved changes: save it or undo them first";
        ktStudioReadOptions options;
        options.unit = QString::fromStdString(given.unit);
        options.up = QString::fromStdString(given.up);
        options.uniqueInstances = given.uniqueInstances;
        options.groundPlane = given.groundPlane;
        options.creaseAngle_deg = given.creaseAngle_deg;
        options.keepVertices = given.keepVertices;
        return reasonOf([&] { return scripts.document.open(QString::fromStdString(path), options); });
    }

    std::string save(const std::string& path, const SaveOptions& given) override {
        return reasonOf([&] {
            return scripts.document.saveWith(QString::fromStdString(path), given.multiplyColors, given.exposure,
                                             given.strength, ktParseCompressionMode(given.compress).value());
        });
    }

    Bake bake(bool missingOnly, std::string& reason) override {
        std::optional<ktStudioRun::Refusal> refusal;
        const auto connection = QObject::connect(&scripts.run, &ktStudioRun::refused,
                                                 [&refusal](ktStudioRun::Refusal why) { refusal = why; });
        const bool hasRun = scripts.run.start(missingOnly);
        QObject::disconnect(connection);
        if (refusal == ktStudioRun::NothingMissing)
            return Bake::NothingToDo;
        if (hasRun)
            return Bake::Ran;
        reason = refusal ? QMetaEnum::fromType<ktStudioRun::Refusal>().valueToKey(*refusal) : "it was cancelled";
        return Bake::Refused;
    }

    std::string getStatistics() override {
        return QJsonDocument(scripts.statistics.describe(scripts.document.getRoot())).toJson().toStdString();
    }
    void previewDrawn(double seconds) override { scripts.statistics.setPreview(seconds); }

    ktStudioScripts& scripts;
    ktScriptConsole console;

private:
    /// Empty if the work succeeds, else what the document says.
    template <class Act>
    std::string reasonOf(const Act& act) {
        QString reason = "it failed";
        const auto connection = QObject::connect(&scripts.document, &ktStudioDocument::failed,
                                                 [&reason](const QString& why) { reason = why; });
        const bool isDone = act();
        QObject::disconnect(connection);
        return isDone ? std::string() : reason.toStdString();
    }
};

bool ktStudioScripts::isAvailable() {
    return true;
}

bool ktStudioScripts::runStatements(const QString& statements) {
    if (!begin())
        return true;
    const bool isWhole = interpreter->console.run(statements.toStdString()) != ktScriptConsole::Outcome::Incomplete;
    end();
    return isWhole;
}

void ktStudioScripts::runFile(const QString& path) {
    if (!begin())
        return;
    interpreter->console.runFile(path.toStdString());
    end();
}

void ktStudioScripts::cancel() {
    if (!running)
        return;
    document.cancelReading();
    run.cancel();
    ktScripting::interrupt();
}

QStringList ktStudioScripts::complete(const QString& text) {
    QStringList names;
    if (!begin())
        return names;
    for (const std::string& name : interpreter->console.complete(text.toStdString()))
        names << QString::fromStdString(name);
    end();
    return names;
}

#else

class ktStudioScripts::Interpreter {
public:
    explicit Interpreter(ktStudioScripts&) {}
};

bool ktStudioScripts::isAvailable() {
    return false;
}

bool ktStudioScripts::runStatements(const QString&) {
    emit printed(tr("This ktstudio was built without Python.") + "\n", true);
    return true;
}

void ktStudioScripts::runFile(const QString& path) {
    runStatements(path);
}

void ktStudioScripts::cancel() {}

QStringList ktStudioScripts::complete(const QString&) {
    return {};
}

#endif

ktStudioScripts::ktStudioScripts(ktStudioDocument& document_, ktStudioRun& run_, ktSceneStatistics& statistics_)
    : document(document_), run(run_), statistics(statistics_) {}

ktStudioScripts::~ktStudioScripts() = default;

bool ktStudioScripts::begin() {
    if (running || run.isRunning() || document.isReading())
        return false;
    running = true;
    emit runningChanged(true);
    if (!interpreter)
        interpreter = std::make_unique<Interpreter>(*this);
    return true;
}

void ktStudioScripts::end() {
    running = false;
    emit runningChanged(false);
}
