// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens and closes the scene, and sets the selection.
#include "ktSceneState.h"

#include "ktHostSignals.h"
#include "ktNodeLocator.h"
#include "ktSceneStorage.h"

#include <unordered_set>
#include <utility>

namespace {

void select(std::vector<osg::UInt32> ids) {
    ktSceneStorage& storage = ktSceneStorage::the();
    if (ids == storage.selectedIds)
        return;
    storage.selectedIds = std::move(ids);
    emit ktHostSignals::the().selectionChanged();
}

} // namespace

ktSceneStorage& ktSceneStorage::the() {
    // Never destroyed: at the end of the process the scene graph's static objects may be destroyed first.
    static auto& storage = *new ktSceneStorage;
    return storage;
}

void ktSceneState::setRootNode(const osg::NodePtr& root) {
    ktSceneStorage& storage = ktSceneStorage::the();
    if (root == storage.root)
        return;
    clearSelection();
    osg::setRefdCP(storage.root, root);
    emit ktHostSignals::the().sceneChanged();
}

std::size_t ktSceneState::setSelection(const std::vector<osg::NodePtr>& nodes) {
    std::vector<osg::UInt32> ids;
    std::unordered_set<osg::UInt32> seen;
    ktNodeLocator locator(ktSceneStorage::the().root, {});
    for (const osg::NodePtr& node : nodes)
        if (locator.find(node) != ktNodeLocation::OutsideScene && seen.insert(node.getFieldContainerId()).second)
            ids.push_back(node.getFieldContainerId());
    const std::size_t count = ids.size();
    select(std::move(ids));
    return count;
}

std::vector<std::string> ktSceneState::selectByName(const std::vector<std::string>& texts) {
    std::vector<osg::NodePtr> nodes;
    std::vector<std::string> unknown;
    for (const std::string& text : texts) {
        const std::vector<osg::NodePtr> found = findNodes(text);
        if (found.empty())
            unknown.push_back(text);
        nodes.insert(nodes.end(), found.begin(), found.end());
    }
    setSelection(nodes);
    return unknown;
}

void ktSceneState::clearSelection() {
    select({});
}

bool ktSceneState::isUpdateEnabled() {
    return ktSceneStorage::the().isUpdateEnabled;
}
