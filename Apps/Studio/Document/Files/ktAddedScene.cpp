// SPDX-License-Identifier: LGPL-2.1-or-later
// A file that was added to the open scene, and whether its baked light is saved.
#include "ktAddedScene.h"

#include "ktBakedLight.h"
#include "ktSceneFile.h"

#include <OpenSG/OSGSimpleAttachments.h>
#include <QDir>
#include <QFileInfo>
#include <vector>

namespace {

std::uint64_t hashResults(const osg::NodePtr& root) {
    std::uint64_t state = ktBakedHashBegin;
    std::vector<osg::NodePtr> pending = {root};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (const auto geometry = osg::GeometryPtr::dcast(node->getCore()); geometry != osg::NullFC)
            state = ktHashBakedChannels(ktFindBakedChannels(geometry), state);
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            pending.push_back(node->getChild(i));
    }
    return state;
}

} // namespace

ktAddedScene::ktAddedScene(std::unique_ptr<ktSceneFile> file_, const QString& path_, std::set<QString> sources_)
    : file(std::move(file_)), path(path_), sources(std::move(sources_)), savedResults(hashResults(file->getRoot())) {
    osg::setName(file->getRoot(), QFileInfo(path).fileName().toStdString());
}

ktAddedScene::~ktAddedScene() = default;

bool ktAddedScene::isChanged() const {
    return hashResults(file->getRoot()) != savedResults;
}

QString ktAddedScene::chooseOutput(const QString& folder) const {
    if (!output.isEmpty() && QFileInfo(output).absolutePath() == QFileInfo(folder + "/.").absolutePath())
        return output;
    const QString name = QDir(folder).filePath(QFileInfo(path).completeBaseName() + "-baked");
    QString choice = name + ".glb";
    for (int number = 2; QFileInfo::exists(choice); ++number)
        choice = name + "-" + QString::number(number) + ".glb";
    return choice;
}

void ktAddedScene::noteSaved(const QString& newOutput) {
    output = newOutput;
    savedResults = hashResults(file->getRoot());
}

void ktAddedScene::noteUnsaved() {
    savedResults = ~hashResults(file->getRoot());
}
