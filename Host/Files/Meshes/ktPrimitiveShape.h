// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfAccessor.h"

/// The vertices that a primitive uses, without gaps, and the indices that connect them.
struct ktPrimitiveShape {
    int mode = 4;                       ///< glTF's number: 0 points, 1 to 3 lines, 4 triangles, 5 strip, 6 fan
    std::vector<std::uint32_t> indices; ///< of vertices; empty: all in sequence
    std::vector<std::uint32_t> source;  ///< source vertex of each vertex, ascending; empty: vertex i is source vertex i
    std::vector<float> positions;       ///< x, y, z of each vertex, all finite

    std::size_t badIndices = 0;   ///< primitives left out because of an index out of range
    std::size_t badPositions = 0; ///< primitives left out because of a position that is not finite
    std::size_t incomplete = 0;   ///< vertices at the end that do not form a whole primitive

    std::size_t vertexCount() const { return positions.size() / 3; }
    const std::uint32_t* sourceOrNull() const { return source.empty() ? nullptr : source.data(); }
};

/// Packs the vertices of primitives. Keeps a table between calls: the time for many primitives of one large buffer is
/// proportional to the vertices that they use.
class ktVertexPacker {
public:
    /// @param indices the primitive's indices, moved from; null: all vertices of `positions` in sequence
    /// @return a shape without positions if nothing usable is left
    ktPrimitiveShape pack(int mode, std::vector<std::uint32_t>* indices, const ktGltfAccessor& positions);

private:
    void packUsed(ktPrimitiveShape& shape, const ktGltfAccessor& positions);

    std::vector<std::uint32_t> places; ///< per source vertex its packed index; "none" between calls
};

/// The triangles of a shape, three vertices each, with consistent winding; none for points and lines.
std::vector<std::uint32_t> ktTriangulate(const ktPrimitiveShape& shape);
/// Number of triangles with zero area.
std::size_t ktCountDegenerate(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles);
