// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds the run's ray counter, its clock, and the geometry checks that the plug-in's source files share.
#include "ktAmbientOcclusionInternal.h"

#include <chrono>
#include <OpenSG/OSGGL.h>

namespace ktAmbientOcclusionInternal {

std::uint64_t numRays = 0;
std::int64_t (*wallClock_us)() = readWallClock_us;
std::int64_t lastStateReport_us = -1;

std::int64_t readWallClock_us() {
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

osg::GeometryPtr geometryOf(const osg::NodePtr& node) {
    if (node == osg::NullFC || node->getCore() == osg::NullFC)
        return osg::NullFC;
    return osg::GeometryPtr::dcast(node->getCore());
}

osg::GeoPositions3fPtr usablePositions(const osg::GeometryPtr& geometry) {
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC)
        return osg::NullFC;
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    if (positions == osg::NullFC || positions->size() == 0)
        return osg::NullFC;
    return positions;
}

osg::GeoNormals3fPtr usableNormals(const osg::GeometryPtr& geometry, osg::UInt32 count) {
    if (geometry->getNormals() == osg::NullFC)
        return osg::NullFC;
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    if (normals == osg::NullFC || normals->size() < count)
        return osg::NullFC;
    return normals;
}

void zeroIndirectLight(const osg::GeoTexCoords4fPtr& results) {
    for (osg::Vec4f& value : *results->getFieldPtr())
        value.setValues(0, 0, 0, value[3]);
}

bool isLinesOrPoints(const osg::GeometryPtr& geometry) {
    const osg::GeoPTypesPtr types = geometry->getTypes();
    if (types == osg::NullFC || types->getSize() == 0)
        return false;
    const osg::UInt32 first = types->getValue(0);
    return first == GL_POINTS || first == GL_LINES || first == GL_LINE_LOOP || first == GL_LINE_STRIP;
}

bool isHidden(const osg::NodePtr& node) {
    return node->getTravMask() != 0xFFFFFFFF;
}

void pushChildren(const osg::NodePtr& node, std::vector<osg::NodePtr>& pending) {
    for (osg::UInt32 i = node->getNChildren(); i > 0; --i)
        pending.push_back(node->getChild(i - 1));
}

bool isIdentityMatrix(const osg::Matrix& matrix) {
    constexpr float tolerance = 1e-10f;
    for (osg::UInt32 row = 0; row < 4; ++row) {
        for (osg::UInt32 column = 0; column < 4; ++column) {
            const float difference = matrix[column][row] - (row == column ? 1.0f : 0.0f);
            if (!(difference <= tolerance && -difference <= tolerance))
                return false;
        }
    }
    return true;
}

} // namespace ktAmbientOcclusionInternal
