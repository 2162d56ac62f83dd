// SPDX-License-Identifier: LGPL-2.1-or-later
// The part that the direct and the indirect pass share: a loop over the geometry, around the host's tracing.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"

#include <iostream>
#include <OpenSG/OSGWorldMatrices.h>
#include <QCoreApplication>

using namespace ktAmbientOcclusionInternal;

void ktAmbientOcclusion::tracePass(bool indirect, const std::function<void(const PassVertices&)>& trace) {
    osg::WorldMatrices worldMatrices;
    for (const osg::NodePtr& node : geometryNodes) {
        stepProgress();
        QCoreApplication::processEvents();
        if (!keepRunning)
            return;
        updateState(indirect ? GatherNode : DirectNode, osg::getContainerId(node));

        const osg::GeometryPtr geometry = geometryOf(node);
        const osg::GeoPositions3fPtr positions = usablePositions(geometry);
        if (positions == osg::NullFC)
            continue;
        PassVertices vertices;
        vertices.count = positions->size();
        const osg::GeoNormals3fPtr normals = usableNormals(geometry, vertices.count);
        if (normals == osg::NullFC) {
            if (!indirect) // reported once
                std::cout << "Wrong number of normals" << std::endl;
            continue;
        }
        const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, vertices.count);
        vertices.node = node;
        vertices.toWorld = worldMatrices.get(node);
        vertices.isIdentity = isIdentityMatrix(vertices.toWorld);
        vertices.positions = &(*positions->getFieldPtr())[0];
        vertices.normals = &(*normals->getFieldPtr())[0];
        vertices.results = &(*aoData->getFieldPtr())[0];
        numRays += vertices.count;
        trace(vertices);
        announce(aoData);
        const osg::BitVector mapping = indirect ? 0 : osg::GeometryBase::IndexMappingFieldMask;
        announce(geometry, mapping | osg::GeometryBase::TexCoords7FieldMask);

        if (indirect ? refineIndirect : refineDirect)
            refineNode(node, geometry, vertices.toWorld, vertices.isIdentity, indirect);
    }
}
