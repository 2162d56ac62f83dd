// SPDX-License-Identifier: LGPL-2.1-or-later
// Takes baked results away again, from what is shown of the selection or from all of it.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktNodePermission.h"
#include "ktScenegraph.h"

#include <OpenSG/OSGGL.h>
#include <OpenSG/OSGSwitch.h>

using namespace ktAmbientOcclusionInternal;

namespace {

constexpr osg::UInt32 shownMask = 0xFFFFFFFF;

/// Points and lines never receive results; the first primitive tells. Geometry without primitives counts as surface.
bool isPointsOrLines(const osg::GeometryPtr& geometry) {
    const osg::GeoPTypesPtr types = geometry->getTypes();
    if (types == osg::NullFC || types->getSize() == 0)
        return false;
    const osg::UInt32 first = types->getValue(0);
    return first == GL_POINTS || first == GL_LINES || first == GL_LINE_LOOP || first == GL_LINE_STRIP;
}

/// Puts the children to visit on top of `pending`, the first uppermost: all, or those that a switch shows.
void pushChildren(const osg::NodePtr& node, bool all, std::vector<osg::NodePtr>& pending) {
    const osg::UInt32 count = node->getNChildren();
    const osg::SwitchPtr selector = osg::SwitchPtr::dcast(node->getCore());
    if (!all && selector != osg::NullFC && selector->getChoice() != osg::Switch::ALL) {
        const osg::Int32 choice = selector->getChoice();
        if (choice >= 0 && static_cast<osg::UInt32>(choice) < count)
            pending.push_back(node->getChild(static_cast<osg::UInt32>(choice)));
        return;
    }
    for (osg::UInt32 i = count; i > 0; --i)
        pending.push_back(node->getChild(i - 1));
}

/// Calls `clear` with the surface geometry below `root`, each parent before its children. Scenes may be deeper than the
/// stack.
template <class Clear>
void clearBelow(const osg::NodePtr& root, bool all, Clear clear) {
    std::vector<osg::NodePtr> pending{root};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (node == osg::NullFC || node->getCore() == osg::NullFC ||
            !ktNodePermission::allows(node, ktNodePermission::ChangeIllumination))
            continue;
        if (!all && node->getTravMask() != shownMask)
            continue;
        const osg::GeometryPtr geometry = geometryOf(node);
        if (geometry != osg::NullFC && !isPointsOrLines(geometry))
            clear(geometry);
        pushChildren(node, all, pending);
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
    for (osg::Vec4f& value : *results->editFieldPtr())
        value.setValues(0, 0, 0, value[3]);
    osg::endEditCP(results);
    osg::beginEditCP(geometry);
    geometry->setTexCoords7(results);
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
