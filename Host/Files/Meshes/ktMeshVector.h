// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cmath>

/// Three floats, laid out as in an array of positions or normals.
struct ktMeshVector {
    float x, y, z;
};

inline ktMeshVector operator-(const ktMeshVector& a, const ktMeshVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline ktMeshVector operator*(const ktMeshVector& a, float factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}

inline ktMeshVector& operator+=(ktMeshVector& a, const ktMeshVector& b) {
    return a = {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline float ktDot(const ktMeshVector& a, const ktMeshVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline ktMeshVector ktCross(const ktMeshVector& a, const ktMeshVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Scales a vector to unit length. False for a vector without direction, which stays unchanged.
inline bool ktNormalize(ktMeshVector& v) {
    // Scaled so that its square neither underflows nor overflows.
    const float largest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    if (!(largest > 0.0f) || !std::isfinite(largest))
        return false;
    const ktMeshVector scaled = {v.x / largest, v.y / largest, v.z / largest};
    const float length = std::sqrt(ktDot(scaled, scaled));
    v = {scaled.x / length, scaled.y / length, scaled.z / length};
    return true;
}
