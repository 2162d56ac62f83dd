// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <memory>
#include <OpenSG/OSGGeometry.h>

struct ktGeoSubdivisionRecord;

/// The pending refinement of one geometry. ktRaytracingUtils::subdivideByIllumination() fills it and recreateGeometry()
/// carries it out. Main thread only.
class KT_HOST_EXPORT ktGeoSubdivisionList {
public:
    /// Creates an empty record and keeps the geometry alive. May throw std::bad_alloc.
    explicit ktGeoSubdivisionList(const osg::GeometryPtr& geometry);
    /// Drops the record. A refinement that was not carried out has no effect.
    ~ktGeoSubdivisionList();
    ktGeoSubdivisionList(const ktGeoSubdivisionList&) = delete;
    ktGeoSubdivisionList& operator=(const ktGeoSubdivisionList&) = delete;

    /// Rebuilds the geometry with the recorded vertices and triangles, including their results. Does nothing to a
    /// geometry without recorded splits. On an error, logs it and does nothing.
    void recreateGeometry();

    /// The host's internal record; never null.
    ktGeoSubdivisionRecord* record() const { return data.get(); }

private:
    std::unique_ptr<ktGeoSubdivisionRecord> data;
};
