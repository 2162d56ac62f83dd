// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPrimitiveLink.h"

class ktGltfStore;

/// The flags of ktPrimitiveLink::turned for each vertex that the geometry has now; empty if nothing was turned.
/// Vertices that refinement has added have those of their part.
std::vector<std::uint8_t> ktTurnedVertices(const ktPrimitiveLink& link);

/// Adds an accessor with the triangles of a geometry as indices of its vertices. Triangles face as in the file that was
/// read. Returns its index.
std::size_t ktAddTriangleIndices(ktGltfStore& store, const ktPrimitiveLink& link);
