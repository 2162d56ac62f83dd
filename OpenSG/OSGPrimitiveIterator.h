// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGPRIMITIVEITERATOR_H
#define OSGPRIMITIVEITERATOR_H

#include "OSGGeometry.h"
#include "OSGNodePtr.h"

OSG_BEGIN_NAMESPACE

/// Iterates over the primitives of a geometry, of all types.
///
/// "which" is a vertex of the primitive, from 0 to getLength() - 1. If the geometry does not have the property, or the
/// index lies outside of it, index functions return -1 and value functions zeros. A primitive is cut short where the
/// geometry's indices (or positions) end. While the iterator is used, only values of the geometry may change. The
/// iterator does not reference the geometry.
class PrimitiveIterator {
public:
    /// An iterator at its end, without a geometry.
    PrimitiveIterator() = default;
    /// At the first primitive; at the end if geometry is null.
    explicit PrimitiveIterator(const GeometryPtr& geometry) { setGeo(geometry); }
    explicit PrimitiveIterator(const NodePtr& node) { setGeo(node); }

    void setGeo(const GeometryPtr& geometry);
    void setGeo(const NodePtr& node);
    void setToBegin();
    void setToEnd();
    /// Moves to the primitive with that number, or to the end.
    void seek(Int32 index);

    bool isAtEnd() const { return _ended; }
    /// Number of the primitive, from 0.
    Int32 getIndex() const { return Int32(_primIndex); }
    /// Number of vertices of the primitive.
    UInt32 getLength() const { return _length; }
    /// OpenGL code of the primitive.
    UInt32 getType() const { return _type; }
    GeometryPtr getGeometry() const { return _geo; }

    Int32 getPositionIndex(Int32 which) const { return indexOf(which, PositionSlot, _geo->getPositions()); }
    Pnt3f getPosition(Int32 which) const { return valueOf<Pnt3f>(getPositionIndex(which), _geo->getPositions()); }
    Int32 getNormalIndex(Int32 which) const { return indexOf(which, NormalSlot, _geo->getNormals()); }
    Vec3f getNormal(Int32 which) const { return valueOf<Vec3f>(getNormalIndex(which), _geo->getNormals()); }
    Int32 getColorIndex(Int32 which) const { return indexOf(which, ColorSlot, _geo->getColors()); }
    Color3f getColor(Int32 which) const { return valueOf<Color3f>(getColorIndex(which), _geo->getColors()); }
    Int32 getSecondaryColorIndex(Int32 which) const {
        return indexOf(which, SecondaryColorSlot, _geo->getSecondaryColors());
    }
    Color3f getSecondaryColor(Int32 which) const {
        return valueOf<Color3f>(getSecondaryColorIndex(which), _geo->getSecondaryColors());
    }

#define OSG_TEX_COORDS_ACCESS(CHANNEL, SLOT)                                                                           \
    Int32 getTexCoordsIndex##CHANNEL(Int32 which) const {                                                              \
        return indexOf(which, TexCoordsSlot + SLOT, _geo->getTexCoords##CHANNEL());                                    \
    }                                                                                                                  \
    Vec2f getTexCoords##CHANNEL(Int32 which) const {                                                                   \
        return valueOf<Vec2f>(getTexCoordsIndex##CHANNEL(which), _geo->getTexCoords##CHANNEL());                       \
    }

    OSG_TEX_COORDS_ACCESS(, 0)
    OSG_TEX_COORDS_ACCESS(1, 1)
    OSG_TEX_COORDS_ACCESS(2, 2)
    OSG_TEX_COORDS_ACCESS(3, 3)
    OSG_TEX_COORDS_ACCESS(4, 4)
    OSG_TEX_COORDS_ACCESS(5, 5)
    OSG_TEX_COORDS_ACCESS(6, 6)
    OSG_TEX_COORDS_ACCESS(7, 7)
#undef OSG_TEX_COORDS_ACCESS

    /// Number of the vertex among those of all primitives, times the number of indices per vertex: with indices, the
    /// position of its (first) index.
    Int32 getVertexPlace(Int32 which) const {
        return Int32((_firstVertex + UInt32(which)) * _mappings);
    }
    /// Position of the vertex's (first) index in the geometry's indices; -1 without indices.
    Int32 getIndexIndex(Int32 which) const {
        return _indices == NullFC ? -1 : getVertexPlace(which);
    }

    void operator++();

    bool operator==(const PrimitiveIterator& other) const {
        return _geo == other._geo && _ended == other._ended && (_ended || _primIndex == other._primIndex);
    }
    bool operator!=(const PrimitiveIterator& other) const {
        return !(*this == other);
    }
    bool operator<(const PrimitiveIterator& other) const {
        return _geo == other._geo && _primIndex < other._primIndex;
    }

private:
    enum Slot { PositionSlot, NormalSlot, ColorSlot, SecondaryColorSlot, TexCoordsSlot, SlotCount = TexCoordsSlot + 8 };

    template <class PropertyPtrT>
    Int32 indexOf(const Int32 which, const Int32 slot, const PropertyPtrT& property) const {
        if (property == NullFC)
            return -1;
        const UInt32 vertex = _firstVertex + UInt32(which);
        const UInt32 index =
            _indices == NullFC ? vertex : _indices->getValue(vertex * _mappings + UInt32(_mappingOf[slot]));
        return index < property->size() ? Int32(index) : -1;
    }
    template <class ValueT, class PropertyPtrT>
    static ValueT valueOf(const Int32 index, const PropertyPtrT& property) {
        return index >= 0 ? property->getValue(UInt32(index)) : ValueT();
    }
    void readPrimitive();

    GeometryPtr _geo;
    GeoPTypesPtr _types;
    GeoPLengthsPtr _lengths;
    GeoIndicesPtr _indices;
    UInt32 _mappings = 1;
    UInt32 _vertices = 0;
    UInt8 _mappingOf[SlotCount] = {};
    bool _ended = true;
    UInt32 _primIndex = 0;
    UInt32 _firstVertex = 0;
    UInt32 _type = 0;
    UInt32 _length = 0;
};

OSG_END_NAMESPACE

#endif
