// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens, selects, previews and saves the scene that ktbake bakes, and logs what its file reports.
#include "ktBakeScene.h"

#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktBakeSelection.h"
#include "ktGeometryInstances.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
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
    ktSceneState::setRootNode(osg::NullFC);
}

void ktBakeScene::logMessages(const ktFileReport& report) const {
    for (const ktFileWarning& warning : report.messages.warnings())
        ktLog::warning("%s: %s", fileName.c_str(), warning.text().c_str());
    for (const std::string& note : report.messages.notes())
        ktLog::info("%s: %s", fileName.c_str(), note.c_str());
}

int ktBakeScene::open(const ktBakeOptions& options) {
    fileName = options.scene;
    ktOpenOptions openOptions;
    openOptions.unit = ktParseLengthUnit(options.unit).value_or(ktLengthUnit());
    openOptions.uniqueInstances = options.uniqueInstances;
    ktFileReport report;
    file = ktSceneFile::open(QString::fromStdString(options.scene), openOptions, report);
    logMessages(report);
    if (!file) {
        ktLog::error("%s", report.error.c_str());
        return ktBakeExit::badInput;
    }
    ktSceneState::setRootNode(file->getRoot());
    diagonal = ktSceneDiagonal(file->getRoot());
    return ktBakeExit::done;
}

std::vector<ktBakeGeometry> ktBakeScene::getGeometries() const {
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
    ktLog::error("%s", report.error.c_str());
    return ktBakeExit::badInput;
}

void ktBakeScene::loadPictures() {
    ktFileReport report;
    file->loadPictures(report);
    logMessages(report);
}

bool ktBakeScene::save(const ktBakeOptions& options) {
    ktSaveOptions saveOptions;
    saveOptions.multiplyColors = options.multiplyColors;
    saveOptions.exposure = static_cast<float>(options.exposure);
    ktFileReport report;
    const bool isSaved = file->save(QString::fromStdString(options.output), saveOptions, report);
    logMessages(report);
    if (!isSaved)
        ktLog::error("%s", report.error.c_str());
    return isSaved;
}

int ktBakeScene::findSettingsNode(const ktBakeOptions& options, osg::NodePtr& node) const {
    if (options.settingsFrom.empty())
        return ktBakeExit::done;
    const std::vector<osg::NodePtr> nodes = ktSceneState::findNodes(options.settingsFrom);
    if (nodes.empty()) {
        ktLog::error("%s: --settings-from: no node is called \"%s\"%s", options.scene.c_str(),
                     options.settingsFrom.c_str(), suggestNodes(file->getRoot(), options.settingsFrom).c_str());
        return ktBakeExit::badInput;
    }
    const auto found = std::find_if(nodes.begin(), nodes.end(), holdsSettings);
    if (found == nodes.end()) {
        ktLog::error("%s: --settings-from: the node \"%s\" holds no settings: it was not baked", options.scene.c_str(),
                     options.settingsFrom.c_str());
        return ktBakeExit::badInput;
    }
    node = *found;
    return ktBakeExit::done;
}

int ktBakeScene::select(const ktBakeOptions& options) {
    if (options.select.empty())
        ktSceneState::setSelection(file->getTopNodes());
    const std::vector<std::string> unknown =
        options.select.empty() ? std::vector<std::string>() : ktSceneState::selectByName(options.select);
    for (const std::string& name : unknown)
        ktLog::error("%s: --select: no node is called \"%s\"%s", options.scene.c_str(), name.c_str(),
                     suggestNodes(file->getRoot(), name).c_str());
    if (!unknown.empty())
        return ktBakeExit::badInput;
    if (options.missing)
        ktSceneState::setSelection(findMissing(ktScenegraph::getSelectedRootNodes()));
    return ktBakeExit::done;
}

std::uint64_t ktBakeScene::getSelectedVertexCount() const {
    std::set<osg::UInt32> seen;
    std::uint64_t count = 0;
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        ktForEachGeometryInstance(node, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
            const osg::GeometryPtr& geometry = instance.geometry;
            if (geometry->getPositions() != osg::NullFC && seen.insert(geometry.getFieldContainerId()).second)
                count += geometry->getPositions()->getSize();
            return true;
        });
    return count;
}

bool ktBakeScene::drawPreview(const ktBakeOptions& options) {
    loadPictures();
    const std::string reason =
        ktWritePreview(ktScenegraph::getRootNode(), options.preview, static_cast<float>(options.exposure));
    if (!reason.empty())
        ktLog::error("%s: the picture cannot be written: %s", options.preview.c_str(), reason.c_str());
    return reason.empty();
}
