// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAttributeSlots.h"

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <vector>

/// What ties a geometry of the scene graph to the primitive of the document that it shows.
struct ktPrimitiveLink {
    std::size_t mesh = 0;
    std::size_t primitive = 0; ///< within the mesh
    osg::GeometryRefPtr geometry;
    std::vector<std::uint32_t> source; ///< source vertex of each vertex, ascending; empty: vertex i is source vertex i
    std::size_t sourceCount = 0;       ///< elements of the primitive's attributes
    std::size_t vertexCount = 0;       ///< vertices when it was read
    bool hasNormals = false;           ///< its normals came with the file
    int colorWidth = 0;                ///< components of the colours that came in; 0: none
    bool isAnimated = false;           ///< a skin or a morph moves its vertices
    bool isGroundPlane = false;
    std::vector<ktAttributeSlot> slots;
    std::vector<std::string> lostWhenRefined; ///< attributes that found no slot

    /// Whether it has other vertices than the file: it was refined.
    bool isRefined() const {
        const osg::GeoPositionsPtr positions = geometry->getPositions();
        return positions != osg::NullFC && positions->getSize() != vertexCount;
    }
    std::size_t sourceOf(std::size_t vertex) const { return source.empty() ? vertex : source[vertex]; }
};
