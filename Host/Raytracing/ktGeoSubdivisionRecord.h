// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGGeometry.h>

/// What a pending refinement holds. No split is recorded by this host.
struct ktGeoSubdivisionRecord {
    explicit ktGeoSubdivisionRecord(const osg::GeometryPtr& geometry) : geometry(geometry) {}

    osg::GeometryRefPtr geometry;
};
