// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGTRIANGLEITERATOR_H
#define OSGTRIANGLEITERATOR_H

#include "OSGPrimitiveIterator.h"

OSG_BEGIN_NAMESPACE

/// Iterates over the triangles of a geometry: of triangles, strips, fans, quads, quad strips and polygons (treated as
/// convex). All have the orientation of their primitive. Skips points and lines. Also skips triangles of strips with a
/// repeated index, which only connect parts of the strip.
///
/// "which" is a corner, 0 to 2; see PrimitiveIterator. getType() and getLength() refer to the primitive.
class TriangleIterator : public PrimitiveIterator {
    typedef PrimitiveIterator Inherited;

public:
    TriangleIterator() = default;
    explicit TriangleIterator(const GeometryPtr& geometry) { setGeo(geometry); }
    explicit TriangleIterator(const NodePtr& node) { setGeo(node); }

    void setGeo(const GeometryPtr& geometry) {
        Inherited::setGeo(geometry);
        startTriangles();
    }
    void setGeo(const NodePtr& node) {
        Inherited::setGeo(node);
        startTriangles();
    }
    void setToBegin() {
        Inherited::setToBegin();
        startTriangles();
    }
    /// Moves to the triangle with that number, or to the end.
    void seek(Int32 index);

    /// Number of the triangle, from 0.
    Int32 getIndex() const { return _triIndex; }
    /// Number of the primitive that the triangle belongs to.
    Int32 getPrimitiveIndex() const { return Inherited::getIndex(); }

    Int32 getPositionIndex(Int32 which) const { return Inherited::getPositionIndex(_corner[which]); }
    Pnt3f getPosition(Int32 which) const { return Inherited::getPosition(_corner[which]); }
    Int32 getNormalIndex(Int32 which) const { return Inherited::getNormalIndex(_corner[which]); }
    Vec3f getNormal(Int32 which) const { return Inherited::getNormal(_corner[which]); }
    Int32 getColorIndex(Int32 which) const { return Inherited::getColorIndex(_corner[which]); }
    Color3f getColor(Int32 which) const { return Inherited::getColor(_corner[which]); }
    Int32 getSecondaryColorIndex(Int32 which) const { return Inherited::getSecondaryColorIndex(_corner[which]); }
    Color3f getSecondaryColor(Int32 which) const { return Inherited::getSecondaryColor(_corner[which]); }

#define OSG_TEX_COORDS_ACCESS(CHANNEL)                                                                                 \
    Int32 getTexCoordsIndex##CHANNEL(Int32 which) const {                                                              \
        return Inherited::getTexCoordsIndex##CHANNEL(_corner[which]);                                                  \
    }                                                                                                                  \
    Vec2f getTexCoords##CHANNEL(Int32 which) const {                                                                   \
        return Inherited::getTexCoords##CHANNEL(_corner[which]);                                                       \
    }

    OSG_TEX_COORDS_ACCESS()
    OSG_TEX_COORDS_ACCESS(1)
    OSG_TEX_COORDS_ACCESS(2)
    OSG_TEX_COORDS_ACCESS(3)
    OSG_TEX_COORDS_ACCESS(4)
    OSG_TEX_COORDS_ACCESS(5)
    OSG_TEX_COORDS_ACCESS(6)
    OSG_TEX_COORDS_ACCESS(7)
#undef OSG_TEX_COORDS_ACCESS

    Int32 getIndexIndex(Int32 which) const {
        return Inherited::getIndexIndex(_corner[which]);
    }

    void operator++();

    bool operator==(const TriangleIterator& other) const {
        return Inherited::operator==(other) && (isAtEnd() || _next == other._next);
    }
    bool operator!=(const TriangleIterator& other) const {
        return !(*this == other);
    }
    bool operator<(const TriangleIterator& other) const {
        return Inherited::operator<(other) || (Inherited::operator==(other) && !isAtEnd() && _next < other._next);
    }

private:
    void startTriangles();
    void findTriangle();
    bool readTriangle();

    Int32 _triIndex = 0;
    /// Number, within the primitive, of the triangle after the current one.
    UInt32 _next = 0;
    Int32 _corner[3] = {0, 0, 0};
};

OSG_END_NAMESPACE

#endif
