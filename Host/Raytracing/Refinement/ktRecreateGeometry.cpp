// SPDX-License-Identifier: LGPL-2.1-or-later
// Rebuilds a refined geometry as plain triangles, with interpolated attributes and traced results.
#include "ktRecreateGeometry.h"

#include "ktEventPump.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktHostSignals.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr float bakedMarker = 2.0f; // added to w in channel 5; values of 1.5 or more carry it

using Parents = ktSplitEdges;

template <class Component>
Component interpolate(const ktSplitEdge& edge, Component a, Component b) {
    if constexpr (std::numeric_limits<Component>::is_integer)
        return static_cast<Component>(std::llround((1.0 - edge.at) * static_cast<double>(a) + edge.at * double(b)));
    else
        return static_cast<Component>(edge.interpolate(a, b));
}

template <class Component>
void appendInterpolated(osg::UInt8* data, std::size_t oldCount, std::size_t dimension, const Parents& parents) {
    auto* const values = reinterpret_cast<Component*>(data);
    for (std::size_t i = 0; i < parents.size(); ++i)
        for (std::size_t c = 0; c < dimension; ++c)
            values[(oldCount + i) * dimension + c] =
                interpolate(parents[i], values[parents[i].a * dimension + c], values[parents[i].b * dimension + c]);
}

void normalize(osg::UInt8* data, std::size_t begin, std::size_t end) {
    auto* const values = reinterpret_cast<float*>(data);
    for (std::size_t i = begin; i < end; ++i) {
        float* n = values + 3 * i;
        const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
        for (int c = 0; length > 0 && c < 3; ++c)
            n[c] = static_cast<float>(n[c] / length);
    }
}

// Appends the new vertices to a property with one element per vertex. Other properties stay unchanged.
template <class PropertyPtr>
void extend(const PropertyPtr& property, std::size_t oldCount, const Parents& parents, bool isNormal = false) {
    if (property == osg::NullFC || property->getSize() < oldCount)
        return;
    beginEditCP(property);
    property->resize(oldCount + parents.size());
    osg::UInt8* const data = property->getData();
    const std::size_t dimension = property->getDimension();
    switch (property->getFormat()) {
    case GL_FLOAT:
        appendInterpolated<float>(data, oldCount, dimension, parents);
        if (isNormal && dimension == 3)
            normalize(data, oldCount, oldCount + parents.size());
        break;
    case GL_DOUBLE:
        appendInterpolated<double>(data, oldCount, dimension, parents);
        break;
    case GL_UNSIGNED_BYTE:
        appendInterpolated<osg::UInt8>(data, oldCount, dimension, parents);
        break;
    case GL_BYTE:
        appendInterpolated<osg::Int8>(data, oldCount, dimension, parents);
        break;
    case GL_UNSIGNED_SHORT:
        appendInterpolated<osg::UInt16>(data, oldCount, dimension, parents);
        break;
    case GL_SHORT:
        appendInterpolated<osg::Int16>(data, oldCount, dimension, parents);
        break;
    case GL_UNSIGNED_INT:
        appendInterpolated<osg::UInt32>(data, oldCount, dimension, parents);
        break;
    default:
        break;
    }
    endEditCP(property);
}

void setTriangles(const osg::GeometryPtr& geometry, const std::vector<std::uint32_t>& triangles) {
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    beginEditCP(types);
    types->push_back(GL_TRIANGLES);
    endEditCP(types);
    beginEditCP(lengths);
    lengths->push_back(static_cast<osg::UInt32>(triangles.size()));
    endEditCP(lengths);
    beginEditCP(indices);
    indices->getField().resize(triangles.size());
    std::memcpy(indices->getData(), triangles.data(), triangles.size() * sizeof(osg::UInt32));
    endEditCP(indices);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setIndices(indices);
}

// Replaces the values from vertex `first` on by traced ones.
void setResults(const osg::GeoTexCoordsPtr& property, std::size_t first, const std::vector<osg::Vec4f>& values,
                float marker) {
    const osg::GeoTexCoords4fPtr channel = osg::GeoTexCoords4fPtr::dcast(property);
    if (channel == osg::NullFC || channel->getSize() < first + values.size())
        return;
    beginEditCP(channel);
    for (std::size_t i = 0; i < values.size(); ++i) {
        osg::Vec4f value = values[i];
        value[3] += marker;
        channel->getField()[static_cast<osg::UInt32>(first + i)] = value;
    }
    endEditCP(channel);
}

} // namespace

void ktRecreateRefinedGeometry(const ktGeoSubdivisionRecord& record) {
    if (!record.isReady || record.parents.empty())
        return;
    const osg::GeometryPtr geometry = record.geometry.get();
    const std::size_t oldCount = geometry->getPositions()->getSize();
    const Parents& parents = record.parents;
    // The triangles change last. Until then, event handlers see the old surface.
    ktEventPump pump;
    beginEditCP(geometry);
    extend(geometry->getPositions(), oldCount, parents);
    pump.handleEventsIfDue();
    extend(geometry->getNormals(), oldCount, parents, true);
    pump.handleEventsIfDue();
    extend(geometry->getColors(), oldCount, parents);
    extend(geometry->getSecondaryColors(), oldCount, parents);
    for (const osg::GeoTexCoordsPtr& texCoords :
         {geometry->getTexCoords(), geometry->getTexCoords1(), geometry->getTexCoords2(), geometry->getTexCoords3(),
          geometry->getTexCoords4(), geometry->getTexCoords5(), geometry->getTexCoords6(), geometry->getTexCoords7()}) {
        pump.handleEventsIfDue();
        extend(texCoords, oldCount, parents);
    }
    pump.handleEventsIfDue();
    const bool isOneChannel = geometry->getTexCoords5() == geometry->getTexCoords7();
    setResults(geometry->getTexCoords7(), 0, record.originalResults, 0.0f);
    setResults(geometry->getTexCoords7(), oldCount, record.results, 0.0f);
    if (!isOneChannel) {
        setResults(geometry->getTexCoords5(), 0, record.originalBaked, bakedMarker);
        setResults(geometry->getTexCoords5(), oldCount, record.baked, bakedMarker);
    }
    pump.handleEventsIfDue();
    setTriangles(geometry, record.triangles);
    endEditCP(geometry);
    emit ktHostSignals::the().geometryRefined(geometry.getFieldContainerId(), parents);
    // With many small geometries, this may be the only time that events are handled.
    pump.handleEvents();
}
