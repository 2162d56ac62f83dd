// SPDX-License-Identifier: LGPL-2.1-or-later
// Computes the vertex normals of geometry, smooth or with creases, and its face normals.
#include "OSGGeoFunctions.h"
#include "OSGTriangleIterator.h"

#include <vector>

OSG_BEGIN_NAMESPACE

namespace {

/// Position indices and unit normal of a triangle; the normal of a degenerate triangle is zero.
struct Triangle {
    UInt32 positions[3];
    Vec3f normal;
};

Vec3f triangleNormal(const Pnt3f& p0, const Pnt3f& p1, const Pnt3f& p2) {
    Vec3f a = p1 - p0;
    Vec3f b = p2 - p0;
    // Scaling first prevents overflow and underflow in the product of very long or very short edges.
    const Real32 size = osgMax(a.length(), b.length());
    if (!(size > 0.0f))
        return Vec3f();
    a /= size;
    b /= size;
    const Vec3f normal = a.cross(b);
    const Real32 length = normal.length();
    return length > 0.0f ? normal * (1.0f / length) : Vec3f();
}

/// Calls visit(iterator, triangle) for all triangles whose positions exist.
template <class VisitT>
void forEachTriangle(const GeometryPtr& geo, VisitT&& visit) {
    for (TriangleIterator it(geo); !it.isAtEnd(); ++it) {
        const Int32 corners[3] = {it.getPositionIndex(0), it.getPositionIndex(1), it.getPositionIndex(2)};
        if (corners[0] < 0 || corners[1] < 0 || corners[2] < 0)
            continue;
        visit(it, Triangle{{UInt32(corners[0]), UInt32(corners[1]), UInt32(corners[2])},
                           triangleNormal(it.getPosition(0), it.getPosition(1), it.getPosition(2))});
    }
}

bool hasPositions(const GeometryPtr& geo) {
    return geo != NullFC && geo->getPositions() != NullFC;
}

/// Rewrites a geometry as triangles whose normals have separate indices.
class TriangleListWriter {
public:
    explicit TriangleListWriter(const GeometryPtr& geo) : _geo(geo) {
        const MFUInt16& mapping = geo->getIndexMapping();
        _oldMappings = osgMax(UInt32(1), mapping.size());
        for (UInt32 i = 0; i < _oldMappings; ++i) {
            UInt16 entry = UInt16(mapping.empty() ? allMapped() : mapping[i]);
            entry = UInt16(entry & ~Geometry::MapNormal);
            if (entry != 0) {
                _kept.push_back(i);
                _mapping.push_back(entry);
            }
        }
        _mapping.push_back(Geometry::MapNormal);
    }

    /// indexIndex: position of the vertex's indices in the old geometry.
    void addVertex(const Int32 indexIndex, const UInt32 normal) {
        const GeoIndicesPtr old = _geo->getIndices();
        for (const UInt32 mapping : _kept)
            _indices.push_back(old != NullFC ? old->getValue(UInt32(indexIndex) + mapping) : UInt32(indexIndex));
        _indices.push_back(normal);
    }

    /// Adds the points and lines, and sets the new properties. triangles: number of triangles added.
    void finish(const UInt32 triangles, std::vector<Vec3f> normals) {
        const GeoPTypesPtr types = GeoPTypesUI8::create();
        const GeoPLengthsPtr lengths = GeoPLengthsUI32::create();
        if (triangles > 0) {
            types->push_back(GL_TRIANGLES);
            lengths->push_back(3 * triangles);
        }
        const UInt32 noNormal = UInt32(normals.size());
        for (PrimitiveIterator it(_geo); !it.isAtEnd(); ++it) {
            if (it.getType() >= GL_TRIANGLES || it.getLength() == 0)
                continue;
            types->push_back(it.getType());
            lengths->push_back(it.getLength());
            for (UInt32 i = 0; i < it.getLength(); ++i)
                addVertex(it.getVertexPlace(Int32(i)), noNormal);
            normals.resize(noNormal + 1);
        }

        const GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
        indices->getField().setValues(_indices);
        const GeoNormals3fPtr normalProperty = GeoNormals3f::create();
        normalProperty->getField().setValues(normals);

        const BitVector mask = Geometry::TypesFieldMask | Geometry::LengthsFieldMask | Geometry::IndicesFieldMask |
                               Geometry::NormalsFieldMask | Geometry::IndexMappingFieldMask;
        beginEditCP(_geo, mask);
        _geo->setTypes(types);
        _geo->setLengths(lengths);
        _geo->setIndices(indices);
        _geo->setNormals(normalProperty);
        _geo->getIndexMapping().setValues(_mapping);
        endEditCP(_geo, mask);
    }

private:
    UInt16 allMapped() const {
        UInt16 result = 0;
        for (UInt16 bit = Geometry::MapPosition; bit < Geometry::MapEmpty; bit = UInt16(bit << 1))
            if (_geo->getProperty(bit) != nullptr)
                result |= bit;
        return result;
    }

