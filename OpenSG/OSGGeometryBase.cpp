// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the fields of a geometry, and references the properties that they hold.
#include "OSGGeometryBase.h"

#include "OSGGeometry.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(GeometryBase, TypesField)
OSG_FIELD_MASK_DEF(GeometryBase, LengthsField)
OSG_FIELD_MASK_DEF(GeometryBase, PositionsField)
OSG_FIELD_MASK_DEF(GeometryBase, NormalsField)
OSG_FIELD_MASK_DEF(GeometryBase, ColorsField)
OSG_FIELD_MASK_DEF(GeometryBase, SecondaryColorsField)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoordsField)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords1Field)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords2Field)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords3Field)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords4Field)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords5Field)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords6Field)
OSG_FIELD_MASK_DEF(GeometryBase, TexCoords7Field)
OSG_FIELD_MASK_DEF(GeometryBase, IndicesField)
OSG_FIELD_MASK_DEF(GeometryBase, IndexMappingField)

template <class PtrT>
void GeometryBase::setProperty(SField<PtrT>& field, const PtrT& value) {
    const FieldContainerPtr self(this);
    const PtrT newProperty = value;
    const PtrT oldProperty = field.getValue();
    // The same property again is announced, too.
    addRefCP(newProperty);
    field.setValue(newProperty);
    if (oldProperty != NullFC) {
        beginEditCP(oldProperty, Attachment::ParentsFieldMask);
        oldProperty->subParent(self);
        endEditCP(oldProperty, Attachment::ParentsFieldMask);
        subRefCP(oldProperty);
    }
    if (newProperty != NullFC) {
        beginEditCP(newProperty, Attachment::ParentsFieldMask);
        newProperty->addParent(self);
        endEditCP(newProperty, Attachment::ParentsFieldMask);
    }
}

void GeometryBase::setTypes(const GeoPTypesPtr& value) {
    setProperty(_sfTypes, value);
}
void GeometryBase::setLengths(const GeoPLengthsPtr& value) {
    setProperty(_sfLengths, value);
}
void GeometryBase::setPositions(const GeoPositionsPtr& value) {
    setProperty(_sfPositions, value);
}
void GeometryBase::setNormals(const GeoNormalsPtr& value) {
    setProperty(_sfNormals, value);
}
void GeometryBase::setColors(const GeoColorsPtr& value) {
    setProperty(_sfColors, value);
}
void GeometryBase::setSecondaryColors(const GeoColorsPtr& value) {
    setProperty(_sfSecondaryColors, value);
}
void GeometryBase::setTexCoords(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords, value);
}
void GeometryBase::setTexCoords1(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords1, value);
}
void GeometryBase::setTexCoords2(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords2, value);
}
void GeometryBase::setTexCoords3(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords3, value);
}
void GeometryBase::setTexCoords4(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords4, value);
}
void GeometryBase::setTexCoords5(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords5, value);
}
void GeometryBase::setTexCoords6(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords6, value);
}
void GeometryBase::setTexCoords7(const GeoTexCoordsPtr& value) {
    setProperty(_sfTexCoords7, value);
}
void GeometryBase::setIndices(const GeoIndicesPtr& value) {
    setProperty(_sfIndices, value);
}

GeometryBase::GeometryBase(const GeometryBase& source) : Inherited(source), _mfIndexMapping(source._mfIndexMapping) {
    setTypes(source.getTypes());
    setLengths(source.getLengths());
    setPositions(source.getPositions());
    setNormals(source.getNormals());
    setColors(source.getColors());
    setSecondaryColors(source.getSecondaryColors());
    setTexCoords(source.getTexCoords());
    setTexCoords1(source.getTexCoords1());
    setTexCoords2(source.getTexCoords2());
    setTexCoords3(source.getTexCoords3());
    setTexCoords4(source.getTexCoords4());
    setTexCoords5(source.getTexCoords5());
    setTexCoords6(source.getTexCoords6());
    setTexCoords7(source.getTexCoords7());
    setIndices(source.getIndices());
}

GeometryBase::~GeometryBase() {
    setTypes(NullFC);
    setLengths(NullFC);
    setPositions(NullFC);
    setNormals(NullFC);
    setColors(NullFC);
    setSecondaryColors(NullFC);
    setTexCoords(NullFC);
    setTexCoords1(NullFC);
    setTexCoords2(NullFC);
    setTexCoords3(NullFC);
    setTexCoords4(NullFC);
    setTexCoords5(NullFC);
    setTexCoords6(NullFC);
    setTexCoords7(NullFC);
    setIndices(NullFC);
}

OSG_END_NAMESPACE
