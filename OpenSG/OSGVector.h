// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGVECTOR_H
#define OSGVECTOR_H

#include "OSGBaseFunctions.h"

#include <algorithm>
#include <iosfwd>
#include <istream>
#include <ostream>
#include <type_traits>

OSG_BEGIN_NAMESPACE

template <class ValueTypeT, UInt32 SizeI>
class Vector;

/// A point: SizeI values, contiguous in memory. The difference of two points is a vector.
///
/// == and != compare with the tolerance Eps per component; < is lexicographic and exact.
template <class ValueTypeT, UInt32 SizeI>
class Point {
public:
    using ValueType = ValueTypeT;
    using RealReturnType = typename TypeTraits<ValueTypeT>::RealReturnType;
    using VectorType = Vector<ValueTypeT, SizeI>;
    using PointType = Point<ValueTypeT, SizeI>;

    static constexpr UInt32 _iSize = SizeI;

    /// All components zero.
    static const Point Null;

    constexpr Point() = default;
    /// Copies SizeI values. A null pointer gives zeros.
    Point(const ValueTypeT* values) {
        if (values != nullptr)
            setValue(values);
    }
    /// Copies the components that both have. The others become zero.
    template <class OtherT, UInt32 OtherSizeI>
    Point(const Point<OtherT, OtherSizeI>& other) {
        setValue(other);
    }
    // Drops surplus arguments and sets missing components to zero, so that one form serves all sizes.
    Point(const ValueTypeT v0) { assign(v0, ValueTypeT(0), ValueTypeT(0), ValueTypeT(0)); }
    Point(const ValueTypeT v0, const ValueTypeT v1) { assign(v0, v1, ValueTypeT(0), ValueTypeT(0)); }
    Point(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2) { assign(v0, v1, v2, ValueTypeT(0)); }
    Point(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2, const ValueTypeT v3) {
        assign(v0, v1, v2, v3);
    }

    void setNull() { *this = Point(); }
    /// Copies the components that both have. The others stay unchanged.
    template <class OtherT, UInt32 OtherSizeI>
    void setValue(const Point<OtherT, OtherSizeI>& other) {
        constexpr UInt32 count = std::min(SizeI, OtherSizeI);
        for (UInt32 i = 0; i < count; ++i)
            _values[i] = ValueTypeT(other.getValues()[i]);
    }
    void setValue(const ValueTypeT* values) {
        for (UInt32 i = 0; i < SizeI; ++i)
            _values[i] = values[i];
    }
    void setValues(const ValueTypeT v0, const ValueTypeT v1) {
        static_assert(SizeI == 2, "two values set a two-component vector");
        assign(v0, v1, ValueTypeT(0), ValueTypeT(0));
    }
    void setValues(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2) {
        static_assert(SizeI == 3, "three values set a three-component vector");
        assign(v0, v1, v2, ValueTypeT(0));
    }
    void setValues(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2, const ValueTypeT v3) {
        static_assert(SizeI == 4, "four values set a four-component vector");
        assign(v0, v1, v2, v3);
    }

    ValueTypeT* getValues() { return _values; }
    const ValueTypeT* getValues() const { return _values; }

    ValueTypeT x() const { return _values[0]; }
    ValueTypeT y() const { return _values[1]; }
    ValueTypeT z() const {
        static_assert(SizeI > 2, "no z component");
        return _values[2];
    }
    ValueTypeT w() const {
        static_assert(SizeI > 3, "no w component");
        return _values[3];
    }

    ValueTypeT& operator[](const UInt32 index) { return _values[index]; }
    const ValueTypeT& operator[](const UInt32 index) const { return _values[index]; }

