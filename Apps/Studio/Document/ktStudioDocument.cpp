// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens, saves and watches the scene's file, and knows whether something is unsaved.
#include "ktStudioDocument.h"

#include "ktAmbientOcclusionSettings.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktNodeUtils.h"
#include "ktPreview.h"
#include "ktSceneCommand.h"
#include "ktSceneFile.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"
#include "ktUndoPause.h"
#include "ktUndoStack.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>
#include <utility>

/// Options are part of what is undone.
class ktStudioDocument::OptionsCommand : public ktSceneCommand {
public:
    OptionsCommand(const QString& text, ktStudioDocument& document_, const ktStudioOptions& options_)
        : ktSceneCommand(text), document(document_), options(options_) {}
    void undo() override {
        std::swap(document.options, options);
        emit document.optionsChanged();
    }
    void redo() override { undo(); }

private:
    ktStudioDocument& document;
    ktStudioOptions options;
};

namespace {

constexpr double guessedDiagonal = 3000; // millimetres; see ktDecideUnit()

/// The path of a node by names, as ktSceneState::findNodes() reads it.
std::string pathOf(osg::NodePtr node) {
    std::string path;
    for (; node != osg::NullFC; node = node->getParent())
        if (const char* name = ktNodeUtils::getName(node); name && *name) {
            std::string literal = "/";
            for (const char* c = name; *c; ++c) {
                if (std::strchr("*?[]\\", *c))
                    literal += '\\';
                literal += *c;
            }
            path.insert(0, literal);
        }
    return path;
}

} // namespace

ktStudioDocument::ktStudioDocument(QObject* parent)
    : QObject(parent), watcher(new QFileSystemWatcher(this)), settle(new QTimer(this)) {
    connect(&undoStack(), &QUndoStack::indexChanged, this, &ktStudioDocument::noteModified);
    settle->setSingleShot(true);
    settle->setInterval(300);
    const auto wait = [this] { settle->start(); };
    connect(watcher, &QFileSystemWatcher::fileChanged, settle, wait);
    connect(watcher, &QFileSystemWatcher::directoryChanged, settle, wait);
    connect(settle, &QTimer::timeout, this, &ktStudioDocument::checkFile);
}

ktStudioDocument::~ktStudioDocument() {
    undoStack().disconnect(this);
    undoStack().clear(); // commands refer to this object and to the scene
    ktSceneState::setRootNode(osg::NullFC);
}

ktUndoStack& ktStudioDocument::undoStack() const {
    return *ktUndoStack::get(0);
}

osg::NodePtr ktStudioDocument::getRoot() const {
    return file ? file->getRoot() : osg::NodePtr();
}

std::vector<osg::NodePtr> ktStudioDocument::getTopNodes() const {
    return file ? file->getTopNodes() : std::vector<osg::NodePtr>();
}

double ktStudioDocument::getUnit_mm() const {
    return file ? file->getUnit_mm() : 0;
}

QString ktStudioDocument::proposeOutputPath() const {
    if (!outputPath.isEmpty())
        return outputPath;
    const QFileInfo info(path);
    const QString name = info.completeBaseName();
    return info.dir().filePath((name.endsWith("-baked") ? name : name + "-baked") + ".glb");
}

bool ktStudioDocument::isModified() const {
    return file && ktSceneCommand::findNewest(undoStack()) != savedCommand;
}

void ktStudioDocument::noteModified() {
    const bool isNow = isModified();
    if (isNow == std::exchange(wasModified, isNow))
        return;
    emit modifiedChanged(isNow);
}

bool ktStudioDocument::letEventsIn() {
    QCoreApplication::processEvents();
    return isReadingCancelled;
}

