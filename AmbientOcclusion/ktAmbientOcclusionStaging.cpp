// SPDX-License-Identifier: LGPL-2.1-or-later
// Clears, saves and restores the result channels around a run.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"

#include <algorithm>
#include <iostream>

using namespace ktAmbientOcclusionInternal;

namespace {

// A node with this many references is not from the run's working copy.
constexpr int suspiciousRefCount = 11;

void copyValues(const osg::GeoTexCoords4fPtr& source, std::vector<osg::Vec4f>& target) {
    const osg::MFVec4f& values = *source->getFieldPtr();
    for (osg::UInt32 i = 0; i < target.size(); ++i)
        target[i] = values[i];
}

void copyValues(const std::vector<osg::Vec4f>& source, const osg::GeoTexCoords4fPtr& target) {
    osg::MFVec4f& values = *target->getFieldPtr();
    const std::size_t count = std::min<std::size_t>(source.size(), values.size());
    for (osg::UInt32 i = 0; i < count; ++i)
        values[i] = source[i];
    announce(target);
}

} // namespace

void ktAmbientOcclusion::clearVertexColors(int lightMode) {
    int counter = -1; // index of the last good node, for the message
    for (const osg::NodePtr& node : geometryNodes) {
        if (node == osg::NullFC || node.getRefCount() >= suspiciousRefCount) {
            std::cout << "Bad Node Clear Vertex Colors" << counter << std::endl;
            continue;
        }
        ++counter;
        const osg::GeometryPtr geometry = geometryOf(node);
        const osg::GeoPositions3fPtr positions = usablePositions(geometry);
        if (positions == osg::NullFC)
            continue;
        const osg::UInt32 count = positions->size();
        const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, count);
        zeroIndirectLight(aoData);
        announce(aoData);

        if (lightMode == LightAndShadows) {
            const osg::GeoTexCoords4fPtr bakingData = getBakingData(geometry, count);
            for (osg::Vec4f& value : *bakingData->getFieldPtr())
                value.setValues(0, 0, 0, 0);
            announce(bakingData);
        } else if (geometry->getTexCoords5() != osg::NullFC &&
                   osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords5()) != osg::NullFC) {
            osg::beginEditCP(geometry, osg::GeometryBase::TexCoords5FieldMask);
            geometry->setTexCoords5(osg::NullFC);
            osg::endEditCP(geometry, osg::GeometryBase::TexCoords5FieldMask);
        }
    }
}

void ktAmbientOcclusion::extractNodeData(const osg::NodePtr& node, NodeDataType& data) {
    const osg::GeometryPtr geometry = geometryOf(node);
    const osg::GeoPositions3fPtr positions = usablePositions(geometry);
    if (positions == osg::NullFC)
        return;
    const osg::UInt32 count = positions->size();
    data.aoValues.resize(count);
    data.bakingValues.resize(count);
    copyValues(getAOData(geometry, count), data.aoValues);
    copyValues(getBakingData(geometry, count), data.bakingValues);
}

bool ktAmbientOcclusion::restoreNodeData(osg::NodePtr& node, const NodeDataType& data) {
    const osg::GeometryPtr geometry = geometryOf(node);
    if (geometry == osg::NullFC)
        return false;
    const osg::GeoPositions3fPtr positions = usablePositions(geometry);
    if (positions == osg::NullFC)
        return data.aoValues.empty();
    const osg::UInt32 count = positions->size();
    if (count != data.aoValues.size())
        return false;
    const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, count);
    const osg::GeoTexCoords4fPtr bakingData = getBakingData(geometry, count);
    copyValues(data.aoValues, aoData);
    copyValues(data.bakingValues, bakingData);
    return true;
}
