// SPDX-License-Identifier: LGPL-2.1-or-later
// The direct pass.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <iostream>
#include <QCoreApplication>

using namespace ktAmbientOcclusionInternal;

void ktAmbientOcclusion::computeDirectIllumination() {
    // Ground planes first. The order inside the two groups does not matter, to the results either.
    std::partition(geometryNodes.begin(), geometryNodes.end(), [this](const osg::NodePtr& node) {
        const osg::MaterialPtr material = getRealMaterial(node);
        return material != osg::NullFC && osg::UShadowMaterialPtr::dcast(material) != osg::NullFC;
    });

    for (const osg::NodePtr& node : geometryNodes) {
        stepProgress();
        QCoreApplication::processEvents();
        if (!keepRunning)
            return;
        updateState(DirectNode, osg::getContainerId(node));

        const osg::GeometryPtr geometry = geometryOf(node);
        const osg::Matrix toWorld = node->getToWorld();
        const bool isIdentity = isIdentityMatrix(toWorld);
        const osg::GeoPositions3fPtr positions = usablePositions(geometry);
        if (positions == osg::NullFC)
            continue;
        const osg::UInt32 count = positions->size();
        const osg::GeoNormals3fPtr normals = usableNormals(geometry, count);
        if (normals == osg::NullFC) {
            std::cout << "Wrong number of normals" << std::endl;
            continue;
        }

        const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, count);
        numRays += count;
        ktRaytracingManager::getRaytracingUtils()->computeVertexOcclusion(
            count, &toWorld, &(*positions->getFieldPtr())[0], &(*normals->getFieldPtr())[0],
            &(*aoData->editFieldPtr())[0], !isIdentity, directSampler, directOption != 0, mode != Classic);
        announce(aoData);
        announce(geometry, osg::GeometryBase::IndexMappingFieldMask | osg::GeometryBase::TexCoords7FieldMask);

        if (refineDirect)
            refineNode(node, geometry, toWorld, isIdentity, false);
    }
}
