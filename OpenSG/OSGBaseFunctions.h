// SPDX-License-Identifier: LGPL-2.1-or-later
// Mathematical functions for all number types, and the start and end of the scene graph.
#ifndef OSGBASEFUNCTIONS_H
#define OSGBASEFUNCTIONS_H

#include "OSGBaseTypes.h"

#include <cmath>

OSG_BEGIN_NAMESPACE

template <class T>
inline T osgsqrt(const T value) {
    return std::sqrt(value);
}
template <class T>
inline T osgcos(const T radians) {
    return std::cos(radians);
}
template <class T>
inline T osgsin(const T radians) {
    return std::sin(radians);
}
template <class T>
inline T osgtan(const T radians) {
    return std::tan(radians);
}
template <class T>
inline T osgacos(const T value) {
    return std::acos(value);
}
template <class T>
inline T osgasin(const T value) {
    return std::asin(value);
}
template <class T>
inline T osgatan(const T value) {
    return std::atan(value);
}
template <class T>
inline T osgatan2(const T y, const T x) {
    return std::atan2(y, x);
}
template <class T>
inline T osgpow(const T base, const T exponent) {
    return std::pow(base, exponent);
}
template <class T>
inline T osglog(const T value) {
    return std::log(value);
}
template <class T>
inline T osgexp(const T value) {
    return std::exp(value);
}
template <class T>
inline T osgfloor(const T value) {
    return std::floor(value);
}
template <class T>
inline T osgceil(const T value) {
    return std::ceil(value);
}
template <class T>
inline T osgabs(const T value) {
    return value < T(0) ? T(-value) : value;
}
template <class T>
inline UInt32 osgfinite(const T value) {
    return std::isfinite(value) ? 1 : 0;
}

template <class T>
inline T osgMin(const T a, const T b) {
    return b < a ? b : a;
}
template <class T>
inline T osgMax(const T a, const T b) {
    return a < b ? b : a;
}

/// Clamps value to [lowest, highest].
template <class T>
inline T osgClamp(const T lowest, const T value, const T highest) {
    return value < lowest ? lowest : (highest < value ? highest : value);
}

template <class T>
inline T osgdegree2rad(const T degrees) {
    return T(degrees * (3.14159265358979323846 / 180.0));
}
template <class T>
inline T osgrad2degree(const T radians) {
    return T(radians * (180.0 / 3.14159265358979323846));
}

/// Starts the scene graph: creates the prototypes of all types known so far. Optional, since a type otherwise creates
/// its prototype on first use. May be called again. Ignores its arguments. Returns true.
bool osgInit(Int32 argc = 0, Char8** argv = nullptr, UInt16 major = 1, UInt16 minor = 8, UInt16 release = 0);

/// Ends the use of the scene graph. Containers that are still referenced stay alive. Returns true.
bool osgExit();

OSG_END_NAMESPACE

#endif
