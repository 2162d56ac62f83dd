// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitSolver.h"
#include "ktSplitEdges.h"
#include "ktWorldTransform.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <string>
#include <vector>

/// How to refine a geometry: the arguments of subdivideByIllumination().
struct ktRefinementRequest {
    std::string name;        ///< of the node, for messages
    int rounds = 0;          ///< how often edges may be halved
    float threshold = 0;     ///< difference of light that is refined
    float minEdgeLength = 0; ///< world units
    osg::Matrix toWorld;     ///< object to world
    bool indirect = false;   ///< compare indirect light; false: direct light
};

/// What a fitted pass traced for a geometry. ktMakeFitMesh() and ktFitPoints give the places of the samples.
struct ktPassSamples {
    std::shared_ptr<const std::vector<std::uint32_t>> triangles;
    ktWorldTransform toWorld;
    double density = 0;
    std::size_t mostPoints = 0;
    ktFitSamples samples;
    bool indirect = false;                        ///< gathered light; false: direct light
    std::vector<std::uint32_t> sharedValues = {}; ///< ktFitTask::sharedValues; empty: null
};

/// A pending refinement: the request and, after ktRefinement::run(), the new mesh.
struct ktGeoSubdivisionRecord {
    explicit ktGeoSubdivisionRecord(const osg::GeometryPtr& geometry_) : geometry(geometry_) {}
    ~ktGeoSubdivisionRecord() {
        if (onDestroy)
            onDestroy(this);
    }
    ktGeoSubdivisionRecord(const ktGeoSubdivisionRecord&) = delete;
    ktGeoSubdivisionRecord& operator=(const ktGeoSubdivisionRecord&) = delete;

    osg::GeometryRefPtr geometry;
    ktRefinementRequest request;
    std::function<void(ktGeoSubdivisionRecord*)> onDestroy; ///< tells the owner of a pointer to this record

    std::shared_ptr<const ktPassSamples> passSamples; ///< null if nothing is known

    bool isReady = false;            ///< everything below is filled
    ktSplitEdges parents;            ///< of the new vertices
    std::vector<osg::Vec4f> results; ///< channel 7 of the new vertices
    std::vector<osg::Vec4f> baked;   ///< channel 5 of the new vertices, without the marker
    /// Channels 7 and 5 of the original vertices, if a fit changes them; else empty. Where `baked` is empty, that of
    /// new vertices is interpolated between their parents.
    std::vector<osg::Vec4f> originalResults, originalBaked;
    std::vector<std::uint32_t> triangles; ///< all of the geometry, three vertices each
};
