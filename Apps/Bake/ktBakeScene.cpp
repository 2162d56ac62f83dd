// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens, selects, previews and saves the scene that ktbake bakes, and logs what its file reports.
#include "ktBakeScene.h"

#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktBakePreviewProgress.h"
#include "ktLengthUnit.h"
#include "ktMissingResults.h"
#include "ktNearNames.h"
#include "ktNodeAttachments.h"
#include "ktNodeUtils.h"
#include "ktPreview.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"
#include "OSGValuePair.h"

#include <algorithm>
#include <set>

namespace {

/// Whether the plug-in can load settings from a node: a typed attachment, or texts of the older format.
bool holdsSettings(const osg::NodePtr& node) {
    if (ktFindAttachment<osg::AmbientOcclusionSettingsAttachment>(node) != osg::NullFC)
        return true;
    const auto texts = ktFindAttachment<osg::ValuePair>(node);
    for (osg::UInt32 i = 0; texts != osg::NullFC && i < texts->getSize(); ++i)
        if (texts->getKey(i).compare(0, 2, "AO") == 0)
            return true;
    return false;
}

void collectNames(const osg::NodePtr& node, std::set<std::string>& names) {
    if (const char* name = ktNodeUtils::getName(node))
        names.insert(name);
    for (osg::UInt32 child = 0; child < node->getNChildren(); ++child)
        collectNames(node->getChild(child), names);
}

/// The end of a message about a node that the scene does not have: names that are near.
std::string suggestNodes(const osg::NodePtr& root, const std::string& wanted) {
    std::set<std::string> names;
    collectNames(root, names);
    return ktSuggestNames(wanted, {names.begin(), names.end()}, "\"");
}

} // namespace

ktBakeScene::~ktBakeScene() {
    if (isAbandoned) {
        [[maybe_unused]] const ktSceneFile* const left = file.release();
        return;
    }
    ktSceneState::setRootNode(osg::NullFC);
}

void ktBakeScene::logMessages(const ktFileReport& report) const {
    for (const ktFileWarning& warning : report.messages.warnings())
        ktBakeMessages::log(ktLogLevel::Warning, fileName + ": " + warning.text(),
                            {{"file", fileName}, {"object", warning.object}, {"reason", warning.reason}});
    for (const std::string& note : report.messages.notes())
        ktBakeMessages::logReason(ktLogLevel::Info, fileName, note);
}

void ktBakeScene::logError(const std::string& inFile, const ktFileReport& report) {
    ktBakeMessages::log(ktLogLevel::Error, report.error,
                        {{"file", inFile},
                         {"object", report.errorObject == "file" ? "" : report.errorObject},
                         {"reason", report.errorReason}});
}

void ktBakeScene::logNode(const char* option, const std::string& name, const std::string& reason) const {
    ktBakeMessages::log(ktLogLevel::Error, fileName + ": " + option + ": " + reason,
                        {{"file", fileName}, {"option", option}, {"value", name}, {"reason", reason}});
}

int ktBakeScene::open(const ktBakeOptions& options, const std::function<bool()>& isInterrupted) {
    fileName = options.scene;
    ktOpenOptions openOptions;
    openOptions.unit = ktParseLengthUnit(options.unit).value_or(ktLengthUnit());
    openOptions.up = options.up;
    openOptions.uniqueInstances = options.uniqueInstances;
    openOptions.isInterrupted = isInterrupted;
    openOptions.creaseAngle_deg = options.creaseAngle_deg;
    openOptions.keepVertices = options.keepVertices;
    ktFileReport report;
    file = ktSceneFile::open(QString::fromStdString(options.scene), openOptions, report);
    logMessages(report);
    if (!file && isInterrupted())
        return ktBakeExit::cancelled;
    if (!file) {
        logError(options.scene, report);
        return report.isOutOfMemory ? ktBakeExit::failed : ktBakeExit::badInput;
    }
    ktSceneState::setRootNode(file->getRoot());
    diagonal = ktSceneDiagonal(file->getRoot());
    return ktBakeExit::done;
}

std::vector<ktListedGeometry> ktBakeScene::getGeometries() const {
    return listGeometries(file->getRoot());
}

int ktBakeScene::addGroundPlane(const ktBakeOptions& options) {
    if (!options.groundPlane)
        return ktBakeExit::done;
    ktFileReport report;
    if (file->addGroundPlane(report) != osg::NullFC) {
        logMessages(report);
        return ktBakeExit::done;
    }
    // The user asked for the plane, so the file's warning ends the run as an error.
    const std::vector<ktFileWarning>& warnings = report.messages.warnings();
    if (report.isGood() && !warnings.empty())
        report.error = fileName + ": " + warnings.back().text();
    if (!warnings.empty()) {
        report.errorObject = warnings.back().object;
        report.errorReason = warnings.back().reason;
    }
    logError(fileName, report);
    return ktBakeExit::badInput;
}

