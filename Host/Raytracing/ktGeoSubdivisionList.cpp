// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktGeoSubdivisionList.h"

#include "ktGeoSubdivisionRecord.h"

ktGeoSubdivisionList::ktGeoSubdivisionList(const osg::GeometryPtr& geometry)
    : data(std::make_unique<ktGeoSubdivisionRecord>(geometry)) {}

ktGeoSubdivisionList::~ktGeoSubdivisionList() = default;

void ktGeoSubdivisionList::recreateGeometry() {}
