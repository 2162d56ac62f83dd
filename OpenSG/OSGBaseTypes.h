// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGBASETYPES_H
#define OSGBASETYPES_H

#include "OSGConfig.h"

#include <cstddef>
#include <cstdint>
#include <limits>

OSG_BEGIN_NAMESPACE

using Int8 = std::int8_t;
using Int16 = std::int16_t;
using Int32 = std::int32_t;
using Int64 = std::int64_t;
using UInt8 = std::uint8_t;
using UInt16 = std::uint16_t;
using UInt32 = std::uint32_t;
using UInt64 = std::uint64_t;
using Char8 = char;
using UChar8 = unsigned char;
using Real32 = float;
using Real64 = double;
using Real128 = long double;

/// One bit per field of a container.
using BitVector = UInt64;

/// Tolerance of the comparison operators of vectors, colours and matrices.
const Real32 Eps = 1E-6f;
const Real32 Pi = 3.14159265358979323846f;

/// Constants of the arithmetic types. RealReturnType is the type of lengths and distances.
template <class T>
struct TypeTraits {
    using RealReturnType = Real32;

    static constexpr T One = T(1);

    static constexpr T getZeroElement() { return T(0); }
    static constexpr T getOneElement() { return T(1); }
    /// Smallest (for floating point types: most negative) value.
    static constexpr T getMin() { return std::numeric_limits<T>::lowest(); }
    static constexpr T getMax() { return std::numeric_limits<T>::max(); }
};

template <>
struct TypeTraits<Real64> {
    using RealReturnType = Real64;

    static constexpr Real64 One = 1.0;

    static constexpr Real64 getZeroElement() { return 0.0; }
    static constexpr Real64 getOneElement() { return 1.0; }
    static constexpr Real64 getMin() { return std::numeric_limits<Real64>::lowest(); }
    static constexpr Real64 getMax() { return std::numeric_limits<Real64>::max(); }
};

OSG_END_NAMESPACE

#endif