bool ktStudioDocument::read(const QString& newPath, const ktStudioReadOptions& newOptions,
                            std::unique_ptr<ktSceneFile>& newFile) {
    const auto unit = ktParseLengthUnit(newOptions.unit.toStdString());
    if (!unit) {
        emit failed(tr("%1 is no unit of length.").arg(newOptions.unit));
        return false;
    }
    reading = true;
    isReadingCancelled = false;
    const QString what = tr("Reading %1").arg(QFileInfo(newPath).fileName());
    emit readingChanged(true, what);
    ktOpenOptions openOptions;
    openOptions.unit = *unit;
    openOptions.up = ktParseUpAxis(newOptions.up.toStdString());
    openOptions.uniqueInstances = newOptions.uniqueInstances;
    auto last = std::chrono::steady_clock::now();
    openOptions.isInterrupted = [this, last]() mutable {
        const auto now = std::chrono::steady_clock::now();
        if (now - last < std::chrono::milliseconds(20))
            return isReadingCancelled.load();
        const bool isCancelled = letEventsIn();
        last = std::chrono::steady_clock::now();
        return isCancelled;
    };
    ktFileReport report;
    newFile = ktSceneFile::open(newPath, openOptions, report);
    if (newFile && newOptions.groundPlane)
        newFile->addGroundPlane(report);
    logMessages(newPath, report);
    // What has no unit, or a size that is hardly meant, gets this diagonal.
    const bool isGuess =
        unit->isAutomatic() && newFile && std::abs(ktSceneDiagonal(newFile->getRoot()) - guessedDiagonal) < 0.5;
    reading = false;
    emit readingChanged(false, what);
    if (!newFile) {
        if (isReadingCancelled)
            emit failed(tr("%1 was not opened: cancelled.").arg(QFileInfo(newPath).fileName()));
        else
            fail(report);
        return false;
    }
    unitIsGuessed = isGuess;
    return true;
}

bool ktStudioDocument::open(const QString& newPath, const ktStudioReadOptions& newOptions) {
    std::unique_ptr<ktSceneFile> newFile;
    const QString absolute = QFileInfo(newPath).absoluteFilePath();
    if (reading || !read(absolute, newOptions, newFile))
        return false;
    undoStack().clear();
    savedCommand = 0;
    // The old scene lives until its views have let go of it.
    std::swap(file, newFile);
    path = absolute;
    outputPath.clear();
    readOptions = newOptions;
    diagonal = ktSceneDiagonal(file->getRoot());
    followScene();
    ktSceneState::setRootNode(file->getRoot());
    ktSceneState::setSelection(getTopNodes());
    watch();
    wasModified = false;
    emit opened();
    emit modifiedChanged(false);
    return true;
}

// As ktbake does with distances that nobody gave. The panel shows them, so that they are no surprise.
void ktStudioDocument::followScene() {
    namespace Settings = ktAmbientOcclusionSettings;
    const ktUndoPause pause; // a scene begins with an empty undo stack
    ktSceneDistances distances = ktSceneDistances::read();
    const auto forget = [](auto& value, auto followedValue, auto initial) {
        if (value == followedValue)
            value = initial;
    };
    if (followed) {
        forget(distances.minDistance, followed->minDistance, Settings::MinDistance::initial);
        forget(distances.maxDistance, followed->maxDistance, Settings::MaxDistance::initial);
        forget(distances.minEdgeLength, followed->minEdgeLength, Settings::MinEdgeLength::initial);
    }
    ktGivenDistances given;
    given.minDistance = distances.minDistance != Settings::MinDistance::initial;
    given.maxDistance = distances.maxDistance != Settings::MaxDistance::initial;
    given.minEdgeLength = distances.minEdgeLength != Settings::MinEdgeLength::initial;
    const ktSceneDistances before = distances;
    distances.follow(given, diagonal);
    distances.apply();
    followed = distances;
    const std::string change = distances.describeChange(before, diagonal, true);
    if (!change.empty())
        ktLog::info("%s", change.c_str());
}

bool ktStudioDocument::reload(const ktStudioReadOptions& newOptions) {
    std::vector<std::string> selected; // stays empty if everything is selected: then new nodes are, too
    const std::vector<osg::NodePtr> before = ktScenegraph::getSelectedRootNodes();
    for (const osg::NodePtr& node : before == getTopNodes() ? std::vector<osg::NodePtr>() : before)
        if (node != osg::NullFC)
            selected.push_back(pathOf(node));
    const QString output = outputPath;
    reloading = true;
    const bool isOpened = open(QString(path), newOptions);
    reloading = false;
    if (!isOpened)
        return false;
    outputPath = output;
    std::vector<osg::NodePtr> nodes;
    for (const std::string& name : selected)
        for (const osg::NodePtr& node : ktSceneState::findNodes(name))
            nodes.push_back(node);
    if (!nodes.empty())
        ktSceneState::setSelection(nodes);
    return true;
}

