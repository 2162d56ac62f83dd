// SPDX-License-Identifier: LGPL-2.1-or-later
#include "OSGGeoFunctions.h"
#include "OSGTriangleIterator.h"

#include <vector>

OSG_BEGIN_NAMESPACE

void calcVertexNormals(const GeometryPtr geo)
{
    if (geo == NullFC || geo->getPositions() == NullFC)
        return;
    const UInt32 count = geo->getPositions()->size();

    std::vector<Vec3f> sums(count);
    std::vector<bool> used(count, false);
    for (TriangleIterator it(geo); !it.isAtEnd(); ++it) {
        const Int32 corners[3] = {it.getPositionIndex(0), it.getPositionIndex(1), it.getPositionIndex(2)};
        if (corners[0] < 0 || corners[1] < 0 || corners[2] < 0)
            continue;
        // Dividing before the cross product keeps very small triangles from vanishing.
        Vec3f a = it.getPosition(1) - it.getPosition(0);
        Vec3f b = it.getPosition(2) - it.getPosition(0);
        const Real32 size = osgMax(a.length(), b.length());
        Vec3f normal;
        if (size > 0.0f) {
            a /= size;
            b /= size;
            normal = a.cross(b);
            const Real32 length = normal.length();
            normal = length > 0.0f ? normal * (1.0f / length) : Vec3f();
        }
        for (const Int32 corner : corners) {
            sums[UInt32(corner)] += normal;
            used[UInt32(corner)] = true;
        }
    }

    GeoNormalsPtr normals = geo->getNormals();
    if (normals == NullFC)
        normals = GeoNormals3f::create();
    // Other geometries' normals in a shared property stay.
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

OSG_END_NAMESPACE
