// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeGeometryList.h"

#include "ktGeometryInstances.h"
#include "ktNodeUtils.h"

#include <map>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGTriangleIterator.h>

std::vector<ktBakeGeometry> listGeometries(const osg::NodePtr& root) {
    std::vector<ktBakeGeometry> list;
    std::map<osg::UInt32, std::size_t> places;
    ktForEachGeometryInstance(root, ktInstances::All, [&](const ktGeometryInstance& instance) {
        const osg::GeometryPtr& geometry = instance.geometry;
        if (geometry->getPositions() == osg::NullFC)
            return true;
        const auto [place, isNew] = places.try_emplace(geometry.getFieldContainerId(), list.size());
        if (isNew) {
            // A part of an object is called like the object.
            const char* name = ktNodeUtils::getName(instance.node);
            if (!name)
                name = ktNodeUtils::getName(instance.node->getParent());
            list.push_back(
                {name ? name : "", geometry, geometry->getPositions()->getSize(), countTriangles(geometry), 0});
        }
        ++list[place->second].uses;
        return true;
    });
    return list;
}

std::uint64_t countTriangles(const osg::GeometryPtr& geometry) {
    if (geometry == osg::NullFC)
        return 0;
    bool hasStrips = false;
    for (osg::PrimitiveIterator primitive(geometry); !primitive.isAtEnd(); ++primitive)
        hasStrips = hasStrips || primitive.getType() == GL_TRIANGLE_STRIP || primitive.getType() == GL_QUAD_STRIP;
    if (!hasStrips) {
        osg::UInt32 triangles = 0, lines = 0, points = 0;
        osg::calcPrimitiveCount(geometry, triangles, lines, points);
        return triangles;
    }
    // Those that only connect parts of a strip do not count.
    std::uint64_t count = 0;
    for (osg::TriangleIterator triangle(geometry); !triangle.isAtEnd(); ++triangle)
        ++count;
    return count;
}
