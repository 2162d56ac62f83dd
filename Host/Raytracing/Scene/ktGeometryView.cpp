// SPDX-License-Identifier: LGPL-2.1-or-later
// Gives threads plain views of a geometry's arrays, and extracts valid triangles from all primitive types.
#include "ktGeometryView.h"

#include "ktCancelPoint.h"

#include <algorithm>
#include <cmath>

namespace {

template <class PropertyPtr>
ktGeometryView::Integers viewIntegers(const PropertyPtr& property) {
    ktGeometryView::Integers view;
    if (property == osg::NullFC || property->size() == 0)
        return view;
    view.data = property->getData();
    view.size = property->size();
    view.bytes = property->getFormatSize();
    return view;
}

// Collects the triangles of a geometry, primitive by primitive.
class Reader {
public:
    Reader(const ktGeometryView& view_, std::uint64_t& badTriangles) : view(view_), bad(badTriangles) {
        vertexCount = view.hasIndices ? view.indices.size / view.indexStride : view.positionCount;
    }

    std::vector<std::uint32_t> read() {
        std::uint32_t first = 0;
        for (std::uint32_t i = 0; i < view.types.size; ++i) {
            const std::uint32_t left = vertexCount - first;
            std::uint32_t length = left;
            if (view.hasLengths)
                length = i < view.lengths.size ? std::min(left, view.lengths[i]) : 0;
            readPrimitive(view.types[i], first, length);
            first += length;
        }
        return std::move(triangles);
    }

private:
    void readPrimitive(std::uint32_t type, std::uint32_t first, std::uint32_t length) {
        switch (type) {
        case GL_TRIANGLES:
            triangles.reserve(triangles.size() + length);
            for (std::uint32_t i = 0; i + 2 < length; i += 3)
                add(first + i, first + i + 1, first + i + 2);
            break;
        case GL_QUAD_STRIP:
            length -= length % 2; // a last vertex without a partner is ignored
            [[fallthrough]];
        case GL_TRIANGLE_STRIP: // every other triangle has the opposite winding
            for (std::uint32_t i = 0; i + 2 < length; ++i)
                i % 2 == 0 ? add(first + i, first + i + 1, first + i + 2)
                           : add(first + i + 1, first + i, first + i + 2);
            break;
        case GL_TRIANGLE_FAN:
        case GL_POLYGON:
            for (std::uint32_t i = 0; i + 2 < length; ++i)
                add(first, first + i + 1, first + i + 2);
            break;
        case GL_QUADS:
            for (std::uint32_t i = 0; i + 3 < length; i += 4) {
                add(first + i, first + i + 1, first + i + 2);
                add(first + i, first + i + 2, first + i + 3);
            }
            break;
        default: // points and lines have no surface
            break;
        }
    }

    void add(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        if (++visited % 65536 == 0)
            ktThrowIfCanceled();
        const std::uint32_t corners[3] = {positionOf(a), positionOf(b), positionOf(c)};
        for (std::uint32_t corner : corners) {
            if (corner >= view.positionCount || !isUsable(view.positions() + 3 * std::size_t(corner))) {
                ++bad;
                return;
            }
        }
        if (corners[0] != corners[1] && corners[1] != corners[2] && corners[2] != corners[0])
            triangles.insert(triangles.end(), corners, corners + 3);
    }

    std::uint32_t positionOf(std::uint32_t vertex) const {
        return view.hasIndices ? view.indices[std::size_t(vertex) * view.indexStride + view.positionSlot] : vertex;
    }

    static bool isUsable(const float* position) {
        const float largest = 1.0e18f;
        return std::fabs(position[0]) <= largest && std::fabs(position[1]) <= largest &&
               std::fabs(position[2]) <= largest;
    }

    const ktGeometryView& view;
    std::uint64_t& bad;
    std::uint32_t vertexCount = 0;
    std::uint64_t visited = 0;
    std::vector<std::uint32_t> triangles;
};

} // namespace

ktGeometryView ktViewGeometry(const osg::GeometryPtr& geometry) {
    ktGeometryView view;
    if (geometry == osg::NullFC || geometry->getPositions() == osg::NullFC)
        return view;
    view.types = viewIntegers(geometry->getTypes());
    view.hasLengths = geometry->getLengths() != osg::NullFC;
    view.lengths = viewIntegers(geometry->getLengths());
    view.hasIndices = geometry->getIndices() != osg::NullFC;
    view.indices = viewIntegers(geometry->getIndices());
    view.indexStride = std::max<std::uint32_t>(1, geometry->getIndexMapping().size());
    view.positionSlot =
        static_cast<std::uint32_t>(std::max<int>(0, geometry->calcMappingIndex(osg::Geometry::MapPosition)));

    const osg::GeoPositionsPtr positions = geometry->getPositions();
    view.positionCount = positions->size();
    if (view.positionCount == 0)
        return view;
    if (osg::GeoPositions3fPtr::dcast(positions) != osg::NullFC) {
        view.stored = reinterpret_cast<const float*>(positions->getData());
    } else {
        view.converted.reserve(3 * std::size_t(view.positionCount));
        for (std::uint32_t i = 0; i < view.positionCount; ++i) {
            const osg::Pnt3f position = positions->getValue(i);
            view.converted.insert(view.converted.end(), position.getValues(), position.getValues() + 3);
        }
    }
    return view;
}

std::vector<std::uint32_t> ktReadTriangles(const ktGeometryView& view, std::uint64_t& badTriangles) {
    return Reader(view, badTriangles).read();
}
