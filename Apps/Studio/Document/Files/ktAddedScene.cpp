// SPDX-License-Identifier: LGPL-2.1-or-later
// A file that was added to the open scene, and whether its baked light is saved.
#include "ktAddedScene.h"

#include "ktBakedLight.h"
#include "ktSceneFile.h"

#include <cstring>
#include <OpenSG/OSGSimpleAttachments.h>
#include <QDir>
#include <QFileInfo>
#include <vector>

namespace {

/// FNV-1a over words. Source: G. Fowler, L. Noll and K.-P. Vo, The FNV Non-Cryptographic Hash Algorithm, 1991.
std::uint64_t hash(const osg::Vec4f* values, std::size_t count, std::uint64_t state) {
    for (std::size_t i = 0; values && i < count; ++i) {
        std::uint64_t words[2];
        std::memcpy(words, values[i].getValues(), sizeof words);
        for (const std::uint64_t word : words)
            state = (state ^ word) * 1099511628211u;
    }
    return state;
}

std::uint64_t hashResults(const osg::NodePtr& root) {
    std::uint64_t state = 14695981039346656037u;
    std::vector<osg::NodePtr> pending = {root};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (const auto geometry = osg::GeometryPtr::dcast(node->getCore()); geometry != osg::NullFC) {
            const ktBakedChannels channels = ktFindBakedChannels(geometry);
            state = hash(channels.results, channels.count, state);
            state = hash(channels.lamps, channels.count, state);
        }
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            pending.push_back(node->getChild(i));
    }
    return state;
}

} // namespace

ktAddedScene::ktAddedScene(std::unique_ptr<ktSceneFile> file_, const QString& path_)
    : file(std::move(file_)), path(path_), savedResults(hashResults(file->getRoot())) {
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
