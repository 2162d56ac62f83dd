// SPDX-License-Identifier: LGPL-2.1-or-later
// Several files in one scene: adds them, saves them, and makes one tree of them.
#include "ktAddedScene.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
#include "ktSceneCommand.h"
#include "ktSceneFile.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"
#include "ktStudioDocument.h"
#include "ktUndoPause.h"
#include "ktUndoStack.h"

#include <algorithm>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <QFileInfo>

/// A file that was read: redo shows it in the scene.
class ktStudioDocument::AddCommand : public ktSceneCommand {
public:
    AddCommand(ktStudioDocument& document_, std::shared_ptr<ktAddedScene> scene_)
        : ktSceneCommand(tr("Add %1").arg(QFileInfo(scene_->getPath()).fileName())), document(document_),
          scene(std::move(scene_)) {}
    void undo() override { document.detach(scene); }
    void redo() override { document.attach(scene); }

private:
    ktStudioDocument& document;
    const std::shared_ptr<ktAddedScene> scene;
};

namespace {

void nameRoot(const ktSceneFile& file, const QString& name) {
    osg::setName(file.getRoot(), name.toStdString());
}

void addChild(const osg::NodePtr& node, const osg::NodePtr& child) {
    osg::beginEditCP(node, osg::Node::ChildrenFieldMask);
    node->addChild(child);
    osg::endEditCP(node, osg::Node::ChildrenFieldMask);
}

void removeChild(const osg::NodePtr& node, const osg::NodePtr& child) {
    osg::beginEditCP(node, osg::Node::ChildrenFieldMask);
    node->subChild(child);
    osg::endEditCP(node, osg::Node::ChildrenFieldMask);
}

} // namespace

osg::NodePtr ktStudioDocument::getRoot() const {
    if (!file)
        return osg::NullFC;
    return added.empty() ? file->getRoot() : osg::NodePtr(group);
}

std::vector<osg::NodePtr> ktStudioDocument::getTopNodes() const {
    std::vector<osg::NodePtr> nodes = file ? file->getTopNodes() : std::vector<osg::NodePtr>();
    for (const std::shared_ptr<ktAddedScene>& scene : added)
        for (const osg::NodePtr& node : scene->getFile().getTopNodes())
            nodes.push_back(node);
    return nodes;
}

std::vector<osg::NodePtr> ktStudioDocument::getTreeNodes() const {
    if (added.empty())
        return getTopNodes();
    std::vector<osg::NodePtr> nodes = {file->getRoot()};
    for (const std::shared_ptr<ktAddedScene>& scene : added)
        nodes.push_back(scene->getFile().getRoot());
    return nodes;
}

const std::vector<ktSceneCamera>& ktStudioDocument::getCameras() const {
    return file->getCameras();
}

QStringList ktStudioDocument::getAddedPaths() const {
    QStringList paths;
    for (const std::shared_ptr<ktAddedScene>& scene : added)
        paths << scene->getPath();
    return paths;
}

ktStudioReadOptions ktStudioDocument::optionsOfAdded(const QString& newPath) const {
    ktStudioReadOptions newOptions;
    // The files of one program have one unit and one up axis.
    if (QFileInfo(newPath).suffix().compare(QFileInfo(path).suffix(), Qt::CaseInsensitive) == 0) {
        newOptions = readOptions;
        newOptions.groundPlane = false;
        newOptions.unit = QString::number(getUnit_mm(), 'g', 17);
    }
    return newOptions;
}

std::shared_ptr<ktAddedScene> ktStudioDocument::readAdded(const QString& newPath) {
    ReadScene scene = read(newPath, optionsOfAdded(newPath));
    return scene.file ? std::make_shared<ktAddedScene>(std::move(scene.file), newPath, std::move(scene.sources))
                      : nullptr;
}

int ktStudioDocument::addFiles(const QStringList& paths) {
    if (!file || reading)
        return 0;
    std::vector<std::shared_ptr<ktAddedScene>> scenes;
    for (const QString& newPath : paths)
        if (auto scene = readAdded(QFileInfo(newPath).absoluteFilePath()))
            scenes.push_back(std::move(scene));
    if (scenes.empty())
        return 0;
    const int count = static_cast<int>(scenes.size());
    const bool isMacro = count > 1 && !ktUndoPause::isActive();
    if (isMacro)
        undoStack().beginMacro(tr("Add %n files", "", count));
    for (const std::shared_ptr<ktAddedScene>& scene : scenes)
        undoStack().add(new AddCommand(*this, scene));
    if (isMacro)
        undoStack().endMacro();
    showPictures();
    return count;
}

