// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads and writes the per-vertex results: texture-coordinate channels 7 and 5 of a geometry.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"

using namespace ktAmbientOcclusionInternal;

namespace {

constexpr float marker = 2.0f;          // added to w in channel 5
constexpr float markerThreshold = 1.5f; // w from here on includes the marker
constexpr float presentThreshold = 1e-6f;

osg::GeoTexCoords4fPtr asResults(const osg::GeoTexCoordsPtr& property) {
    if (property == osg::NullFC)
        return osg::NullFC;
    return osg::GeoTexCoords4fPtr::dcast(property);
}

osg::GeoTexCoords4fPtr makeResults(osg::UInt32 count) {
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
    osg::beginEditCP(results);
    osg::MFVec4f& values = *results->getFieldPtr();
    values.resize(count);
    for (osg::UInt32 i = 0; i < count; ++i)
        values[i].setValues(0, 0, 0, 0);
    osg::endEditCP(results);
    return results;
}

// Handles one entry only: multi-index geometry becomes single-index before it is calculated.
void mapChannel(const osg::GeometryPtr& geometry, osg::UInt16 bit) {
    osg::MFUInt16& mapping = *geometry->getMFIndexMapping();
    if (mapping.size() == 1)
        mapping[0] = static_cast<osg::UInt16>(mapping[0] | bit);
}

// The results in a channel. Creates new ones if it has none or too few.
// put is a setter of Geometry: in OpenSG 1.8, those of GeometryBase count no references.
osg::GeoTexCoords4fPtr provideResults(const osg::GeometryPtr& geometry, const osg::GeoTexCoordsPtr& property,
                                      osg::UInt32 count, osg::BitVector field, osg::UInt16 mappingBit,
                                      void (osg::Geometry::*put)(const osg::GeoTexCoordsPtr&)) {
    const osg::GeoTexCoords4fPtr present = asResults(property);
    if (present != osg::NullFC && present->size() >= count)
        return present;
    const osg::GeoTexCoords4fPtr made = makeResults(count);
    const osg::BitVector mask = osg::GeometryBase::IndexMappingFieldMask | field;
    osg::beginEditCP(geometry, mask);
    (geometry.getCPtr()->*put)(made);
    mapChannel(geometry, mappingBit);
    osg::endEditCP(geometry, mask);
    return made;
}

} // namespace

osg::GeoTexCoords4fPtr ktAmbientOcclusion::getAOData(const osg::GeometryPtr& geometry, osg::UInt32 count) {
    return provideResults(geometry, geometry->getTexCoords7(), count, osg::GeometryBase::TexCoords7FieldMask,
                          osg::Geometry::MapTexCoords7, &osg::Geometry::setTexCoords7);
}

osg::GeoTexCoords4fPtr ktAmbientOcclusion::getBakingData(const osg::GeometryPtr& geometry, osg::UInt32 count) {
    return provideResults(geometry, geometry->getTexCoords5(), count, osg::GeometryBase::TexCoords5FieldMask,
                          osg::Geometry::MapTexCoords5, &osg::Geometry::setTexCoords5);
}

void ktAmbientOcclusion::storeDirectToBakingData() {
    for (const osg::NodePtr& node : geometryNodes) {
        const osg::GeometryPtr geometry = geometryOf(node);
        const osg::GeoPositions3fPtr positions = usablePositions(geometry);
        if (positions == osg::NullFC)
            continue;
        const osg::UInt32 count = positions->size();
        const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, count);
        if (mode == LightAndShadows) {
            const osg::GeoTexCoords4fPtr bakingData = getBakingData(geometry, count);
            const osg::MFVec4f& source = *aoData->getFieldPtr();
            osg::MFVec4f& target = *bakingData->getFieldPtr();
            const bool shared = &source == &target;
            for (osg::UInt32 i = 0; i < count; ++i) {
                if (!shared)
                    target[i] = source[i];
                if (target[i][3] < markerThreshold)
                    target[i][3] += marker;
            }
            announce(aoData);
            announce(bakingData);
            announce(geometry, osg::GeometryBase::TexCoords5FieldMask);
        } else {
            clearBakingData(geometry, false);
        }
        zeroIndirectLight(aoData);
        announce(aoData);
    }
}

void ktAmbientOcclusion::addIndirectToBakingData() {
    for (const osg::NodePtr& node : geometryNodes) {
        const osg::GeometryPtr geometry = geometryOf(node);
        const osg::GeoPositions3fPtr positions = usablePositions(geometry);
        if (positions == osg::NullFC)
            continue;
        const osg::UInt32 count = positions->size();
        const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, count);
        if (mode != LightAndShadows)
            continue;
        const osg::GeoTexCoords4fPtr bakingData = getBakingData(geometry, count);
        const osg::MFVec4f& source = *aoData->getFieldPtr();
        osg::MFVec4f& target = *bakingData->getFieldPtr();
        for (osg::UInt32 i = 0; i < count; ++i)
            target[i] += source[i];
        announce(bakingData);
        announce(geometry, osg::GeometryBase::TexCoords5FieldMask);
    }
}

void ktAmbientOcclusion::clearBakingData(const osg::GeometryPtr& geometry, bool clearDirect) {
    if (geometry == osg::NullFC)
        return;
    osg::beginEditCP(geometry);
    geometry->setTexCoords5(osg::NullFC);
    osg::endEditCP(geometry);
    const osg::GeoPositions3fPtr positions = usablePositions(geometry);
    if (positions == osg::NullFC)
        return;
    const osg::GeoTexCoords4fPtr aoData = getAOData(geometry, positions->size());
    for (osg::Vec4f& value : *aoData->getFieldPtr()) {
        if (clearDirect)
            value[3] = 0;
        else if (value[3] >= markerThreshold)
            value[3] -= marker;
    }
    announce(aoData);
}

bool ktAmbientOcclusion::isCalculationMissing(const osg::GeometryPtr& geometry, bool direct, bool indirect) {
    const osg::GeoPositions3fPtr positions = usablePositions(geometry);
    if (positions == osg::NullFC || usableNormals(geometry, positions->size()) == osg::NullFC)
        return false;
    bool haveDirect = !direct;
    bool haveIndirect = !indirect;
    const osg::GeoTexCoords4fPtr aoData = asResults(geometry->getTexCoords7());
    if (aoData != osg::NullFC && aoData->size() == positions->size()) {
        for (const osg::Vec4f& value : *aoData->getFieldPtr()) {
            if (haveDirect && haveIndirect)
                break;
            haveDirect = haveDirect || value[3] > presentThreshold;
            haveIndirect = haveIndirect || value[0] > presentThreshold || value[1] > presentThreshold ||
                           value[2] > presentThreshold;
        }
    }
    return !(haveDirect && haveIndirect);
}
