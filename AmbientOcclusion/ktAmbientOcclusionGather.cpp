// SPDX-License-Identifier: LGPL-2.1-or-later
// The indirect pass: gathers one bounce of light for each vertex.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktLuminance.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"
#include "OSGUberMaterial.h"

#include <iostream>

using namespace ktAmbientOcclusionInternal;

namespace {

osg::Color3f surfaceColorOf(const osg::MaterialPtr& material, bool colorBleeding) {
    if (material == osg::NullFC)
        return osg::Color3f(1, 1, 1);
    const osg::UberMaterialPtr uberMaterial = osg::UberMaterialPtr::dcast(material);
    if (uberMaterial == osg::NullFC)
        return osg::Color3f(1, 1, 1);
    const osg::Color3f color = uberMaterial->getColor();
    if (colorBleeding)
        return color;
    const float y = ktLuminance(color.getValuesRGB());
    return osg::Color3f(y, y, y);
}

} // namespace

void ktAmbientOcclusion::gatherIndirectIllumination() {
    std::cout << "Start gathering:" << std::endl;
    tracePass(true, [this](const PassVertices& vertices) {
        const osg::Color3f surfaceColor = surfaceColorOf(getRealMaterial(vertices.node), colorBleeding);
        ktRaytracingManager::getRaytracingUtils()->gatherVertexIllumination(
            vertices.count, &vertices.toWorld, vertices.positions, vertices.normals, vertices.results, &surfaceColor,
            !vertices.isIdentity, gatherSampler, 1, mode != Classic);
    });
}
