// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens, saves and watches the scene's file, and knows whether something is unsaved.
#include "ktStudioDocument.h"

#include "ktAddedScene.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktBackgroundWork.h"
#include "ktFileWatch.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktNodeUtils.h"
#include "ktPreview.h"
#include "ktReadRecord.h"
#include "ktReservedMemory.h"
#include "ktSceneCommand.h"
#include "ktSceneFile.h"
#include "ktScenegraph.h"
#include "ktSceneReader.h"
#include "ktSceneState.h"
#include "ktUndoPause.h"
#include "ktUndoStack.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>
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

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

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
    : QObject(parent), reader(std::make_unique<ktSceneReader>()), options(ktStudioOptions::load()),
      fileWatch(new ktFileWatch(this)) {
    connect(this, &ktStudioDocument::optionsChanged, this, [this] { options.keep(); });
    connect(&undoStack(), &QUndoStack::indexChanged, this, &ktStudioDocument::noteModified);
    connect(fileWatch, &ktFileWatch::changed, this, [this](const QString& changed) {
        if (file)
            emit changedOnDisk(changed);
    });
    connect(this, &ktStudioDocument::filesChanged, this, &ktStudioDocument::watchFiles);
}

ktStudioDocument::~ktStudioDocument() {
    undoStack().disconnect(this);
    const QSignalBlocker quiet(undoStack()); // the window's listeners would ask services that are already destroyed
    undoStack().clear();                     // commands refer to this object and to the scene
    ktSceneState::setRootNode(osg::NullFC);
}

ktUndoStack& ktStudioDocument::undoStack() const {
    return *ktUndoStack::get(0);
}

ktStudioDocument::Work::Work(ktStudioDocument& document_, const QString& what_)
    : document(document_), what(what_), wasReading(std::exchange(document.reading, true)) {
    if (!wasReading)
        document.isReadingCancelled = false;
    emit document.workChanged(true, what);
}

ktStudioDocument::Work::~Work() {
    document.reading = wasReading;
    emit document.workChanged(false, what);
}

bool ktStudioDocument::Work::goOn(double share) {
    emit document.workProgressed(share);
    return !document.letEventsIn();
}

double ktStudioDocument::getUnit_mm() const {
    return file ? file->getUnit_mm() : 0;
}

bool ktStudioDocument::isUnitGuessed() const {
    return file && file->isUnitGuessed();
}