void ktStudioDocument::loadPictures() {
    if (!file)
        return;
    isReadingCancelled = false;
    ktFileReport report;
    file->loadPictures(report, [this] { return letEventsIn(); });
    logMessages(path, report);
}

bool ktStudioDocument::writeTo(const QString& newPath, ktFileReport& report) {
    ktSaveOptions saveOptions;
    saveOptions.multiplyColors = options.multiplyColors;
    saveOptions.strength = static_cast<float>(options.strength);
    saveOptions.exposure = static_cast<float>(options.exposure);
    return file->save(newPath, saveOptions, report);
}

bool ktStudioDocument::saveCopy(const QString& copyPath) {
    ktFileReport report;
    if (!file || writeTo(copyPath, report))
        return file != nullptr;
    ktLog::warning("No copy for a recovery was written: %s", report.error.c_str());
    return false;
}

bool ktStudioDocument::openCopy(const QString& copyPath, const QString& scenePath,
                                const ktStudioReadOptions& newOptions) {
    if (!open(copyPath, newOptions))
        return false;
    path = scenePath;
    savedCommand = std::numeric_limits<unsigned long>::max(); // no command: something is unsaved whatever is undone
    watch();
    noteModified();
    emit opened(); // under its own name
    return true;
}

bool ktStudioDocument::saveAs(const QString& newPath) {
    if (!file || newPath.isEmpty())
        return false;
    const bool isSourceReplaced = QFileInfo(newPath).absoluteFilePath() == path;
    ktFileReport report;
    const bool isSaved = writeTo(newPath, report);
    logMessages(newPath, report);
    if (!isSaved) {
        fail(report);
        return false;
    }
    outputPath = QFileInfo(newPath).absoluteFilePath();
    savedCommand = ktSceneCommand::findNewest(undoStack());
    undoStack().setClean();
    if (isSourceReplaced)
        watch();
    noteModified();
    ktLog::info("%s: saved", qUtf8Printable(newPath));
    emit saved(outputPath);
    return true;
}

bool ktStudioDocument::savePreview(const QString& picturePath) {
    if (!file || reading)
        return false;
    reading = true;
    isReadingCancelled = false;
    const QString what = tr("Drawing %1").arg(QFileInfo(picturePath).fileName());
    emit readingChanged(true, what);
    loadPictures();
    ktPreviewOptions previewOptions;
    previewOptions.exposure = static_cast<float>(options.exposure);
    previewOptions.isInterrupted = [this] { return isReadingCancelled.load(); };
    const std::string reason = ktWritePreview(getRoot(), picturePath.toStdString(), previewOptions);
    reading = false;
    emit readingChanged(false, what);
    if (!reason.empty()) {
        const QString text = tr("%1: the picture cannot be written: %2").arg(picturePath, reason.c_str());
        ktLog::error("%s", qUtf8Printable(text));
        emit failed(text);
    }
    return reason.empty();
}

void ktStudioDocument::setOptions(const ktStudioOptions& newOptions, const QString& text) {
    if (!(newOptions == options))
        undoStack().add(new OptionsCommand(text, *this, newOptions));
}

void ktStudioDocument::logMessages(const QString& ofFile, const ktFileReport& report) const {
    const std::string prefix = ofFile.toStdString() + ": ";
    for (const ktFileWarning& warning : report.messages.warnings())
        ktLogOutput::write(ktLogLevel::Warning, prefix + warning.text());
    for (const std::string& note : report.messages.notes())
        ktLogOutput::write(ktLogLevel::Info, prefix + note);
}

void ktStudioDocument::fail(const ktFileReport& report) {
    ktLogOutput::write(ktLogLevel::Error, report.error);
    emit failed(QString::fromStdString(report.error));
}

void ktStudioDocument::watch() {
    if (!watcher->files().isEmpty())
        watcher->removePaths(watcher->files());
    if (!watcher->directories().isEmpty())
        watcher->removePaths(watcher->directories());
    watcher->addPath(path);
    watcher->addPath(QFileInfo(path).path()); // a program may replace the file by another one
    const QFileInfo info(path);
    fileTime = info.lastModified();
    fileSize = info.size();
}

void ktStudioDocument::checkFile() {
    const QFileInfo info(path);
    if (!file || !info.exists() || (info.lastModified() == fileTime && info.size() == fileSize))
        return;
    watch();
    emit changedOnDisk();
}
