// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds, clones and unshares the properties of a geometry, and reads its index mapping.
#include "OSGGeometry.h"

#include "OSGEdgeIterator.h"
#include "OSGFaceIterator.h"
#include "OSGLineIterator.h"
#include "OSGPrimitiveIterator.h"
#include "OSGTriangleIterator.h"

OSG_BEGIN_NAMESPACE

FieldContainerType Geometry::_type("Geometry", "MaterialDrawable", nullptr,
                                   []() -> FieldContainerPtr { return Geometry::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(Geometry, GeometryPtr)

const char* Geometry::mapType(const UInt8 type) {
    static const char* const names[] = {"Points",        "Lines",       "LineLoop", "LineStrip", "Triangles",
                                        "TriangleStrip", "TriangleFan", "Quads",    "QuadStrip", "Polygon"};
    return type < sizeof(names) / sizeof(names[0]) ? names[type] : "Unknown Primitive";
}

Int16 Geometry::calcMappingIndex(const UInt16 attribute) const {
    for (UInt32 i = _mfIndexMapping.size(); i > 0; --i)
        if (_mfIndexMapping[i - 1] & attribute)
            return Int16(i - 1);
    return -1;
}

GeoPropertyArrayInterface* Geometry::getProperty(const Int32 mapId) {
    switch (mapId) {
    case MapPosition:
        return getPositions().getCPtr();
    case MapNormal:
        return getNormals().getCPtr();
    case MapColor:
        return getColors().getCPtr();
    case MapSecondaryColor:
        return getSecondaryColors().getCPtr();
    case MapTexCoords:
        return getTexCoords().getCPtr();
    case MapTexCoords1:
        return getTexCoords1().getCPtr();
    case MapTexCoords2:
        return getTexCoords2().getCPtr();
    case MapTexCoords3:
        return getTexCoords3().getCPtr();
    case MapTexCoords4:
        return getTexCoords4().getCPtr();
    case MapTexCoords5:
        return getTexCoords5().getCPtr();
    case MapTexCoords6:
        return getTexCoords6().getCPtr();
    case MapTexCoords7:
        return getTexCoords7().getCPtr();
    default:
        return nullptr;
    }
}

namespace {

// Calls visit(field mask, getter, setter) for each vertex property.
template <class VisitT>
void forEachVertexProperty(VisitT&& visit) {
    typedef GeometryBase G;
    typedef const GeoTexCoordsPtr& (G::*GetTexCoords)() const;
    visit(G::PositionsFieldMask, static_cast<const GeoPositionsPtr& (G::*)() const>(&G::getPositions),
          &G::setPositions);
    visit(G::NormalsFieldMask, static_cast<const GeoNormalsPtr& (G::*)() const>(&G::getNormals), &G::setNormals);
    visit(G::ColorsFieldMask, static_cast<const GeoColorsPtr& (G::*)() const>(&G::getColors), &G::setColors);
    visit(G::SecondaryColorsFieldMask, static_cast<const GeoColorsPtr& (G::*)() const>(&G::getSecondaryColors),
          &G::setSecondaryColors);
    visit(G::TexCoordsFieldMask, static_cast<GetTexCoords>(&G::getTexCoords), &G::setTexCoords);
    visit(G::TexCoords1FieldMask, static_cast<GetTexCoords>(&G::getTexCoords1), &G::setTexCoords1);
    visit(G::TexCoords2FieldMask, static_cast<GetTexCoords>(&G::getTexCoords2), &G::setTexCoords2);
    visit(G::TexCoords3FieldMask, static_cast<GetTexCoords>(&G::getTexCoords3), &G::setTexCoords3);
    visit(G::TexCoords4FieldMask, static_cast<GetTexCoords>(&G::getTexCoords4), &G::setTexCoords4);
    visit(G::TexCoords5FieldMask, static_cast<GetTexCoords>(&G::getTexCoords5), &G::setTexCoords5);
    visit(G::TexCoords6FieldMask, static_cast<GetTexCoords>(&G::getTexCoords6), &G::setTexCoords6);
    visit(G::TexCoords7FieldMask, static_cast<GetTexCoords>(&G::getTexCoords7), &G::setTexCoords7);
}

// Also visits the properties that divide the vertices into primitives.
template <class VisitT>
void forEachProperty(VisitT&& visit) {
    typedef GeometryBase G;
    visit(G::TypesFieldMask, static_cast<const GeoPTypesPtr& (G::*)() const>(&G::getTypes), &G::setTypes);
    visit(G::LengthsFieldMask, static_cast<const GeoPLengthsPtr& (G::*)() const>(&G::getLengths), &G::setLengths);
    visit(G::IndicesFieldMask, static_cast<const GeoIndicesPtr& (G::*)() const>(&G::getIndices), &G::setIndices);
    forEachVertexProperty(visit);
}

} // namespace

GeometryPtr Geometry::clone() {
    const GeometryPtr copy = create();
    beginEditCP(copy);
    forEachProperty([this, &copy](BitVector, auto get, auto set) {
        if ((this->*get)() != NullFC)
            (copy.getCPtr()->*set)((this->*get)()->clone());
    });
    copy->getIndexMapping().setValues(_mfIndexMapping);
    copy->setMaterial(getMaterial());
    endEditCP(copy);
    return copy;
}

void Geometry::unshareProperties() {
    const GeometryPtr self(this);
    forEachVertexProperty([this, &self](const BitVector mask, auto get, auto set) {
        if ((this->*get)().getRefCount() <= 1)
            return;
        beginEditCP(self, mask);
        (this->*set)((this->*get)()->clone());
        endEditCP(self, mask);
    });
}

BitVector Geometry::getFieldMaskOf(const AttachmentPtr& property) const {
    BitVector result = FieldBits::NoField;
    forEachProperty([this, &property, &result](const BitVector mask, auto get, auto) {
        if ((this->*get)() == property)
            result |= mask;
    });
    return result;
}

namespace {

template <class IteratorT>
IteratorT endOf(const Geometry* geometry) {
    IteratorT result{GeometryPtr(geometry)};
    result.setToEnd();
    return result;
}

} // namespace

PrimitiveIterator Geometry::beginPrimitives() const {
    return PrimitiveIterator(GeometryPtr(this));
}
PrimitiveIterator Geometry::endPrimitives() const {
    return endOf<PrimitiveIterator>(this);
}

TriangleIterator Geometry::beginTriangles() const {
    return TriangleIterator(GeometryPtr(this));
}
TriangleIterator Geometry::endTriangles() const {
    return endOf<TriangleIterator>(this);
}

FaceIterator Geometry::beginFaces() const {
    return FaceIterator(GeometryPtr(this));
}
FaceIterator Geometry::endFaces() const {
    return endOf<FaceIterator>(this);
}

LineIterator Geometry::beginLines() const {
    return LineIterator(GeometryPtr(this));
}
LineIterator Geometry::endLines() const {
    return endOf<LineIterator>(this);
}

EdgeIterator Geometry::beginEdges() const {
    return EdgeIterator(GeometryPtr(this));
}
EdgeIterator Geometry::endEdges() const {
    return endOf<EdgeIterator>(this);
}

void Geometry::changed(const BitVector whichField, const UInt32 origin) {
    if (whichField &
        (PositionsFieldMask | TypesFieldMask | LengthsFieldMask | IndicesFieldMask | IndexMappingFieldMask)) {
        _volumeCacheValid = false;
        invalidateVolume();
    }
    Inherited::changed(whichField, origin);
}

void Geometry::adjustVolume(Volume& volume) {
    if (!_volumeCacheValid) {
        _volumeCache = DynamicVolume();
        for (PrimitiveIterator it = beginPrimitives(); !it.isAtEnd(); ++it)
            for (UInt32 i = 0; i < it.getLength(); ++i)
                if (it.getPositionIndex(Int32(i)) >= 0)
                    _volumeCache.extendBy(it.getPosition(Int32(i)));
        _volumeCacheValid = true;
    }
    volume.setValid();
    volume.extendBy(_volumeCache);
}

OSG_END_NAMESPACE