    GeometryPtr _geo;
    UInt32 _oldMappings;
    std::vector<UInt32> _kept;
    std::vector<UInt16> _mapping;
    std::vector<UInt32> _indices;
};

} // namespace

void calcVertexNormals(const GeometryPtr geo) {
    if (!hasPositions(geo))
        return;
    const UInt32 count = geo->getPositions()->size();
    std::vector<Vec3f> sums(count);
    std::vector<bool> used(count, false);
    forEachTriangle(geo, [&](const TriangleIterator&, const Triangle& triangle) {
        for (const UInt32 position : triangle.positions) {
            sums[position] += triangle.normal;
            used[position] = true;
        }
    });

    GeoNormalsPtr normals = geo->getNormals();
    if (normals == NullFC)
        normals = GeoNormals3f::create();
    // In a shared property, the normals that other geometries use must not change.
    const bool shared = normals->getParents().size() > 1;
    beginEditCP(normals);
    normals->resize(count);
    for (UInt32 i = 0; i < count; ++i) {
        if (shared && !used[i])
            continue;
        sums[i].normalize();
        normals->setValue(sums[i], i);
    }
    endEditCP(normals);

    const BitVector mask = Geometry::NormalsFieldMask | Geometry::IndexMappingFieldMask;
    beginEditCP(geo, mask);
    geo->setNormals(normals);
    const Int16 normalMapping = geo->calcMappingIndex(Geometry::MapNormal);
    const Int16 positionMapping = geo->calcMappingIndex(Geometry::MapPosition);
    if (normalMapping >= 0)
        geo->getIndexMapping(UInt32(normalMapping)) &= UInt16(~Geometry::MapNormal);
    if (positionMapping >= 0)
        geo->getIndexMapping(UInt32(positionMapping)) |= Geometry::MapNormal;
    endEditCP(geo, mask);
}

void calcVertexNormals(const GeometryPtr geo, const Real32 creaseAngle) {
    if (!hasPositions(geo))
        return;
    if (creaseAngle >= Pi) {
        calcVertexNormals(geo);
        return;
    }
    std::vector<Triangle> triangles;
    std::vector<std::vector<UInt32>> trianglesAt(geo->getPositions()->size());
    forEachTriangle(geo, [&](const TriangleIterator&, const Triangle& triangle) {
        for (const UInt32 position : triangle.positions)
            trianglesAt[position].push_back(UInt32(triangles.size()));
        triangles.push_back(triangle);
    });

    const Real32 smallestCosine = std::cos(creaseAngle) - Eps;
    std::vector<Vec3f> normals;
    std::vector<std::vector<UInt32>> normalsAt(trianglesAt.size());
    const auto normalIndex = [&](const Triangle& triangle, const UInt32 position) {
        Vec3f normal;
        for (const UInt32 other : trianglesAt[position])
            if (triangle.normal.dot(triangles[other].normal) >= smallestCosine)
                normal += triangles[other].normal;
        normal.normalize();
        for (const UInt32 index : normalsAt[position])
            if (normals[index] == normal)
                return index;
        normalsAt[position].push_back(UInt32(normals.size()));
        normals.push_back(normal);
        return UInt32(normals.size() - 1);
    };

    TriangleListWriter writer(geo);
    forEachTriangle(geo, [&](const TriangleIterator& it, const Triangle& triangle) {
        for (UInt32 i = 0; i < 3; ++i)
            writer.addVertex(it.getVertexPlace(Int32(i)), normalIndex(triangle, triangle.positions[i]));
    });
    writer.finish(UInt32(triangles.size()), normals);
}

void calcFaceNormals(const GeometryPtr geo) {
    if (!hasPositions(geo))
        return;
    std::vector<Vec3f> normals;
    TriangleListWriter writer(geo);
    forEachTriangle(geo, [&](const TriangleIterator& it, const Triangle& triangle) {
        for (Int32 i = 0; i < 3; ++i)
            writer.addVertex(it.getVertexPlace(i), UInt32(normals.size()));
        normals.push_back(triangle.normal);
    });
    writer.finish(UInt32(normals.size()), normals);
}

OSG_END_NAMESPACE
