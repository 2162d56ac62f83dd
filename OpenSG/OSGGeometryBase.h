// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOMETRYBASE_H
#define OSGGEOMETRYBASE_H

#include "OSGGeoProperty.h"
#include "OSGMaterialDrawable.h"
#include "OSGMFSysTypes.h"

OSG_BEGIN_NAMESPACE

class Geometry;
typedef FCPtr<MaterialDrawablePtr, Geometry> GeometryPtr;
typedef RefPtr<GeometryPtr> GeometryRefPtr;

/// Base class with the fields of a geometry. Use the class Geometry.
///
/// Types and lengths divide the vertices into primitives, each with an OpenGL code and a number of vertices. The other
/// properties hold values. A vertex selects its values in one of these ways:
///
/// - no indices: vertex i has value i of every property;
/// - indices without index mapping: index i of the vertex selects the value of every property;
/// - indices with an index mapping of n entries: each vertex has n consecutive indices. Entry j of the mapping,
///   a bitwise or of Geometry's Map constants, says which properties use index j.
///
/// Without lengths, all vertices form one primitive. Every property may be null. A geometry references its properties,
/// and they know it as a parent. Several geometries or fields may share a property.
class GeometryBase : public MaterialDrawable {
    typedef MaterialDrawable Inherited;

public:
    typedef GeometryPtr Ptr;

    enum {
        TypesFieldId = Inherited::NextFieldId,
        LengthsFieldId = TypesFieldId + 1,
        PositionsFieldId = LengthsFieldId + 1,
        NormalsFieldId = PositionsFieldId + 1,
        ColorsFieldId = NormalsFieldId + 1,
        SecondaryColorsFieldId = ColorsFieldId + 1,
        TexCoordsFieldId = SecondaryColorsFieldId + 1,
        TexCoords1FieldId = TexCoordsFieldId + 1,
        TexCoords2FieldId = TexCoords1FieldId + 1,
        TexCoords3FieldId = TexCoords2FieldId + 1,
        TexCoords4FieldId = TexCoords3FieldId + 1,
        TexCoords5FieldId = TexCoords4FieldId + 1,
        TexCoords6FieldId = TexCoords5FieldId + 1,
        TexCoords7FieldId = TexCoords6FieldId + 1,
        IndicesFieldId = TexCoords7FieldId + 1,
        IndexMappingFieldId = IndicesFieldId + 1,
        NextFieldId = IndexMappingFieldId + 1
    };
    static const BitVector TypesFieldMask;
    static const BitVector LengthsFieldMask;
    static const BitVector PositionsFieldMask;
    static const BitVector NormalsFieldMask;
    static const BitVector ColorsFieldMask;
    static const BitVector SecondaryColorsFieldMask;
    static const BitVector TexCoordsFieldMask;
    static const BitVector TexCoords1FieldMask;
    static const BitVector TexCoords2FieldMask;
    static const BitVector TexCoords3FieldMask;
    static const BitVector TexCoords4FieldMask;
    static const BitVector TexCoords5FieldMask;
    static const BitVector TexCoords6FieldMask;
    static const BitVector TexCoords7FieldMask;
    static const BitVector IndicesFieldMask;
    static const BitVector IndexMappingFieldMask;

    OSG_SFIELD_READ_ACCESS(GeoPTypesPtr, Types)
    OSG_SFIELD_READ_ACCESS(GeoPLengthsPtr, Lengths)
    OSG_SFIELD_READ_ACCESS(GeoPositionsPtr, Positions)
    OSG_SFIELD_READ_ACCESS(GeoNormalsPtr, Normals)
    OSG_SFIELD_READ_ACCESS(GeoColorsPtr, Colors)
    OSG_SFIELD_READ_ACCESS(GeoColorsPtr, SecondaryColors)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords1)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords2)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords3)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords4)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords5)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords6)
    OSG_SFIELD_READ_ACCESS(GeoTexCoordsPtr, TexCoords7)
    OSG_SFIELD_READ_ACCESS(GeoIndicesPtr, Indices)
    OSG_MFIELD_ACCESS(UInt16, IndexMapping)

    // Each setter references the new property and releases the old one. Pass null for none. The setters do not announce
    // the change.
    void setTypes(const GeoPTypesPtr& value);
    void setLengths(const GeoPLengthsPtr& value);
    void setPositions(const GeoPositionsPtr& value);
    void setNormals(const GeoNormalsPtr& value);
    void setColors(const GeoColorsPtr& value);
    void setSecondaryColors(const GeoColorsPtr& value);
    void setTexCoords(const GeoTexCoordsPtr& value);
    void setTexCoords1(const GeoTexCoordsPtr& value);
    void setTexCoords2(const GeoTexCoordsPtr& value);
    void setTexCoords3(const GeoTexCoordsPtr& value);
    void setTexCoords4(const GeoTexCoordsPtr& value);
    void setTexCoords5(const GeoTexCoordsPtr& value);
    void setTexCoords6(const GeoTexCoordsPtr& value);
    void setTexCoords7(const GeoTexCoordsPtr& value);
    void setIndices(const GeoIndicesPtr& value);

protected:
    GeometryBase() = default;
    /// The copy shares the properties.
    GeometryBase(const GeometryBase& source);
    ~GeometryBase() override;

    SFGeoPTypesPtr _sfTypes;
    SFGeoPLengthsPtr _sfLengths;
    SFGeoPositionsPtr _sfPositions;
    SFGeoNormalsPtr _sfNormals;
    SFGeoColorsPtr _sfColors;
    SFGeoColorsPtr _sfSecondaryColors;
    SFGeoTexCoordsPtr _sfTexCoords;
    SFGeoTexCoordsPtr _sfTexCoords1;
    SFGeoTexCoordsPtr _sfTexCoords2;
    SFGeoTexCoordsPtr _sfTexCoords3;
    SFGeoTexCoordsPtr _sfTexCoords4;
    SFGeoTexCoordsPtr _sfTexCoords5;
    SFGeoTexCoordsPtr _sfTexCoords6;
    SFGeoTexCoordsPtr _sfTexCoords7;
    SFGeoIndicesPtr _sfIndices;
    MFUInt16 _mfIndexMapping;

private:
    template <class PtrT>
    void setProperty(SField<PtrT>& field, const PtrT& value);
};

OSG_END_NAMESPACE

#endif
