// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGPARTITERATOR_H
#define OSGPARTITERATOR_H

#include "OSGPrimitiveIterator.h"

OSG_BEGIN_NAMESPACE

/// Iterates over parts of primitives: triangles, faces, lines or edges. A part has up to CornersI corners, each of
/// which is a vertex of the primitive.
///
/// "which" is a corner, from 0. Of a corner that the part does not have, index functions return -1 and value functions
/// zeros. The rest is as in PrimitiveIterator. getType() refers to the primitive. DerivedT is the iterator's class. Its
/// readPart() sets the corners to part _next of the primitive and increments _next, or returns false if there is no
/// such part. isLeftOut() may pass over the part that was read. getCorner() gives the vertex of a corner; -1 for none.
template <class DerivedT, UInt32 CornersI>
class PartIterator : public PrimitiveIterator {
    typedef PrimitiveIterator Inherited;

public:
    void setGeo(const GeometryPtr& geometry) {
        Inherited::setGeo(geometry);
        startParts();
    }
    void setGeo(const NodePtr& node) {
        Inherited::setGeo(node);
        startParts();
    }
    void setToBegin() {
        Inherited::setToBegin();
        startParts();
    }
    /// Moves to the part with that number, or to the end.
    void seek(const Int32 index) {
        setToBegin();
        while (!isAtEnd() && getIndex() < index)
            ++*this;
    }

    /// Number of the part, from 0.
    Int32 getIndex() const { return _partIndex; }
    /// Number of the primitive that the part belongs to.
    Int32 getPrimitiveIndex() const { return Inherited::getIndex(); }

#define OSG_PART_ACCESS(INDEX, VALUE, TYPE)                                                                            \
    Int32 INDEX(Int32 which) const {                                                                                   \
        return cornerOf(which) < 0 ? -1 : Inherited::INDEX(cornerOf(which));                                           \
    }                                                                                                                  \
    TYPE VALUE(Int32 which) const {                                                                                    \
        return cornerOf(which) < 0 ? TYPE() : Inherited::VALUE(cornerOf(which));                                       \
    }

    OSG_PART_ACCESS(getPositionIndex, getPosition, Pnt3f)
    OSG_PART_ACCESS(getNormalIndex, getNormal, Vec3f)
    OSG_PART_ACCESS(getColorIndex, getColor, Color3f)
    OSG_PART_ACCESS(getSecondaryColorIndex, getSecondaryColor, Color3f)
    OSG_PART_ACCESS(getTexCoordsIndex, getTexCoords, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex1, getTexCoords1, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex2, getTexCoords2, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex3, getTexCoords3, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex4, getTexCoords4, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex5, getTexCoords5, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex6, getTexCoords6, Vec2f)
    OSG_PART_ACCESS(getTexCoordsIndex7, getTexCoords7, Vec2f)
#undef OSG_PART_ACCESS

    Int32 getVertexPlace(Int32 which) const {
        return cornerOf(which) < 0 ? -1 : Inherited::getVertexPlace(cornerOf(which));
    }
    Int32 getIndexIndex(Int32 which) const {
        return cornerOf(which) < 0 ? -1 : Inherited::getIndexIndex(cornerOf(which));
    }

    void operator++() {
        if (isAtEnd())
            return;
        ++_partIndex;
        findPart();
    }

    bool operator==(const DerivedT& other) const {
        return Inherited::operator==(other) && (isAtEnd() || _next == other._next);
    }
    bool operator!=(const DerivedT& other) const {
        return !(*this == other);
    }
    bool operator<(const DerivedT& other) const {
        return Inherited::operator<(other) || (Inherited::operator==(other) && !isAtEnd() && _next < other._next);
    }

protected:
    PartIterator() = default;

    bool set(const Int32 a, const Int32 b, const Int32 c = -1, const Int32 d = -1) {
        const Int32 corners[] = {a, b, c, d};
        for (UInt32 i = 0; i < CornersI; ++i)
            _corner[i] = corners[i];
        ++_next;
        return true;
    }
    bool isLeftOut() const {
        return false;
    }
    /// Whether two of the first three corners have one index: such a triangle only connects parts of a strip.
    bool isConnection() const {
        const Int32 a = getPositionIndex(0), b = getPositionIndex(1), c = getPositionIndex(2);
        return a == b || b == c || c == a;
    }
    Int32 getCorner(const Int32 which) const {
        return _corner[which];
    }

    /// Number, within the primitive, of the part after the current one.
    UInt32 _next = 0;
    Int32 _corner[CornersI] = {};

private:
    Int32 cornerOf(const Int32 which) const {
        return static_cast<const DerivedT&>(*this).getCorner(which);
    }
    void startParts() {
        _partIndex = 0;
        _next = 0;
        findPart();
    }
    void findPart() {
        DerivedT& derived = static_cast<DerivedT&>(*this);
        while (!isAtEnd()) {
            while (derived.readPart())
                if (!derived.isLeftOut())
                    return;
            Inherited::operator++();
            _next = 0;
        }
    }

    Int32 _partIndex = 0;
};

OSG_END_NAMESPACE

#endif
