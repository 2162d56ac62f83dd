// SPDX-License-Identifier: LGPL-2.1-or-later
// The plug-in's part of refinement: chooses the geometry and thresholds, and owns the records.
#include "ktAmbientOcclusion.h"
#include "ktAnimManager.h"
#include "ktGeoSubdivisionList.h"
#include "ktNodeUtils.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"

#include <algorithm>
#include <memory>

void ktAmbientOcclusion::refineNode(const osg::NodePtr& node, const osg::GeometryPtr& geometry,
                                    const osg::Matrix& toWorld, bool isIdentity, bool indirect) {
    const auto isOccluder = [&] {
        const auto found = std::lower_bound(occluderNodes.begin(), occluderNodes.end(), node, geomPtrLess);
        return found != occluderNodes.end() && geomPtrEqual(*found, node);
    };
    if (!passOption && !isOccluder())
        return;
    if (ktAnimManager::the()->hasVertexAnimation(node))
        return;
    osg::Matrix inverseToWorld;
    osg::Matrix normalMatrix;
    if (!isIdentity) {
        inverseToWorld = toWorld;
        inverseToWorld.invert();
        inverseToWorld.transposed(normalMatrix);
    }
    updateState(indirect ? GatherNodeStep : DirectNodeStep, osg::getContainerId(node));
    const char* name = NodeUtils::getName(node);
    refineGeometry(name ? name : "", geometry, toWorld, inverseToWorld, normalMatrix, indirect);
}

bool ktAmbientOcclusion::refineGeometry(const std::string& name, osg::GeometryPtr geometry, const osg::Matrix& toWorld,
                                        const osg::Matrix& inverseToWorld, const osg::Matrix& normalMatrix,
                                        bool indirect) {
    auto record = std::make_unique<ktGeoSubdivisionList>(geometry);
    subdivisionLists.push_back(record.get());
    ktGeoSubdivisionList* const list = record.release();
    const double threshold = indirect ? indirectThreshold : directThreshold;
    const int samples = indirect ? gatherSampleCount : directSampleCountU;
    ktRaytracingManager::getRaytracingUtils()->subdivideByIllumination(
        &name, subdivisionQuality, samples, list, geometry, static_cast<float>(threshold),
        static_cast<float>(minEdgeLength), &toWorld, &inverseToWorld, &normalMatrix, indirectIllumination, indirect,
        mode != Classic);
    return true;
}

void ktAmbientOcclusion::recreateRefinedGeometry() {
    ktRaytracingManager::getRaytracingUtils()->invalidateGeometry();
    for (ktGeoSubdivisionList* list : subdivisionLists) {
        list->recreateGeometry();
        delete list;
    }
    subdivisionLists.clear();
}

// A run may end with unused records: after a cancel, or if the direct pass does not refine.
void ktAmbientOcclusion::releaseSubdivisionLists() {
    for (ktGeoSubdivisionList* list : subdivisionLists)
        delete list;
    subdivisionLists.clear();
}
