// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeScene.h"

#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktBakeSelection.h"
#include "ktGeometryInstances.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
#include "ktPreview.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"

#include <OpenSG/OSGTriangleIterator.h>
#include <set>

namespace {

/// Calls visit(geometry) for each geometry below a node, each once, however often it is used.
template <typename Visit>
void forEachGeometry(const osg::NodePtr& root, ktInstances which, std::set<osg::UInt32>& seen, Visit visit) {
    forEachGeometryInstance(root, which, [&](const ktGeometryInstance& instance) {
        if (seen.insert(instance.geometry.getFieldContainerId()).second &&
            instance.geometry->getPositions() != osg::NullFC)
            visit(instance.geometry);
        return true;
    });
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
    std::set<osg::UInt32> seen;
    forEachGeometry(file->getRoot(), ktInstances::All, seen, [&](const osg::GeometryPtr& geometry) {
        vertexCount += geometry->getPositions()->getSize();
        for (osg::TriangleIterator triangle = geometry->beginTriangles(); triangle != geometry->endTriangles();
             ++triangle)
            ++triangleCount;
    });
    return ktBakeExit::done;
}

int ktBakeScene::addGroundPlane(const ktBakeOptions& options) {
    if (!options.groundPlane)
        return ktBakeExit::done;
    ktFileReport report;
    const osg::NodePtr plane = file->addGroundPlane(report);
    logMessages(report);
    return plane != osg::NullFC ? ktBakeExit::done : ktBakeExit::badInput;
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
        ktLog::error("%s: no node is called \"%s\"", options.scene.c_str(), options.settingsFrom.c_str());
        return ktBakeExit::badInput;
    }
    node = nodes.front();
    return ktBakeExit::done;
}

int ktBakeScene::select(const ktBakeOptions& options) {
    if (options.select.empty())
        ktSceneState::setSelection(file->getTopNodes());
    const std::vector<std::string> unknown =
        options.select.empty() ? std::vector<std::string>() : ktSceneState::selectByName(options.select);
    for (const std::string& name : unknown)
        ktLog::error("%s: no node is called \"%s\"", options.scene.c_str(), name.c_str());
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
        forEachGeometry(node, ktInstances::Visible, seen,
                        [&](const osg::GeometryPtr& geometry) { count += geometry->getPositions()->getSize(); });
    return count;
}

bool ktBakeScene::drawPreview(const ktBakeOptions& options) {
    loadPictures();
    const std::string reason =
        writePreview(ktScenegraph::getRootNode(), options.preview, static_cast<float>(options.exposure));
    if (!reason.empty())
        ktLog::error("%s: the picture cannot be written: %s", options.preview.c_str(), reason.c_str());
    return reason.empty();
}
