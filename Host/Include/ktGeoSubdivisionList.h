// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <memory>
#include <OpenSG/OSGGeometry.h>

struct ktGeoSubdivisionRecord;

/// The pending refinement of one geometry: filled by ktRaytracingUtils::subdivideByIllumination(), carried out by
/// recreateGeometry(). Main thread only.
class KT_HOST_EXPORT ktGeoSubdivisionList {
public:
    /// Begins an empty record; keeps the geometry alive. May throw std::bad_alloc.
    explicit ktGeoSubdivisionList(const osg::GeometryPtr& geometry);
    /// Drops the record; a refinement that was not carried out leaves no trace.
    ~ktGeoSubdivisionList();
    ktGeoSubdivisionList(const ktGeoSubdivisionList&) = delete;
    ktGeoSubdivisionList& operator=(const ktGeoSubdivisionList&) = delete;

    /// Rebuilds the geometry with the recorded vertices and triangles, results included. Does nothing to a geometry
    /// without recorded splits, or on an error, which is logged.
    void recreateGeometry();

    /// The host's own view of the record; never null.
    ktGeoSubdivisionRecord* record() const { return data.get(); }

private:
    std::unique_ptr<ktGeoSubdivisionRecord> data;
};