    /// True if no component is farther than Eps from zero.
    bool isZero() const { return equals(Point(), ValueTypeT(Eps)); }
    void negate() {
        for (ValueTypeT& value : _values)
            value = ValueTypeT(-value);
    }
    /// True if no component differs by more than tolerance.
    bool equals(const Point& other, const ValueTypeT tolerance) const {
        for (UInt32 i = 0; i < SizeI; ++i)
            if (!(_values[i] - other._values[i] <= tolerance && other._values[i] - _values[i] <= tolerance))
                return false;
        return true;
    }
    VectorType subZero() const { return VectorType(*this); }
    RealReturnType dist2(const Point& other) const {
        RealReturnType sum = 0;
        for (UInt32 i = 0; i < SizeI; ++i)
            sum += RealReturnType(other._values[i] - _values[i]) * RealReturnType(other._values[i] - _values[i]);
        return sum;
    }
    RealReturnType dist(const Point& other) const { return std::sqrt(dist2(other)); }
    /// Largest component.
    RealReturnType maxValue() const {
        ValueTypeT largest = _values[0];
        for (const ValueTypeT value : _values)
            largest = osgMax(largest, value);
        return RealReturnType(largest);
    }

    void operator*=(const ValueTypeT factor) {
        for (ValueTypeT& value : _values)
            value = ValueTypeT(value * factor);
    }
    void operator/=(const ValueTypeT divisor) {
        for (ValueTypeT& value : _values)
            value = ValueTypeT(value / divisor);
    }
    void operator+=(const VectorType& vec) {
        for (UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] + vec[i]);
    }
    void operator-=(const VectorType& vec) {
        for (UInt32 i = 0; i < SizeI; ++i)
            _values[i] = ValueTypeT(_values[i] - vec[i]);
    }
    VectorType operator-(const Point& other) const {
        VectorType result(*this);
        for (UInt32 i = 0; i < SizeI; ++i)
            result[i] = ValueTypeT(result[i] - other._values[i]);
        return result;
    }
    Point operator+(const VectorType& vec) const {
        Point result(*this);
        result += vec;
        return result;
    }
    Point operator-(const VectorType& vec) const {
        Point result(*this);
        result -= vec;
        return result;
    }
    Point operator*(const ValueTypeT factor) const {
        Point result(*this);
        result *= factor;
        return result;
    }
    Point operator-() const {
        Point result(*this);
        result.negate();
        return result;
    }

    bool operator<(const Point& other) const {
        for (UInt32 i = 0; i < SizeI; ++i) {
            if (_values[i] < other._values[i])
                return true;
            if (other._values[i] < _values[i])
                return false;
        }
        return false;
    }
    bool operator==(const Point& other) const { return equals(other, ValueTypeT(Eps)); }
    bool operator!=(const Point& other) const { return !(*this == other); }

protected:
    ValueTypeT _values[SizeI] = {};

private:
    void assign(const ValueTypeT v0, const ValueTypeT v1, const ValueTypeT v2, const ValueTypeT v3) {
        const ValueTypeT values[4] = {v0, v1, v2, v3};
        setValue(values);
    }
};

/// A direction or displacement: a point's values, with the operations of a vector space.
template <class ValueTypeT, UInt32 SizeI>
class Vector : public Point<ValueTypeT, SizeI> {
public:
    using Inherited = Point<ValueTypeT, SizeI>;
    using RealReturnType = typename Inherited::RealReturnType;
    using PointType = typename Inherited::PointType;
    using VectorType = Vector;

    /// All components zero.
    static const Vector Null;

    constexpr Vector() = default;
    using Inherited::Inherited;
    Vector(const PointType& point) : Inherited(point) {}

    RealReturnType squareLength() const {
        RealReturnType sum = 0;
        for (const ValueTypeT value : this->_values)
            sum += RealReturnType(value) * RealReturnType(value);
        return sum;
    }
    RealReturnType length() const { return std::sqrt(squareLength()); }
    /// Scales to length 1. Leaves a vector shorter than Eps unchanged.
    void normalize() {
        const RealReturnType len = length();
        if (len < RealReturnType(Eps))
            return;
        for (ValueTypeT& value : this->_values)
            value = ValueTypeT(value / len);
    }

