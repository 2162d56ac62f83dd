// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPERTYINTERFACE_H
#define OSGGEOPROPERTYINTERFACE_H

#include "OSGAttachment.h"
#include "OSGColor.h"
#include "OSGGL.h"
#include "OSGVector.h"

OSG_BEGIN_NAMESPACE

/// The view of a geometry property as an array of untyped elements, contiguous in memory.
class GeoPropertyArrayInterface {
public:
    /// OpenGL code of a component's type (GL_FLOAT, ...), and its size in bytes.
    virtual UInt32 getFormat() const = 0;
    virtual UInt32 getFormatSize() const = 0;
    /// Components of an element.
    virtual UInt32 getDimension() const = 0;
    /// Always 0: elements are contiguous.
    virtual UInt32 getStride() const = 0;

    /// Number of elements.
    virtual UInt32 getSize() const = 0;
    virtual UInt32 size() const = 0;
    /// First element. Valid until the number of elements changes.
    virtual UInt8* getData() const = 0;
    virtual UInt8* editData() = 0;

    virtual void clear() = 0;
    /// New elements are zero.
    virtual void resize(size_t newSize) = 0;
    /// Releases unused memory.
    virtual void shrink() = 0;

protected:
    virtual ~GeoPropertyArrayInterface() = default;
};

// The kinds of properties. Values of every storage type of a kind can be read and written as its
// GenericType.

struct GeoPositionsPropertyDesc {
    typedef Pnt3f GenericType;
    static const Char8* getTypeName() { return "GeoPositions"; }
    static const Char8* getGroupName() { return "GeoPositions"; }
};

struct GeoNormalsPropertyDesc {
    typedef Vec3f GenericType;
    static const Char8* getTypeName() { return "GeoNormals"; }
    static const Char8* getGroupName() { return "GeoNormals"; }
};

struct GeoColorsPropertyDesc {
    typedef Color3f GenericType;
    static const Char8* getTypeName() { return "GeoColors"; }
    static const Char8* getGroupName() { return "GeoColors"; }
};

struct GeoTexCoordsPropertyDesc {
    typedef Vec2f GenericType;
    static const Char8* getTypeName() { return "GeoTexCoords"; }
    static const Char8* getGroupName() { return "GeoTexCoords"; }
};

struct GeoIndicesPropertyDesc {
    typedef UInt32 GenericType;
    static const Char8* getTypeName() { return "GeoIndices"; }
    static const Char8* getGroupName() { return "GeoIndices"; }
};

struct GeoPTypesPropertyDesc {
    typedef UInt32 GenericType;
    static const Char8* getTypeName() { return "GeoPTypes"; }
    static const Char8* getGroupName() { return "GeoPTypes"; }
};

struct GeoPLengthsPropertyDesc {
    typedef UInt32 GenericType;
    static const Char8* getTypeName() { return "GeoPLengths"; }
    static const Char8* getGroupName() { return "GeoPLengths"; }
};

OSG_END_NAMESPACE

#endif
