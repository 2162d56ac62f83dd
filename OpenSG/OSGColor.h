// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGCOLOR_H
#define OSGCOLOR_H

#include "OSGBaseFunctions.h"

#include <algorithm>
#include <cmath>
#include <ostream>

OSG_BEGIN_NAMESPACE

/// SizeI colour components, contiguous in memory. == and != compare with the tolerance Eps per component.
/// DerivedT is the colour class itself, so that operators return it.
template <class DerivedT, class ValueTypeT, UInt32 SizeI>
class ColorBase {
public:
    using ValueType = ValueTypeT;

    /// All components zero.
    void clear() {
        for (ValueTypeT& value : _values)
            value = ValueTypeT(0);
    }

    ValueTypeT red() const { return _values[0]; }
    ValueTypeT green() const { return _values[1]; }
    ValueTypeT blue() const { return _values[2]; }

    ValueTypeT& operator[](const UInt32 index) { return _values[index]; }
    const ValueTypeT& operator[](const UInt32 index) const { return _values[index]; }

    // Component by component, with a number or with another colour.
#define OSG_COLOR_OPERATOR(OP, ASSIGN_OP)                                                                              \
    void operator ASSIGN_OP(const ValueTypeT value) {                                                                  \
        for (ValueTypeT & component : _values)                                                                         \
            component = ValueTypeT(component OP value);                                                                \
    }                                                                                                                  \
    void operator ASSIGN_OP(const DerivedT& other) {                                                                   \
        for (UInt32 i = 0; i < SizeI; ++i)                                                                             \
            _values[i] = ValueTypeT(_values[i] OP other[i]);                                                           \
    }                                                                                                                  \
    DerivedT operator OP(const ValueTypeT value) const {                                                               \
        DerivedT result(self());                                                                                       \
        result ASSIGN_OP value;                                                                                        \
        return result;                                                                                                 \
    }                                                                                                                  \
    DerivedT operator OP(const DerivedT& other) const {                                                                \
        DerivedT result(self());                                                                                       \
        result ASSIGN_OP other;                                                                                        \
        return result;                                                                                                 \
    }

    OSG_COLOR_OPERATOR(+, +=)
    OSG_COLOR_OPERATOR(-, -=)
    OSG_COLOR_OPERATOR(*, *=)
    OSG_COLOR_OPERATOR(/, /=)
#undef OSG_COLOR_OPERATOR

    /// True if no component differs by more than tolerance.
    bool equals(const DerivedT& other, const ValueTypeT tolerance) const {
        return within(other, tolerance);
    }

    bool operator<(const DerivedT& other) const {
        for (UInt32 i = 0; i < SizeI; ++i) {
            if (_values[i] < other[i])
                return true;
            if (other[i] < _values[i])
                return false;
        }
        return false;
    }
    bool operator==(const DerivedT& other) const {
        return within(other, Eps);
    }
    bool operator!=(const DerivedT& other) const {
        return !within(other, Eps);
    }

protected:
    ValueTypeT _values[SizeI] = {};

private:
    const DerivedT& self() const {
        return static_cast<const DerivedT&>(*this);
    }
    template <class ToleranceT>
    bool within(const DerivedT& other, const ToleranceT tolerance) const {
        for (UInt32 i = 0; i < SizeI; ++i)
            if (!(_values[i] - other[i] <= tolerance && other[i] - _values[i] <= tolerance))
                return false;
        return true;
    }
};

