// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOMETRY_H
#define OSGGEOMETRY_H

#include "OSGGeometryBase.h"

OSG_BEGIN_NAMESPACE

class EdgeIterator;
class FaceIterator;
class LineIterator;
class PrimitiveIterator;
class TriangleIterator;

/// Points, lines and surfaces with values per vertex.
class Geometry : public GeometryBase {
    typedef GeometryBase Inherited;

public:
    // Bits of an index mapping's entries.
    static constexpr UInt16 MapPosition = 1;
    static constexpr UInt16 MapNormal = MapPosition << 1;
    static constexpr UInt16 MapColor = MapNormal << 1;
    static constexpr UInt16 MapSecondaryColor = MapColor << 1;
    static constexpr UInt16 MapTexCoords = MapSecondaryColor << 1;
    static constexpr UInt16 MapTexCoords1 = MapTexCoords << 1;
    static constexpr UInt16 MapTexCoords2 = MapTexCoords1 << 1;
    static constexpr UInt16 MapTexCoords3 = MapTexCoords2 << 1;
    static constexpr UInt16 MapTexCoords4 = MapTexCoords3 << 1;
    static constexpr UInt16 MapTexCoords5 = MapTexCoords4 << 1;
    static constexpr UInt16 MapTexCoords6 = MapTexCoords5 << 1;
    static constexpr UInt16 MapTexCoords7 = MapTexCoords6 << 1;
    static constexpr UInt16 MapEmpty = MapTexCoords7 << 1;

    OSG_FIELD_CONTAINER_DECL(GeometryPtr)

    /// Name of a primitive's OpenGL code, such as "TriangleStrip".
    static const char* mapType(UInt8 type);

    /// Which of a vertex's indices the property uses (a Map constant); -1 if the mapping does not say.
    Int16 calcMappingIndex(UInt16 attribute) const;
    /// The property of a Map constant; nullptr if there is none.
    GeoPropertyArrayInterface* getProperty(Int32 mapId);

    /// Returns a new geometry with copies of all properties and the same material. Does not copy attachments.
    GeometryPtr clone();
    /// Replaces every vertex property (positions to texture coordinates) that something else also references by a
    /// copy.
    void unshareProperties();

    // The first one and one past the last; see OSGPrimitiveIterator.h, OSGTriangleIterator.h and so on.
    PrimitiveIterator beginPrimitives() const;
    PrimitiveIterator endPrimitives() const;
    TriangleIterator beginTriangles() const;
    TriangleIterator endTriangles() const;
    FaceIterator beginFaces() const;
    FaceIterator endFaces() const;
    LineIterator beginLines() const;
    LineIterator endLines() const;
    EdgeIterator beginEdges() const;
    EdgeIterator endEdges() const;

    /// Mask of the fields that hold the property.
    BitVector getFieldMaskOf(const AttachmentPtr& property) const;

    void changed(BitVector whichField, UInt32 origin) override;

protected:
    Geometry() = default;
    Geometry(const Geometry& source) : Inherited(source) {}
    ~Geometry() override = default;

    void adjustVolume(Volume& volume) override;

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    /// Bounds of the vertices that the primitives use.
    DynamicVolume _volumeCache;
    bool _volumeCacheValid = false;
};

OSG_FIELD_CONTAINER_INL_DEF(Geometry, GeometryPtr)

OSG_END_NAMESPACE

#endif