    ValueTypeT dot(const PointType& other) const {
        ValueTypeT sum = ValueTypeT(0);
        for (UInt32 i = 0; i < SizeI; ++i)
            sum = ValueTypeT(sum + this->_values[i] * other[i]);
        return sum;
    }
    /// Cross product of the first three components.
    Vector cross(const Vector& other) const {
        static_assert(SizeI >= 3, "the cross product needs three components");
        const ValueTypeT* a = this->_values;
        const ValueTypeT* b = other._values;
        return Vector(ValueTypeT(a[1] * b[2] - a[2] * b[1]), ValueTypeT(a[2] * b[0] - a[0] * b[2]),
                      ValueTypeT(a[0] * b[1] - a[1] * b[0]));
    }
    Vector operator%(const Vector& other) const { return cross(other); }
    void crossThis(const Vector& other) { *this = cross(other); }
    /// Angle to other in radians; 0 if either is zero.
    RealReturnType enclosedAngle(const Vector& other) const {
        const RealReturnType lengths = length() * other.length();
        if (this->isZero() || other.isZero())
            return RealReturnType(0);
        return std::acos(osgClamp(RealReturnType(-1), RealReturnType(dot(other)) / lengths, RealReturnType(1)));
    }
    /// Replaces the vector by its projection onto toVec, which must not be zero. Returns the length of the projection
    /// as a multiple of toVec's length.
    RealReturnType projectTo(const Vector& toVec) {
        const RealReturnType factor = RealReturnType(dot(toVec)) / toVec.squareLength();
        *this = toVec * ValueTypeT(factor);
        return factor;
    }
    PointType addToZero() const { return PointType(*this); }

    Vector operator+(const Vector& other) const {
        Vector result(*this);
        result += other;
        return result;
    }
    Vector operator-(const Vector& other) const {
        Vector result(*this);
        result -= other;
        return result;
    }
    Vector operator*(const ValueTypeT factor) const {
        Vector result(*this);
        result *= factor;
        return result;
    }
    /// Dot product.
    ValueTypeT operator*(const Vector& other) const { return dot(other); }
    Vector operator-() const {
        Vector result(*this);
        result.negate();
        return result;
    }
};

template <class ValueTypeT, UInt32 SizeI>
inline const Point<ValueTypeT, SizeI> Point<ValueTypeT, SizeI>::Null = Point<ValueTypeT, SizeI>();
template <class ValueTypeT, UInt32 SizeI>
inline const Vector<ValueTypeT, SizeI> Vector<ValueTypeT, SizeI>::Null = Vector<ValueTypeT, SizeI>();

template <class ValueTypeT, UInt32 SizeI>
inline Point<ValueTypeT, SizeI> operator*(const ValueTypeT factor, const Point<ValueTypeT, SizeI>& point) {
    return point * factor;
}
template <class ValueTypeT, UInt32 SizeI>
inline Vector<ValueTypeT, SizeI> operator*(const ValueTypeT factor, const Vector<ValueTypeT, SizeI>& vec) {
    return vec * factor;
}

/// Writes the components, separated by blanks.
template <class ValueTypeT, UInt32 SizeI>
std::ostream& operator<<(std::ostream& os, const Point<ValueTypeT, SizeI>& point) {
    // Write bytes as numbers.
    for (UInt32 i = 0; i < SizeI; ++i)
        os << (i != 0 ? " " : "") << +point[i];
    return os;
}

#define OSG_VECTOR_TYPEDEFS(TYPE, SUFFIX)                                                                              \
    using Vec2##SUFFIX = Vector<TYPE, 2>;                                                                              \
    using Vec3##SUFFIX = Vector<TYPE, 3>;                                                                              \
    using Vec4##SUFFIX = Vector<TYPE, 4>;                                                                              \
    using Pnt2##SUFFIX = Point<TYPE, 2>;                                                                               \
    using Pnt3##SUFFIX = Point<TYPE, 3>;                                                                               \
    using Pnt4##SUFFIX = Point<TYPE, 4>;

OSG_VECTOR_TYPEDEFS(Int8, b)
OSG_VECTOR_TYPEDEFS(UInt8, ub)
OSG_VECTOR_TYPEDEFS(Int16, s)
OSG_VECTOR_TYPEDEFS(UInt16, us)
OSG_VECTOR_TYPEDEFS(Real32, f)
OSG_VECTOR_TYPEDEFS(Real64, d)
OSG_VECTOR_TYPEDEFS(Real128, ld)

#undef OSG_VECTOR_TYPEDEFS

OSG_END_NAMESPACE

#endif
