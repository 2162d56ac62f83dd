// SPDX-License-Identifier: LGPL-2.1-or-later
// Clears baked results of the selection, or only of its visible parts.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktNodePermission.h"
#include "ktScenegraph.h"

#include <OpenSG/OSGSwitch.h>

using namespace ktAmbientOcclusionInternal;

namespace {

/// Pushes the children to visit on `pending`: all, the first on top, or the one that a switch shows.
void pushToVisit(const osg::NodePtr& node, bool all, std::vector<osg::NodePtr>& pending) {
    const osg::SwitchPtr selector = osg::SwitchPtr::dcast(node->getCore());
    if (all || selector == osg::NullFC || selector->getChoice() == osg::Switch::ALL)
        return pushChildren(node, pending);
    const osg::Int32 choice = selector->getChoice();
    if (choice >= 0 && static_cast<osg::UInt32>(choice) < node->getNChildren())
        pending.push_back(node->getChild(static_cast<osg::UInt32>(choice)));
}

/// Calls `clear` for the surface geometry below `root`, each parent before its children. Not recursive: scenes may be
/// very deep.
template <class Clear>
void clearBelow(const osg::NodePtr& root, bool all, Clear clear) {
    std::vector<osg::NodePtr> pending{root};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (node == osg::NullFC || node->getCore() == osg::NullFC ||
            !ktNodePermission::allows(node, ktNodePermission::ChangeIllumination))
            continue;
        if (!all && isHidden(node))
            continue;
        const osg::GeometryPtr geometry = geometryOf(node);
        if (geometry != osg::NullFC && !isLinesOrPoints(geometry))
            clear(geometry);
        pushToVisit(node, all, pending);
    }
}

void clearIndirectLight(const osg::GeometryPtr& geometry) {
    const osg::GeoTexCoordsPtr channel = geometry->getTexCoords7();
    if (channel == osg::NullFC)
        return;
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(channel);
    if (results == osg::NullFC)
        return;
    osg::beginEditCP(results);
    zeroIndirectLight(results);
    osg::endEditCP(results);
    // The geometry keeps the property. It only tells that its values are different.
    osg::beginEditCP(geometry);
    osg::endEditCP(geometry);
}

} // namespace

void ktAmbientOcclusion::clearShadows(const osg::NodePtr& node, bool all) {
    clearBelow(node, all, [this](const osg::GeometryPtr& geometry) { clearBakingData(geometry, true); });
}

void ktAmbientOcclusion::clearIndirect(const osg::NodePtr& node, bool all) {
    clearBelow(node, all, clearIndirectLight);
}

void ktAmbientOcclusion::clearActiveShadows() {
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        clearShadows(node, false);
    Q_EMIT activeShadowsCleared();
}

void ktAmbientOcclusion::clearAllShadows() {
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        clearShadows(node, true);
    Q_EMIT allShadowsCleared();
}

void ktAmbientOcclusion::clearActiveIndirect() {
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        clearIndirect(node, false);
    Q_EMIT activeIndirectCleared();
}

void ktAmbientOcclusion::clearAllIndirect() {
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        clearIndirect(node, true);
    Q_EMIT allIndirectCleared();
}
