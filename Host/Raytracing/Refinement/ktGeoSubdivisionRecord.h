// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <string>
#include <vector>

/// How a geometry is to be refined, as subdivideByIllumination() was told.
struct ktRefinementRequest {
    std::string name;        ///< of the node, for messages
    int rounds = 0;          ///< how often edges may be halved
    float threshold = 0;     ///< difference of light
    float minEdgeLength = 0; ///< world units
    osg::Matrix toWorld;     ///< object to world
    bool indirect = false;   ///< look at the indirect light; else at the direct one
};

/// What a pending refinement holds: the request, and, once it is worked out, the new mesh.
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
    std::function<void(ktGeoSubdivisionRecord*)> onDestroy; ///< whoever keeps the address forgets it

    bool isReady = false; ///< all below is filled
    /// Each new vertex lies in the middle between two others, old ones or new ones before it.
    std::vector<std::array<std::uint32_t, 2>> parents;
    std::vector<osg::Vec4f> results;      ///< channel 7 of the new vertices
    std::vector<osg::Vec4f> baked;        ///< channel 5 of the new vertices, without the marker
    std::vector<std::uint32_t> triangles; ///< all of the geometry, three vertices each
};