namespace detail {

/// A component between 0 and 1 as a value of the type, whose largest value stands for 1 if it is an integer.
template <class ValueTypeT>
inline ValueTypeT colorComponent(const Real32 fraction) {
    if constexpr (TypeTraits<ValueTypeT>::getMin() == ValueTypeT(0))
        return ValueTypeT(std::lround(Real64(fraction) * Real64(TypeTraits<ValueTypeT>::getMax())));
    else
        return ValueTypeT(fraction);
}
/// The opposite of colorComponent().
template <class ValueTypeT>
inline Real32 colorFraction(const ValueTypeT component) {
    if constexpr (TypeTraits<ValueTypeT>::getMin() == ValueTypeT(0))
        return Real32(component) / Real32(TypeTraits<ValueTypeT>::getMax());
    else
        return Real32(component);
}

/// Components of 8 bits each, the first in the lowest bits.
template <class ValueTypeT>
inline void unpackColor(UInt32 packed, ValueTypeT* components, const UInt32 count) {
    for (UInt32 i = 0; i < count; ++i, packed >>= 8)
        components[i] = colorComponent<ValueTypeT>(Real32(packed & 255) / 255.0f);
}
template <class ValueTypeT>
inline UInt32 packColor(const ValueTypeT* components, const UInt32 count) {
    UInt32 packed = 0;
    for (UInt32 i = count; i > 0; --i)
        packed = packed << 8 | UInt32(colorComponent<UInt8>(colorFraction(components[i - 1])));
    return packed;
}

} // namespace detail

/// Red, green and blue; floating point colours are linear and usually between 0 and 1, byte colours 0 to 255.
template <class ValueTypeT>
class Color3 : public ColorBase<Color3<ValueTypeT>, ValueTypeT, 3> {
public:
    static const Color3 Null;

    Color3() = default;
    Color3(const ValueTypeT red, const ValueTypeT green, const ValueTypeT blue) { setValuesRGB(red, green, blue); }

    void setValuesRGB(const ValueTypeT red, const ValueTypeT green, const ValueTypeT blue) {
        this->_values[0] = red;
        this->_values[1] = green;
        this->_values[2] = blue;
    }
    void getValuesRGB(ValueTypeT& red, ValueTypeT& green, ValueTypeT& blue) const {
        red = this->_values[0];
        green = this->_values[1];
        blue = this->_values[2];
    }
    ValueTypeT* getValuesRGB() { return this->_values; }
    const ValueTypeT* getValuesRGB() const { return this->_values; }

    // Hue in degrees, 0 (red) to 360; saturation and value, 0 to 1 (Alvy Ray Smith, Color Gamut Transform Pairs, 1978).
    void setValuesHSV(const Real32 h, const Real32 s, const Real32 v) { convertFromHSV(this->_values, h, s, v); }
    void getValuesHSV(Real32& h, Real32& s, Real32& v) const { convertToHSV(this->_values, h, s, v); }
    /// Leaves the colour unchanged if the hue of a colour with saturation is out of range, or rgb is null.
    static void convertFromHSV(ValueTypeT* rgb, Real32 h, Real32 s, Real32 v);
    /// The hue of grey is 0.
    static void convertToHSV(const ValueTypeT* rgb, Real32& h, Real32& s, Real32& v);
    /// Index of the largest and of the smallest component.
    static UInt32 maxPart(const ValueTypeT* rgb) { return UInt32(std::max_element(rgb, rgb + 3) - rgb); }
    static UInt32 minPart(const ValueTypeT* rgb) { return UInt32(std::min_element(rgb, rgb + 3) - rgb); }

    // Packed as 0xBBGGRR.
    void setRGB(const UInt32 packed) { detail::unpackColor(packed, this->_values, 3); }
    UInt32 getRGB() const { return detail::packColor(this->_values, 3); }
};

/// Red, green, blue and alpha (1 or 255: opaque).
template <class ValueTypeT>
class Color4 : public ColorBase<Color4<ValueTypeT>, ValueTypeT, 4> {
public:
    static const Color4 Null;

    Color4() = default;
    Color4(const ValueTypeT red, const ValueTypeT green, const ValueTypeT blue, const ValueTypeT alpha) {
        setValuesRGBA(red, green, blue, alpha);
    }

    ValueTypeT alpha() const { return this->_values[3]; }

