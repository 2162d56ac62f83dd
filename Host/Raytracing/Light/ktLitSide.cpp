// SPDX-License-Identifier: LGPL-2.1-or-later
// Compares the winding of triangles with the normals of their corners.
#include "ktLitSide.h"

#include <OpenSG/OSGGeometry.h>

namespace {

constexpr std::size_t grain = 16384; // triangles between two looks at events

} // namespace

ktLitSide::ktLitSide(const ktTracedGeometry& traced, ktEventPump& pump) {
    const osg::GeometryPtr geometry = traced.geometry.get();
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    isUnknown = positions == osg::NullFC || normals == osg::NullFC || normals->getSize() < positions->getSize();
    if (isUnknown)
        return;
    // In object space; the triangles of a mirrored instance are in the opposite order.
    const float sign = traced.toWorld.isMirrored() ? -1.0f : 1.0f;
    const std::vector<std::uint32_t>& triangles = *traced.triangles;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        if (i % grain == 0)
            pump.handleEventsIfDue();
        const std::uint32_t* corners = &triangles[i];
        const osg::Pnt3f origin = positions->getField()[corners[0]];
        const osg::Vec3f winding =
            (positions->getField()[corners[1]] - origin).cross(positions->getField()[corners[2]] - origin);
        osg::Vec3f normal(0, 0, 0);
        for (int corner = 0; corner < 3; ++corner)
            normal += normals->getField()[corners[corner]];
        if (sign * winding.dot(normal) < 0) {
            isReversed.resize(triangles.size() / 3);
            isReversed[i / 3] = true;
        }
    }
}