bool ktStudioDocument::isUpAxisGuessed() const {
    return file && file->isUpAxisGuessed();
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

void ktStudioDocument::cancelReading() {
    isReadingCancelled = true;
    reader->cancel();
}

void ktStudioDocument::warmUpReading() {
    ktReserveMemory();
    reader->warmUp();
}

std::vector<std::shared_ptr<void>> ktStudioDocument::takePrepared() {
    return std::exchange(prepared, {});
}

ktStudioDocument::ReadScene ktStudioDocument::read(const QString& newPath, const ktStudioReadOptions& newOptions) {
    const auto unit = ktParseLengthUnit(newOptions.unit.toStdString());
    if (!unit) {
        emit failed(tr("%1 is no unit of length.").arg(newOptions.unit));
        return {};
    }
    reading = true;
    isReadingCancelled = false;
    const QString what = tr("Reading %1").arg(QFileInfo(newPath).fileName());
    emit readingChanged(true, what);
    ktSceneReader::Request request;
    request.path = newPath;
    request.options.unit = *unit;
    request.options.up = ktParseUpAxis(newOptions.up.toStdString());
    request.options.uniqueInstances = newOptions.uniqueInstances;
    request.options.creaseAngle_deg = newOptions.creaseAngle_deg;
    request.options.keepVertices = newOptions.keepVertices;
    request.hasGroundPlane = newOptions.groundPlane;
    request.prepare = preparation;
    record.reset(); // only one can exist at a time
    record = std::make_unique<ktReadRecord>();
    ktSceneReader::Result result = reader->read(request, [this](double share) { emit readingProgressed(share); });
    logMessages(newPath, result.report);
    ReadScene scene;
    scene.diagonal = result.diagonal;
    scene.sources = record->files();
    scene.sources.insert(newPath);
    scene.file = std::move(result.file);
    if (scene.file && result.prepared)
        prepared.push_back(std::move(result.prepared));
    reading = false;
    emit readingChanged(false, what);
    if (!scene.file && isReadingCancelled)
        emit failed(tr("%1 was not opened: cancelled.").arg(QFileInfo(newPath).fileName()));
    else if (!scene.file)
        fail(result.report);
    return scene;
}

bool ktStudioDocument::open(const QString& newPath, const ktStudioReadOptions& newOptions) {
    if (reading)
        return false;
    const QString absolute = QFileInfo(newPath).absoluteFilePath();
    const auto started = Clock::now();
    ReadScene scene = read(absolute, newOptions);
    if (!scene.file)
        return false;
    readSeconds = secondsSince(started);
    undoStack().clear();
    std::vector<std::shared_ptr<ktAddedScene>> oldAdded = std::move(added);
    added.clear();
    osg::NodeRefPtr oldGroup = std::exchange(group, osg::NodeRefPtr());
    savedCommand = 0;
    // The old scene lives until its views have let go of it.
    std::swap(file, scene.file);
    path = absolute;
    outputPath.clear();
    readOptions = newOptions;
    diagonal = scene.diagonal;
    followScene();
    replacing = true;
    ktSceneState::setRootNode(file->getRoot());
    replacing = false;
    ktSceneState::setSelection(file->getNodesToBake());
    sources = std::move(scene.sources);
    fileWatch->clear();
    watchFiles();
    wasModified = false;
    emit opened();
    emit modifiedChanged(false);
    prepared.clear();
    oldGroup = osg::NullFC;
    oldAdded.clear();
    if (scene.file)
        reader->destroy(std::move(scene.file));
    showPictures();
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
    for (const osg::NodePtr& node : before == file->getNodesToBake() ? std::vector<osg::NodePtr>() : before)
        if (node != osg::NullFC)
            selected.push_back(pathOf(node));
    const QString output = outputPath;
    const QStringList addedPaths = getAddedPaths();
    reloading = true;
    const bool isOpened = open(QString(path), newOptions);
    reloading = false;
    if (!isOpened)
        return false;
    outputPath = output;
    if (!addedPaths.isEmpty()) {
        const ktUndoPause pause; // they belong to what was read
        addFiles(addedPaths);
    }
    std::vector<osg::NodePtr> nodes;
    for (const std::string& name : selected)
        for (const osg::NodePtr& node : ktSceneState::findNodes(name))
            nodes.push_back(node);
    if (!nodes.empty())
        ktSceneState::setSelection(nodes);
    return true;
}

bool ktStudioDocument::loadPictures() {
    const auto load = [this](ktSceneFile& from, const QString& fromPath, std::set<QString>& itsSources) {
        ktFileReport report;
        const std::set<QString> before = record->files();
        from.loadPictures(report, [this] { return letEventsIn(); });
        for (const QString& picture : record->files())
            if (!before.count(picture))
                itsSources.insert(picture);
        logMessages(fromPath, report);
        if (report.isOutOfMemory)
            fail(report);
        return !report.isOutOfMemory;
    };
    if (!file)
        return true;
    isReadingCancelled = false;
    const bool isGood =
        load(*file, path, sources) && std::all_of(added.begin(), added.end(), [&load](const auto& scene) {
            return load(scene->getFile(), scene->getPath(), scene->getSources());
        });
    watchFiles();
    return isGood;
}

// The scene is in view before, without its pictures.
void ktStudioDocument::showPictures() {
    if (!file->hasPicturesToLoad() && std::none_of(added.begin(), added.end(), [](const auto& scene) {
            return scene->getFile().hasPicturesToLoad();
        }))
        return;
    {
        const Work work(*this, tr("Reading pictures"));
        loadPictures();
    }
    emit picturesLoaded();
}

bool ktStudioDocument::writeTo(ktSceneFile& written, const QString& newPath, ktFileReport& report) {
    const Work work(*this, tr("Saving %1").arg(QFileInfo(newPath).fileName()));
    ktSaveOptions saveOptions;
    saveOptions.isInterrupted = [this] { return isReadingCancelled.load(); };
    saveOptions.multiplyColors = options.multiplyColors;
    saveOptions.strength = static_cast<float>(options.strength);
    saveOptions.exposure = static_cast<float>(options.exposure);
    saveOptions.compression = options.compression;
    bool isWritten = false;
    ktRunInBackground([&] { isWritten = written.save(newPath, saveOptions, report); });
    return isWritten;
}

bool ktStudioDocument::saveCopy(const QString& copyPath) {
    ktFileReport report;
    if (!file || writeTo(*file, copyPath, report))
        return file != nullptr;
    if (isReadingCancelled)
        return false;
    ktLog::warning("No copy for a recovery was written: %s", report.error.c_str());
    return false;
}

bool ktStudioDocument::openCopy(const QString& copyPath, const QString& scenePath,
                                const ktStudioReadOptions& newOptions) {
    if (!open(copyPath, newOptions))
        return false;
    path = scenePath;
    sources = {path};
    savedCommand = std::numeric_limits<unsigned long>::max(); // no command: something is unsaved whatever is undone
    watchFiles();
    noteModified();
    emit opened(); // under its own name
    return true;
}

bool ktStudioDocument::saveOne(ktSceneFile& written, const QString& newPath) {
    ktFileReport report;
    const bool isSaved = writeTo(written, newPath, report);
    logMessages(newPath, report);
    if (isSaved)
        ktLog::info("%s: saved", qUtf8Printable(newPath));
    else if (isReadingCancelled)
        emit failed(tr("%1 was not saved: cancelled.").arg(QFileInfo(newPath).fileName()));
    else
        fail(report);
    return isSaved;
}

bool ktStudioDocument::saveAs(const QString& newPath) {
    if (!file || reading || newPath.isEmpty())
        return false;
    const ktFileWatch::OwnWriting writing(*fileWatch); // it may write over a file that was read
    const auto started = Clock::now();
    if (!saveOne(*file, newPath))
        return false;
    outputPath = QFileInfo(newPath).absoluteFilePath();
    if (!saveAdded())
        return false;
    savedCommand = ktSceneCommand::findNewest(undoStack());
    undoStack().setClean();
    noteModified();
    emit saved(outputPath, secondsSince(started));
    return true;
}

bool ktStudioDocument::savePreview(const QString& picturePath, const ktPreviewOptions& look) {
    if (!file || reading)
        return false;
    std::string reason;
    const auto started = Clock::now();
    {
        const Work work(*this, tr("Drawing %1").arg(QFileInfo(picturePath).fileName()));
        if (!loadPictures())
            return false;
        ktPreviewOptions previewOptions = look;
        previewOptions.exposure = static_cast<float>(options.exposure);
        previewOptions.isInterrupted = [this] { return isReadingCancelled.load(); };
        previewOptions.progressed = [this](double share) { emit workProgressed(share); };
        reason = ktWritePreview(getRoot(), picturePath.toStdString(), previewOptions);
    }
    if (!reason.empty()) {
        const QString text = tr("%1: the picture cannot be written: %2").arg(picturePath, reason.c_str());
        ktLog::error("%s", qUtf8Printable(text));
        emit failed(text);
        return false;
    }
    emit previewDrawn(secondsSince(started));
    return true;
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

void ktStudioDocument::watchFiles() {
    std::set<QString> all = sources;
    for (const std::shared_ptr<ktAddedScene>& scene : added)
        all.insert(scene->getSources().begin(), scene->getSources().end());
    fileWatch->watch(all);
}
