// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds the pending refinement of a geometry for the plug-in, and cancels the run if the rebuild fails.
#include "ktGeoSubdivisionList.h"

#include "ktControllerState.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktRecreateGeometry.h"

#include <exception>

ktGeoSubdivisionList::ktGeoSubdivisionList(const osg::GeometryPtr& geometry)
    : data(std::make_unique<ktGeoSubdivisionRecord>(geometry)) {}

ktGeoSubdivisionList::~ktGeoSubdivisionList() = default;

void ktGeoSubdivisionList::recreateGeometry() {
    try {
        ktRecreateRefinedGeometry(*data);
    } catch (const std::exception& error) {
        ktControllerState::failRun("Cannot rebuild the refined geometry of \"" + data->request.name +
                                   "\": " + error.what() + "; the calculation is cancelled");
    }
}
