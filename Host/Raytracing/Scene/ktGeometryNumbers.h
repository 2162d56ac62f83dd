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

/// Finds the geometry of a call of the ray-tracing service. A call passes only arrays, so this class, and no other
/// code, compares addresses of positions. Main thread only.
class ktGeometryNumbers {
public:
    /// Adds a geometry and holds a reference to it. Ignores geometry without positions of three floats.
    void add(const osg::GeometryPtr& geometry);
    /// The geometry whose positions are now at this address; 0 if none was added, or if it has other positions
    /// meanwhile.
    ktGeometryNumber find(const osg::Pnt3f* positions) const;
    /// The geometry whose positions are now at this address; null as find() gives 0.
    osg::GeometryPtr geometry(const osg::Pnt3f* positions) const;
    void clear() { byPositions.clear(); }

private:
    std::unordered_map<const osg::Pnt3f*, osg::GeometryRefPtr> byPositions;
};
