// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the settings of a calculation to nodes as a typed attachment, and loads them again.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktAmbientOcclusionTextSettings.h"
#include "ktNodeAttachments.h"
#include "ktNodePermission.h"
#include "ktNodeUtils.h"
#include "ktScenegraph.h"
#include "ktUndoStack.h"
#include "OSGValuePair.h"

using namespace ktAmbientOcclusionInternal;

osg::AmbientOcclusionSettingsAttachmentPtr ktAmbientOcclusion::getAmbientOcclusionSettings() {
    const osg::AmbientOcclusionSettingsAttachmentPtr settings = osg::AmbientOcclusionSettingsAttachment::create();
    osg::beginEditCP(settings);
    ktAmbientOcclusionSettings::forEachSetting([&](auto row) { row.setOnNode(*settings, row.get(*this)); });
    osg::endEditCP(settings);
    return settings;
}

namespace {

void removeTextSettings(const osg::NodePtr& node) {
    const auto values = ktFindAttachment<osg::ValuePair>(node);
    if (values == osg::NullFC)
        return;
    osg::beginEditCP(values);
    eraseTextSettings(values);
    osg::endEditCP(values);
    if (values->getSize() == 0)
        ktDetach(node, values);
}

bool mayChange(const osg::NodePtr& node) {
    return ktNodePermission::allows(node, ktNodePermission::ChangeIllumination);
}

} // namespace

void ktAmbientOcclusion::addAOData(const osg::NodePtr& root,
                                   const osg::AmbientOcclusionSettingsAttachmentPtr& attachment) {
    std::vector<osg::NodePtr> pending{root};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (node == osg::NullFC || !mayChange(node))
            continue;
        removeTextSettings(node);
        const auto old = ktFindAttachment<osg::AmbientOcclusionSettingsAttachment>(node);
        if (old != osg::NullFC)
            ktDetach(node, old);
        ktAttach(node, attachment);
        pushChildren(node, pending);
    }
}

void ktAmbientOcclusion::addAOData(const osg::NodePtr& root) {
    std::vector<osg::NodePtr> pending{root};
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (node == osg::NullFC || !mayChange(node) || ktNodeUtils::isGeometryComponent(node))
            continue;
        osg::ValuePairPtr values = ktFindAttachment<osg::ValuePair>(node);
        if (values == osg::NullFC) {
            values = osg::ValuePair::create();
            ktAttach(node, values);
        }
        osg::beginEditCP(values);
        writeTextSettings(*this, values);
        osg::endEditCP(values);
        pushChildren(node, pending);
    }
}

void ktAmbientOcclusion::loadFromNode(const osg::NodePtr& node) {
    if (node == osg::NullFC)
        return;
    const auto settings = ktFindAttachment<osg::AmbientOcclusionSettingsAttachment>(node);
    const auto values = ktFindAttachment<osg::ValuePair>(node);
    if (settings == osg::NullFC && values == osg::NullFC)
        return;
    ktUndoStack* undoStack = ktUndoStack::get(0);
    undoStack->beginMacro(tr("Load Ambient Occlusion From Node"));
    if (settings != osg::NullFC) {
        ktAmbientOcclusionSettings::forEachSetting([&](auto row) { row.set(*this, row.getOnNode(*settings)); });
    } else {
        loadTextSettings(*this, values);
    }
    undoStack->endMacro();
}

void ktAmbientOcclusion::loadSettings() {
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes()) {
        if (node != osg::NullFC) {
            loadFromNode(node);
            return;
        }
    }
}
