// SPDX-License-Identifier: LGPL-2.1-or-later
// Decides from the locks of a node and those above it whether the node may be changed.
#include "ktNodePermission.h"

#include "ktControllerState.h"
#include "ktNodeMarks.h"
#include "ktOriginalNodes.h"
#include "ktScenegraph.h"
#include "OSGNodeMarksAttachment.h"

#include <tuple>
#include <unordered_map>

namespace {

bool isLockedHereOrAbove(osg::NodePtr node) {
    while (node != osg::NullFC) {
        if (ktNodeMarks::isLocked(node))
            return true;
        node = node->getParent();
    }
    return false;
}

/// The locks of the scene nodes that hold a core.
enum class Holders { None, AllLocked, OneFree };

Holders findHolders(const osg::NodeCorePtr& core) {
    Holders holders = Holders::None;
    for (const osg::NodePtr& holder : core->getParents()) {
        if (!ktIsInScene(holder))
            continue;
        if (!isLockedHereOrAbove(holder))
            return Holders::OneFree;
        holders = Holders::AllLocked;
    }
    return holders;
}

// Caches the result by core: a part used ten thousand times has as many holders in the scene, and as many clones ask.
// Valid until the operation, the scene or any mark changes.
Holders findHoldersDuringOperation(const osg::NodeCorePtr& core) {
    static std::unordered_map<osg::UInt32, Holders> known;
    static auto knownFor = std::make_tuple(0ul, osg::UInt32(0), osg::UInt32(0));
    const osg::NodePtr root = ktScenegraph::getRootNode();
    const auto now = std::make_tuple(ktControllerState::getBusyCount(), osg::NodeMarksAttachment::getGeneration(),
                                     root == osg::NullFC ? 0u : root.getFieldContainerId());
    if (now != knownFor) {
        known.clear();
        knownFor = now;
    }
    const auto [entry, isNew] = known.try_emplace(core.getFieldContainerId(), Holders::None);
    if (isNew)
        entry->second = findHolders(core);
    return entry->second;
}

} // namespace

// A lock forbids every action, so the action is ignored.
bool ktNodePermission::allows(const osg::NodePtr& node, ktNodeAction /*action*/) {
    if (node == osg::NullFC || !osg::NodeMarksAttachment::exist())
        return true;
    if (node->getCore() != osg::NullFC && !ktIsInScene(node)) {
        const Holders holders =
            ktControllerState::isBusy() ? findHoldersDuringOperation(node->getCore()) : findHolders(node->getCore());
        if (holders != Holders::None)
            return holders == Holders::OneFree;
    }
    return !isLockedHereOrAbove(node);
}