    void setValuesRGBA(const ValueTypeT red, const ValueTypeT green, const ValueTypeT blue, const ValueTypeT alpha) {
        this->_values[0] = red;
        this->_values[1] = green;
        this->_values[2] = blue;
        this->_values[3] = alpha;
    }
    void getValuesRGBA(ValueTypeT& red, ValueTypeT& green, ValueTypeT& blue, ValueTypeT& alpha) const {
        red = this->_values[0];
        green = this->_values[1];
        blue = this->_values[2];
        alpha = this->_values[3];
    }
    ValueTypeT* getValuesRGBA() { return this->_values; }
    const ValueTypeT* getValuesRGBA() const { return this->_values; }

    /// As Color3::setValuesHSV(); the alpha becomes 1.
    void setValuesHSV(const Real32 h, const Real32 s, const Real32 v) {
        Color3<ValueTypeT>::convertFromHSV(this->_values, h, s, v);
        this->_values[3] = detail::colorComponent<ValueTypeT>(1.0f);
    }
    void getValuesHSV(Real32& h, Real32& s, Real32& v) const {
        Color3<ValueTypeT>::convertToHSV(this->_values, h, s, v);
    }

    // Packed as 0xAABBGGRR.
    void setRGBA(const UInt32 packed) { detail::unpackColor(packed, this->_values, 4); }
    UInt32 getRGBA() const { return detail::packColor(this->_values, 4); }
};

template <class ValueTypeT>
inline void Color3<ValueTypeT>::convertFromHSV(ValueTypeT* rgb, const Real32 h, const Real32 s, const Real32 v) {
    const Real32 sixth = s == 0.0f || h == 360.0f ? 0.0f : h / 60.0f;
    if (rgb == nullptr || !(sixth >= 0.0f && sixth < 6.0f))
        return;
    const Real32 part = sixth - std::floor(sixth);
    const Real32 low = v * (1.0f - s), falling = v * (1.0f - s * part), rising = v * (1.0f - s * (1.0f - part));
    const Real32 values[6][3] = {{v, rising, low},  {falling, v, low}, {low, v, rising},
                                 {low, falling, v}, {rising, low, v},  {v, low, falling}};
    for (UInt32 i = 0; i < 3; ++i)
        rgb[i] = detail::colorComponent<ValueTypeT>(s == 0.0f ? v : values[UInt32(sixth)][i]);
}

template <class ValueTypeT>
inline void Color3<ValueTypeT>::convertToHSV(const ValueTypeT* rgb, Real32& h, Real32& s, Real32& v) {
    if (rgb == nullptr)
        return;
    const UInt32 largest = maxPart(rgb);
    const Real32 values[3] = {detail::colorFraction(rgb[0]), detail::colorFraction(rgb[1]),
                              detail::colorFraction(rgb[2])};
    const Real32 range = values[largest] - values[minPart(rgb)];
    v = values[largest];
    s = v == 0.0f ? 0.0f : range / v;
    h = 0.0f;
    if (s == 0.0f)
        return;
    h = 60.0f * (2.0f * Real32(largest) + (values[(largest + 1) % 3] - values[(largest + 2) % 3]) / range);
    if (h < 0.0f)
        h += 360.0f;
}

template <class ValueTypeT>
inline const Color3<ValueTypeT> Color3<ValueTypeT>::Null = Color3<ValueTypeT>();
template <class ValueTypeT>
inline const Color4<ValueTypeT> Color4<ValueTypeT>::Null = Color4<ValueTypeT>();

template <class ValueTypeT>
std::ostream& operator<<(std::ostream& os, const Color3<ValueTypeT>& color) {
    return os << +color[0] << ' ' << +color[1] << ' ' << +color[2];
}
template <class ValueTypeT>
std::ostream& operator<<(std::ostream& os, const Color4<ValueTypeT>& color) {
    return os << +color[0] << ' ' << +color[1] << ' ' << +color[2] << ' ' << +color[3];
}

using Color3f = Color3<Real32>;
using Color4f = Color4<Real32>;
using Color3ub = Color3<UInt8>;
using Color4ub = Color4<UInt8>;

OSG_END_NAMESPACE

#endif