void ktStudioDocument::attach(const std::shared_ptr<ktAddedScene>& scene) {
    const std::vector<osg::NodePtr> selected = ktScenegraph::getSelectedRootNodes();
    if (added.empty()) {
        group = osg::makeNodeFor(osg::Group::create());
        nameRoot(*file, QFileInfo(path).fileName());
        addChild(group, file->getRoot());
    }
    added.push_back(scene);
    addChild(group, scene->getFile().getRoot());
    showTree(selected);
}

void ktStudioDocument::detach(const std::shared_ptr<ktAddedScene>& scene) {
    const std::vector<osg::NodePtr> selected = ktScenegraph::getSelectedRootNodes();
    ktSceneState::clearSelection();
    removeChild(group, scene->getFile().getRoot());
    added.erase(std::remove(added.begin(), added.end(), scene), added.end());
    if (added.empty()) {
        removeChild(group, file->getRoot());
        nameRoot(*file, {});
    }
    showTree(selected);
}

// Those that are not in the scene any more leave the selection.
void ktStudioDocument::showTree(const std::vector<osg::NodePtr>& selected) {
    ktSceneState::setRootNode(getRoot());
    if (added.empty())
        group = osg::NullFC;
    diagonal = ktSceneDiagonal(getRoot());
    ktSceneState::setSelection(selected);
    emit filesChanged();
}

bool ktStudioDocument::saveWith(const QString& newPath, bool multiplyColors, double exposure, double strength,
                                ktCompressionMode compression) {
    const ktStudioOptions kept = options;
    options.multiplyColors = multiplyColors;
    options.exposure = exposure;
    options.strength = strength;
    options.compression = compression;
    const bool isSaved = saveAs(newPath);
    options = kept;
    return isSaved;
}

bool ktStudioDocument::saveAdded() {
    const QString folder = QFileInfo(outputPath).path();
    for (const std::shared_ptr<ktAddedScene>& scene : added) {
        if (!scene->isChanged())
            continue;
        const QString output = scene->chooseOutput(folder);
        if (!saveOne(scene->getFile(), output))
            return false;
        scene->noteSaved(output);
    }
    return true;
}

std::vector<ktStudioDocument::AddedCopy> ktStudioDocument::saveAddedCopies(const QString& folder) {
    std::vector<AddedCopy> copies;
    for (const std::shared_ptr<ktAddedScene>& scene : added) {
        AddedCopy copy;
        copy.scene = scene->getPath();
        if (scene->isChanged()) {
            const QString copyPath = folder + "/added-" + QString::number(copies.size() + 1) + ".glb";
            ktFileReport report;
            if (writeTo(scene->getFile(), copyPath, report)) {
                copy.copy = copyPath;
            } else if (!isReadingCancelled)
                ktLog::warning("No copy for a recovery was written: %s", report.error.c_str());
        }
        if (copy.copy.isEmpty()) // a copy is as the file was read
            copy.options = optionsOfAdded(copy.scene);
        copy.options.unit = QString::number(scene->getFile().getUnit_mm(), 'g', 17);
        copies.push_back(copy);
    }
    return copies;
}

void ktStudioDocument::addCopies(const std::vector<AddedCopy>& copies) {
    const ktUndoPause pause; // they belong to what was read
    for (const AddedCopy& copy : copies) {
        const bool isCopy = !copy.copy.isEmpty();
        ReadScene copied = read(isCopy ? copy.copy : copy.scene, copy.options);
        if (!copied.file)
            continue;
        const auto scene = std::make_shared<ktAddedScene>(
            std::move(copied.file), copy.scene, isCopy ? std::set<QString>{copy.scene} : std::move(copied.sources));
        if (isCopy)
            scene->noteUnsaved();
        undoStack().add(new AddCommand(*this, scene));
    }
    showPictures();
}
