// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the geometry that a ray-tracing call means by the address of its positions.
#include "ktGeometryNumbers.h"

namespace {

const osg::Pnt3f* firstPosition(const osg::GeometryPtr& geometry) {
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    return positions != osg::NullFC && positions->getSize() > 0 ? &positions->getField()[0] : nullptr;
}

} // namespace

void ktGeometryNumbers::add(const osg::GeometryPtr& geometry) {
    if (const osg::Pnt3f* positions = firstPosition(geometry))
        byPositions.emplace(positions, geometry);
}

osg::GeometryPtr ktGeometryNumbers::geometry(const osg::Pnt3f* positions) const {
    const auto found = byPositions.find(positions);
    if (found == byPositions.end() || firstPosition(found->second.get()) != positions)
        return osg::NullFC;
    return found->second.get();
}

ktGeometryNumber ktGeometryNumbers::find(const osg::Pnt3f* positions) const {
    const osg::GeometryPtr found = geometry(positions);
    return found != osg::NullFC ? ktGetGeometryNumber(found) : 0;
}
