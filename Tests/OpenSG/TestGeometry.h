// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGPrimitiveIterator.h>
#include <vector>

/// Functions that create small geometries for the tests.

inline osg::GeoPTypesPtr makeTypes(const std::vector<osg::UInt8>& values) {
    const osg::GeoPTypesUI8Ptr property = osg::GeoPTypesUI8::create();
    property->getField().setValues(values);
    return property;
}

inline osg::GeoPLengthsPtr makeLengths(const std::vector<osg::UInt32>& values) {
    const osg::GeoPLengthsUI32Ptr property = osg::GeoPLengthsUI32::create();
    property->getField().setValues(values);
    return property;
}

inline osg::GeoIndicesPtr makeIndices(const std::vector<osg::UInt32>& values) {
    const osg::GeoIndicesUI32Ptr property = osg::GeoIndicesUI32::create();
    property->getField().setValues(values);
    return property;
}

inline osg::GeoPositionsPtr makePositions(const std::vector<osg::Pnt3f>& values) {
    const osg::GeoPositions3fPtr property = osg::GeoPositions3f::create();
    property->getField().setValues(values);
    return property;
}

inline osg::GeoNormalsPtr makeNormals(const std::vector<osg::Vec3f>& values) {
    const osg::GeoNormals3fPtr property = osg::GeoNormals3f::create();
    property->getField().setValues(values);
    return property;
}

/// Replaces the geometry's index mapping.
inline void setMapping(const osg::GeometryPtr& geometry, const std::vector<osg::UInt16>& entries) {
    geometry->getIndexMapping().setValues(entries);
}

/// One primitive with count positions (i, 0, 0).
inline osg::GeometryPtr makeRow(osg::UInt8 type, osg::UInt32 count) {
    const osg::GeometryPtr geometry = osg::Geometry::create();
    const osg::GeoPositionsPtr positions = osg::GeoPositions3f::create();
    for (osg::UInt32 i = 0; i < count; ++i)
        positions->push_back(osg::Pnt3f(osg::Real32(i), 0, 0));
    geometry->setPositions(positions);
    geometry->setTypes(makeTypes({type}));
    geometry->setLengths(makeLengths({count}));
    return geometry;
}