bool ktBakeScene::loadPictures(const std::function<bool()>& isInterrupted) {
    ktFileReport report;
    file->loadPictures(report, isInterrupted);
    if (isInterrupted && isInterrupted())
        return true;
    logMessages(report);
    if (report.isOutOfMemory)
        logError(fileName, report);
    return !report.isOutOfMemory;
}

std::uint64_t ktBakeScene::leastDataSize(const ktBakeOptions& options) const {
    return file->leastDataSize(QString::fromStdString(options.output), options.compression);
}

int ktBakeScene::save(const ktBakeOptions& options, const std::function<bool()>& isInterrupted) {
    ktSaveOptions saveOptions;
    saveOptions.multiplyColors = options.multiplyColors;
    saveOptions.exposure = static_cast<float>(options.exposure);
    saveOptions.strength = static_cast<float>(options.strength);
    saveOptions.compression = options.compression;
    saveOptions.isInterrupted = isInterrupted;
    ktFileReport report;
    const bool isSaved = file->save(QString::fromStdString(options.output), saveOptions, report);
    logMessages(report);
    if (isSaved)
        return ktBakeExit::done;
    if (isInterrupted())
        return ktBakeExit::cancelled;
    logError(options.output, report);
    return report.isOutOfMemory ? ktBakeExit::failed : ktBakeExit::notWritten;
}

int ktBakeScene::findSettingsNode(const ktBakeOptions& options, osg::NodePtr& node) const {
    if (options.settingsFrom.empty())
        return ktBakeExit::done;
    const std::vector<osg::NodePtr> nodes = ktSceneState::findNodes(options.settingsFrom);
    if (nodes.empty()) {
        logNode("--settings-from", options.settingsFrom,
                "no node is called \"" + options.settingsFrom + "\"" +
                    suggestNodes(file->getRoot(), options.settingsFrom));
        return ktBakeExit::badInput;
    }
    const auto found = std::find_if(nodes.begin(), nodes.end(), holdsSettings);
    if (found == nodes.end()) {
        logNode("--settings-from", options.settingsFrom,
                "the node \"" + options.settingsFrom + "\" holds no settings: it was not baked");
        return ktBakeExit::badInput;
    }
    node = *found;
    return ktBakeExit::done;
}

int ktBakeScene::select(const ktBakeOptions& options) {
    if (options.select.empty())
        ktSceneState::setSelection(file->getNodesToBake());
    const std::vector<std::string> unknown =
        options.select.empty() ? std::vector<std::string>() : ktSceneState::selectByName(options.select);
    for (const std::string& name : unknown)
        logNode("--select", name, "no node is called \"" + name + "\"" + suggestNodes(file->getRoot(), name));
    if (!unknown.empty())
        return ktBakeExit::badInput;
    if (options.missing)
        ktSceneState::setSelection(findMissing(ktScenegraph::getSelectedRootNodes()));
    return ktBakeExit::done;
}

int ktBakeScene::findPreviewView(const ktBakeOptions& options) {
    std::string reason;
    const std::optional<ktPreviewView> view = ktFindPreviewView(options.previewView, file->getCameras(), reason);
    if (!view) {
        std::vector<std::string> names = ktPreviewSideNames();
        for (const ktSceneCamera& camera : file->getCameras())
            names.push_back(camera.name);
        logNode("--preview-view", options.previewView, reason + ktSuggestNames(options.previewView, names));
        return ktBakeExit::badInput;
    }
    previewView = *view;
    return ktBakeExit::done;
}

bool ktBakeScene::drawPreview(const ktBakeOptions& options, const std::function<bool()>& isInterrupted) {
    ktPreviewOptions preview;
    preview.exposure = static_cast<float>(options.exposure);
    preview.width_px = options.previewSize[0];
    preview.height_px = options.previewSize[1];
    preview.view = previewView;
    preview.hasHeadlight = options.previewHeadlight;
    preview.isInterrupted = isInterrupted;
    if (!loadPictures(isInterrupted))
        return false;
    std::string reason;
    {
        ktBakePreviewProgress progress(!options.quiet);
        preview.progressed = [&progress](double share) { progress.show(share); };
        reason = ktWritePreview(ktScenegraph::getRootNode(), options.preview, preview);
    }
    if (reason.empty())
        return true;
    if (!isInterrupted())
        ktBakeMessages::logReason(ktLogLevel::Error, options.preview, "the picture cannot be written: " + reason);
    return false;
}
