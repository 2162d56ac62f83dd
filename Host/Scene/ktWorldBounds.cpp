// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures the bounding box of a tree's vertices in world space.
#include "ktWorldBounds.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGGeoProperty.h>

void ktWorldBounds::extend(const osg::Pnt3f& point) {
    if (isEmpty) {
        min = max = point;
        isEmpty = false;
        return;
    }
    for (osg::UInt32 axis = 0; axis < 3; ++axis) {
        min[axis] = std::min(min[axis], point[axis]);
        max[axis] = std::max(max[axis], point[axis]);
    }
}

double ktWorldBounds::diagonal() const {
    if (isEmpty)
        return 0.0;
    return std::hypot(double(max[0]) - min[0], double(max[1]) - min[1], double(max[2]) - min[2]);
}

ktWorldBounds ktMeasureWorldBounds(const osg::NodePtr& root, ktInstances which) {
    ktWorldBounds bounds;
    ktForEachGeometryInstance(root, which, [&](const ktGeometryInstance& instance) {
        const osg::GeoPositionsPtr positions = instance.geometry->getPositions();
        const osg::UInt32 count = positions == osg::NullFC ? 0 : positions->getSize();
        for (osg::UInt32 i = 0; i < count; ++i) {
            osg::Pnt3f point;
            instance.toWorld.mult(positions->getValue(i), point);
            if (std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]))
                bounds.extend(point);
        }
        return true;
    });
    return bounds;
}
