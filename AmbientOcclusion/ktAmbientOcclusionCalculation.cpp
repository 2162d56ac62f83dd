// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs a calculation: checks the selection, freezes the host, runs the passes, unfreezes the host.
#include "ktAmbientOcclusion.h"
#include "ktController.h"
#include "ktNodePermission.h"
#include "ktOSGWidget.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"
#include "ktScenegraph.h"

#include <algorithm>

namespace {

// Pattern 0 is stratified, lobe 1 is cosine-weighted. Samples move by a quarter of their stratum.
ktSampler* createSampler(ktRaytracingUtils* utils, int count) {
    return utils->createSampler(count, count, 0, 1, 0.25f, 0.25f);
}

// Detaches the children from the first to the last. They are reversed before, because removing the first of many moves
// all others.
void releaseWorkingTree(const osg::NodePtr& root) {
    osg::beginEditCP(root, osg::Node::ChildrenFieldMask);
    std::reverse(root->getMFChildren()->begin(), root->getMFChildren()->end());
    while (root->getNChildren() > 0)
        root->subChild(root->getNChildren() - 1);
    osg::endEditCP(root, osg::Node::ChildrenFieldMask);
    osg::subRefCP(root);
}

} // namespace

bool ktAmbientOcclusion::startCalculation(bool onlyMissing) {
    if (calculating)
        return false;
    ktRaytracingUtils* utils = ktRaytracingManager::getRaytracingUtils();
    if (!utils)
        return false;
    updateState(Starting, 0);

    std::vector<ktNodePtr> selectedNodes = ktScenegraph::getSelectedRootNodes();
    if (selectedNodes.empty()) {
        Q_EMIT calculationFailedNoSelection();
        return false;
    }
    const auto isLocked = [](const ktNodePtr& node) {
        return !ktNodePermission::allows(node, ktNodePermission::ChangeIllumination);
    };
    selectedNodes.erase(std::remove_if(selectedNodes.begin(), selectedNodes.end(), isLocked), selectedNodes.end());
    if (selectedNodes.empty()) {
        Q_EMIT calculationFailedLockedSelection();
        return false;
    }

    calculating = true;
    keepRunning = true;
    ktScenegraph::enableUpdate(false);
    const bool renderWasEnabled = ktOSGWidget::isRenderEnabled();
    const int raytracing = ktOSGWidget::getRaytracing();
    ktOSGWidget::enableRender(false);
    ktController::setBusy(true, true);
    ktOSGWidget::getMGLWCount();

    directSampler = createSampler(utils, directSampleCountU);
    gatherSampler = createSampler(utils, gatherSampleCount);
    directThreshold = intensityThreshold;
    indirectThreshold = intensityThreshold;
    updateState(Preparing, 0);
    refineDirect = subdivide && shadowQuality > 1;
    refineIndirect = subdivide && gatherQuality > 1;
    utils->setMaterialOverride(colorBleeding, overrideMaterialColor, materialColor.getValuesRGB());

    const osg::AmbientOcclusionSettingsAttachmentPtr attachment = getAmbientOcclusionSettings();
    osg::addRefCP(attachment);
    for (const ktNodePtr& node : selectedNodes)
        addAOData(node, attachment);
    osg::subRefCP(attachment);

    passOption = true;
    const osg::NodePtr workingRoot = buildGeometryNodeList(selectedNodes, geometryNodes, onlyMissing);
    if (!geometryNodes.empty()) {
        buildVisibleNodeList();
        computeIllumination(indirectIllumination);
    }

    updateState(Finishing, 0);
    releaseWorkingTree(workingRoot);
    utils->releaseSampler(directSampler);
    utils->releaseSampler(gatherSampler);
    directSampler = nullptr;
    gatherSampler = nullptr;
    releaseSubdivisionLists();
    geometryNodes.clear();
    occluderNodes.clear();
    visibleGeometryNodes.clear();
    visibleLightNodes.clear();

    utils->restoreRaytracing(raytracing);
    ktController::setBusy(false, true);
    ktOSGWidget::enableRender(renderWasEnabled);
    ktScenegraph::enableUpdate(true);
    calculating = false;
    keepRunning = false;
    updateState(Idle, 0);
    ktController::setModified(1);
    ktScenegraph::update(true);
    Q_EMIT calculationStarted(onlyMissing);
    return true;
}
