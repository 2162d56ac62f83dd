// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktGeoSubdivisionList.h"

#include "ktCancelToken.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktLog.h"
#include "ktRecreateGeometry.h"

#include <exception>

ktGeoSubdivisionList::ktGeoSubdivisionList(const osg::GeometryPtr& geometry)
    : data(std::make_unique<ktGeoSubdivisionRecord>(geometry)) {}

ktGeoSubdivisionList::~ktGeoSubdivisionList() = default;

void ktGeoSubdivisionList::recreateGeometry() {
    try {
        ktRecreateRefinedGeometry(*data);
    } catch (const std::exception& error) {
        ktCancelToken::the().cancel();
        ktLog::error("Cannot rebuild the refined geometry of \"%s\": %s; the calculation is cancelled",
                     data->request.name.c_str(), error.what());
    }
}
