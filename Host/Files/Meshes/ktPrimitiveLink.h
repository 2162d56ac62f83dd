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
    /// Source vertex of each vertex; ascending, except for the vertices added at creases, which come last. Empty:
    /// vertex i is source vertex i.
    std::vector<std::uint32_t> source;
    std::size_t sourceCount = 0;   ///< elements of the primitive's attributes
    std::size_t vertexCount = 0;   ///< vertices after reading
    std::size_t splitVertices = 0; ///< vertices added at creases; their sources have another vertex, too
    bool keepsVertices = false;    ///< the file's vertices stay; all vertices of a source have one value
    bool hasNormals = false;       ///< the file has its normals
    bool isFlat = true;            ///< it has none, and viewers need none: all calculated normals are those of faces
    int colorWidth = 0;            ///< components of the file's colours; 0: none
    bool hasLostLight = false;     ///< COLOR_0 holds light of a bake whose other attributes a tool dropped
    /// What was turned after reading, by vertex as read: flags. Empty: nothing. All vertices of a part have the same
    /// turnedTriangles. What is written is turned back.
    std::vector<std::uint8_t> turned;
    static constexpr std::uint8_t turnedNormal = 1;    ///< the normal points to the other side than in the file
    static constexpr std::uint8_t turnedTriangles = 2; ///< the triangles face the other way than in the file
    bool isAnimated = false;                           ///< a skin or a morph moves its vertices
    bool isGroundPlane = false;
    std::vector<ktAttributeSlot> attributeSlots;
    std::vector<std::string> lostWhenRefined; ///< attributes without a slot

    /// Whether it was refined: the number of its vertices has changed since reading.
    bool isRefined() const {
        const osg::GeoPositionsPtr positions = geometry->getPositions();
        return positions != osg::NullFC && positions->getSize() != vertexCount;
    }
    /// Whether the file gets the vertices that were added at creases.
    bool isSplit() const { return splitVertices > 0 && !keepsVertices; }
    /// Whether vertices of the geometry share a vertex of the file.
    bool sharesVertices() const { return splitVertices > 0 && keepsVertices; }
    /// For each vertex as read the first vertex of its source.
    std::vector<std::uint32_t> firstVertices() const;
    /// Whether viewers need the calculated normals. Skins and morphs would need them in other poses, too.
    bool writesNormals() const { return !hasNormals && !isFlat && !isAnimated && !sharesVertices(); }
    std::size_t sourceOf(std::size_t vertex) const { return source.empty() ? vertex : source[vertex]; }
};
