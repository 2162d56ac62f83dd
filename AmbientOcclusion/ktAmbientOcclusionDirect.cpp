// SPDX-License-Identifier: LGPL-2.1-or-later
// The direct pass: traces the share of open rays of each vertex, and the light of the lights.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>

using namespace ktAmbientOcclusionInternal;

void ktAmbientOcclusion::computeDirectIllumination() {
    // Ground planes first. The order inside the two groups does not matter; the results do not depend on the order.
    std::partition(geometryNodes.begin(), geometryNodes.end(), [this](const osg::NodePtr& node) {
        const osg::MaterialPtr material = getRealMaterial(node);
        return material != osg::NullFC && osg::UShadowMaterialPtr::dcast(material) != osg::NullFC;
    });

    tracePass(false, [this](const PassVertices& vertices) {
        ktRaytracingManager::getRaytracingUtils()->computeVertexOcclusion(
            vertices.count, &vertices.toWorld, vertices.positions, vertices.normals, vertices.results,
            !vertices.isIdentity, directSampler, directOption != 0, mode != Classic);
    });
}
