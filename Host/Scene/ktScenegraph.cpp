// SPDX-License-Identifier: LGPL-2.1-or-later
// Gives plug-ins the scene's root and selected nodes, and announces changes of the scene.
#include "ktScenegraph.h"

#include "ktHostSignals.h"
#include "ktNodeLocator.h"
#include "ktSceneStorage.h"

#include <OpenSG/OSGFieldContainerFactory.h>

std::vector<ktNodePtr> ktScenegraph::getSelectedRootNodes() {
    const ktSceneStorage& storage = ktSceneStorage::the();
    std::vector<ktNodePtr> nodes;
    ktNodeLocator locator(storage.root, storage.selectedIds);
    for (const osg::UInt32 id : storage.selectedIds) {
        const auto node = osg::NodePtr::dcast(osg::FieldContainerFactory::the()->getContainer(id));
        const ktNodeLocation location = locator.find(node);
        if (location == ktNodeLocation::OutsideScene)
            nodes.emplace_back();
        else if (location == ktNodeLocation::InScene)
            nodes.push_back(node);
    }
    return nodes;
}

osg::NodePtr ktScenegraph::getRootNode() {
    return ktSceneStorage::the().root;
}

void ktScenegraph::enableUpdate(bool enable) {
    ktSceneStorage& storage = ktSceneStorage::the();
    if (enable == storage.isUpdateEnabled)
        return;
    storage.isUpdateEnabled = enable;
    emit ktHostSignals::the().updateEnabledChanged(enable);
}

// Views draw when they receive the signal, so a redraw needs nothing more.
void ktScenegraph::update(bool /*redraw*/) {
    ktSceneStorage& storage = ktSceneStorage::the();
    if (!storage.isUpdateEnabled || storage.isUpdating) // a receiver may call update()
        return;
    storage.isUpdating = true;
    emit ktHostSignals::the().sceneChanged();
    storage.isUpdating = false;
}
