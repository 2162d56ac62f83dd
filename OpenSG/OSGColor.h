// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGCOLOR_H
#define OSGCOLOR_H

#include "OSGBaseFunctions.h"

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
};

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
