// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPERTYCONVERSION_H
#define OSGGEOPROPERTYCONVERSION_H

#include "OSGColor.h"
#include "OSGVector.h"

OSG_BEGIN_NAMESPACE

namespace detail {

/// Converts from the storage type of a geometry property to the generic type of its kind, and back. The general case is
/// a plain conversion, component by component. Missing components are zero.
template <class GenericT, class StoredT>
struct GeoValueConversion {
    static GenericT toGeneric(const StoredT& value) { return GenericT(value); }
    static StoredT toStored(const GenericT& value) { return StoredT(value); }
};

/// One texture coordinate: the second one is zero.
template <class ComponentT>
struct SingleTexCoordConversion {
    static Vec2f toGeneric(const ComponentT& value) { return Vec2f(Real32(value), 0.0f); }
    static ComponentT toStored(const Vec2f& value) { return ComponentT(value[0]); }
};

template <>
struct GeoValueConversion<Vec2f, Real32> : SingleTexCoordConversion<Real32> {};

template <>
struct GeoValueConversion<Vec2f, Real64> : SingleTexCoordConversion<Real64> {};

/// Positions with w: written as 1, ignored when read.
template <class ComponentT>
struct GeoValueConversion<Pnt3f, Point<ComponentT, 4>> {
    static Pnt3f toGeneric(const Point<ComponentT, 4>& value) { return Pnt3f(value); }
    static Point<ComponentT, 4> toStored(const Pnt3f& value) {
        return Point<ComponentT, 4>(ComponentT(value[0]), ComponentT(value[1]), ComponentT(value[2]), ComponentT(1));
    }
};

/// Converts signed integers to [-1, 1] as OpenGL does for normals: f = (2 i + 1) / (2^b - 1).
template <class IntegerT>
struct GeoValueConversion<Vec3f, Vector<IntegerT, 3>> {
    static constexpr Real32 range = Real32(TypeTraits<IntegerT>::getMax()) * 2.0f + 1.0f;

    static Vec3f toGeneric(const Vector<IntegerT, 3>& value) {
        Vec3f result;
        for (UInt32 i = 0; i < 3; ++i)
            result[i] = (2.0f * value[i] + 1.0f) / range;
        return result;
    }
    static Vector<IntegerT, 3> toStored(const Vec3f& value) {
        Vector<IntegerT, 3> result;
        for (UInt32 i = 0; i < 3; ++i)
            result[i] = IntegerT(std::lround((osgClamp(-1.0f, value[i], 1.0f) * range - 1.0f) / 2.0f));
        return result;
    }
};

template <>
struct GeoValueConversion<Vec3f, Vec3f> {
    static const Vec3f& toGeneric(const Vec3f& value) { return value; }
    static const Vec3f& toStored(const Vec3f& value) { return value; }
};

/// Converts a float colour component in [0, 1] to 0 ... 255, rounded to nearest.
inline UInt8 colorToByte(const Real32 value) {
    return UInt8(std::lround(osgClamp(0.0f, value, 1.0f) * 255.0f));
}

template <>
struct GeoValueConversion<Color3f, Color3ub> {
    static Color3f toGeneric(const Color3ub& value) {
        return Color3f(value[0] / 255.0f, value[1] / 255.0f, value[2] / 255.0f);
    }
    static Color3ub toStored(const Color3f& value) {
        return Color3ub(colorToByte(value[0]), colorToByte(value[1]), colorToByte(value[2]));
    }
};

// Colours with alpha. A colour that is set without alpha is opaque.
template <>
struct GeoValueConversion<Color3f, Color4f> {
    static Color3f toGeneric(const Color4f& value) { return Color3f(value[0], value[1], value[2]); }
    static Color4f toStored(const Color3f& value) { return Color4f(value[0], value[1], value[2], 1.0f); }
};

template <>
struct GeoValueConversion<Color3f, Color4ub> {
    static Color3f toGeneric(const Color4ub& value) {
        return Color3f(value[0] / 255.0f, value[1] / 255.0f, value[2] / 255.0f);
    }
    static Color4ub toStored(const Color3f& value) {
        return Color4ub(colorToByte(value[0]), colorToByte(value[1]), colorToByte(value[2]), 255);
    }
};

} // namespace detail

OSG_END_NAMESPACE

#endif
