// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <unordered_map>

/// Identifies a geometry: the id of its field container. Ids are never used again, unlike addresses. 0: no geometry.
using ktGeometryNumber = std::uint32_t;

inline ktGeometryNumber ktGetGeometryNumber(const osg::GeometryPtr& geometry) {
    return geometry.getFieldContainerId();
}

/// Finds out which geometry a call of the ray-tracing service means. The service gets arrays only, so this is the one
/// place that goes by the address of positions. Main thread only.
class ktGeometryNumbers {
public:
    /// Makes a geometry known and holds a reference to it. Geometry without positions of three floats is left out.
    void add(const osg::GeometryPtr& geometry);
    /// The geometry whose positions begin at this address now; 0 when it is not known, or has other positions
    /// meanwhile.
    ktGeometryNumber find(const osg::Pnt3f* positions) const;
    void clear() { byPositions.clear(); }

private:
    std::unordered_map<const osg::Pnt3f*, osg::GeometryRefPtr> byPositions;
};
