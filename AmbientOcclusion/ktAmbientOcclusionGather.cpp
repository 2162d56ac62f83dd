// SPDX-License-Identifier: LGPL-2.1-or-later
// One bounce of indirect light.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"
#include "OSGUberMaterial.h"

#include <iostream>
#include <QCoreApplication>

using namespace ktAmbientOcclusionInternal;

namespace {

// Relative luminance of linear Rec. 709 primaries.
float luminance(const osg::Color3f& color) {
    return 0.212671f * color[0] + 0.71516f * color[1] + 0.072169f * color[2];
}

osg::Color3f surfaceColorOf(const osg::MaterialPtr& material, bool colorBleeding) {
    if (material == osg::NullFC)
        return osg::Color3f(1, 1, 1);
    const osg::UberMaterialPtr uberMaterial = osg::UberMaterialPtr::dcast(material);
    if (uberMaterial == osg::NullFC)
        return osg::Color3f(1, 1, 1);
    const osg::Color3f color = uberMaterial->getColor();
    if (colorBleeding)
        return color;
    const float y = luminance(color);
    return osg::Color3f(y, y, y);
}

} // namespace

void ktAmbientOcclusion::gatherIndirectIllumination() {
    std::cout << "Start gathering:" << std::endl;
    for (const osg::NodePtr& node : geometryNodes) {
        stepProgress();
        QCoreApplication::processEvents();
        if (!keepRunning)
            return;
        updateState(GatherNode, osg::getContainerId(node));

        const osg::GeometryPtr geometry = geometryOf(node);
        const osg::Matrix toWorld = node->getToWorld();
        const bool isIdentity = isIdentityMatrix(toWorld);
        const osg::GeoPositions3fPtr positions = usablePositions(geometry);
        if (positions == osg::NullFC)
            continue;
        const osg::UInt32 count = positions->size();
        const osg::GeoNormals3fPtr normals = usableNormals(geometry, count);
        if (normals == osg::NullFC)
            continue; // the direct pass has said so

        const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, count);
        numRays += count;
        const osg::Color3f surfaceColor = surfaceColorOf(getRealMaterial(node), colorBleeding);
        ktRaytracingManager::getRaytracingUtils()->gatherVertexIllumination(
            count, &toWorld, &(*positions->getFieldPtr())[0], &(*normals->getFieldPtr())[0],
            &(*aoData->editFieldPtr())[0], &surfaceColor, !isIdentity, gatherSampler, 1, mode != Classic);
        announce(aoData);
        announce(geometry, osg::GeometryBase::TexCoords7FieldMask);

        if (refineIndirect)
            refineNode(node, geometry, toWorld, isIdentity, true);
    }
}
