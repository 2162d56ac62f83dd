// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAttributeSlots.h"

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <vector>

/// The relation of a geometry of the scene graph to the primitive of the document that it shows.
struct ktPrimitiveLink {
    std::size_t mesh = 0;
    std::size_t primitive = 0; ///< within the mesh
    osg::GeometryRefPtr geometry;
    std::vector<std::uint32_t> source; ///< source vertex of each vertex, ascending; empty: vertex i is source vertex i
    std::size_t sourceCount = 0;       ///< elements of the primitive's attributes
    std::size_t vertexCount = 0;       ///< vertices after reading
    bool hasNormals = false;           ///< the file has its normals
    int colorWidth = 0;                ///< components of the file's colours; 0: none
    bool isAnimated = false;           ///< a skin or a morph moves its vertices
    bool isGroundPlane = false;
    std::vector<ktAttributeSlot> attributeSlots;
    std::vector<std::string> lostWhenRefined; ///< attributes without a slot

    /// Whether it was refined: the number of its vertices has changed since reading.
    bool isRefined() const {
        const osg::GeoPositionsPtr positions = geometry->getPositions();
        return positions != osg::NullFC && positions->getSize() != vertexCount;
    }
    std::size_t sourceOf(std::size_t vertex) const { return source.empty() ? vertex : source[vertex]; }
};
