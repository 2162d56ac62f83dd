// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the triangles of a geometry as the indices of a glTF primitive, and turns them back as they were read.
#include "ktTriangleIndices.h"

#include "ktGltfStore.h"
#include "ktVertexPlaces.h"

#include <OpenSG/OSGTriangleIterator.h>

std::vector<std::uint8_t> ktTurnedVertices(const ktPrimitiveLink& link) {
    std::vector<std::uint8_t> turned = link.turned;
    if (turned.empty() || !link.isRefined())
        return turned;
    // Refinement adds vertices at the end.
    const osg::GeometryPtr geometry = link.geometry;
    turned.resize(geometry->getPositions()->size(), 0);
    ktVertexSets parts(turned.size());
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle)
        for (int corner = 1; corner < 3; ++corner)
            parts.join(static_cast<std::uint32_t>(triangle.getPositionIndex(0)),
                       static_cast<std::uint32_t>(triangle.getPositionIndex(corner)));
    for (std::size_t i = link.vertexCount; i < turned.size(); ++i)
        turned[i] = turned[parts.find(static_cast<std::uint32_t>(i))];
    return turned;
}

std::size_t ktAddTriangleIndices(ktGltfStore& store, const ktPrimitiveLink& link) {
    const int indexTarget = 34963;
    const osg::GeometryPtr geometry = link.geometry;
    std::vector<std::uint32_t> indices;
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle)
        for (int corner = 0; corner < 3; ++corner)
            indices.push_back(static_cast<std::uint32_t>(triangle.getPositionIndex(corner)));
    const std::vector<std::uint8_t> turned = ktTurnedVertices(link);
    for (std::size_t i = 0; !turned.empty() && i < indices.size(); i += 3)
        if (turned[indices[i]] & ktPrimitiveLink::turnedTriangles)
            std::swap(indices[i + 1], indices[i + 2]);
    ktGltfNewAccessor accessor;
    accessor.byteOffset = 0;
    accessor.count = indices.size();
    if (geometry->getPositions()->size() < 65535) {
        const std::vector<std::uint16_t> small(indices.begin(), indices.end());
        accessor.view = store.addView(small.data(), small.size() * sizeof small[0], 0, indexTarget);
        accessor.component = ktComponent::UnsignedShort;
    } else {
        accessor.view = store.addView(indices.data(), indices.size() * sizeof indices[0], 0, indexTarget);
        accessor.component = ktComponent::UnsignedInt;
    }
    return store.addAccessor(accessor);
}
