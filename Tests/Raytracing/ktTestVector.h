// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// A vector in double precision, for checks of the tracers that share no code with them.
struct ktTestVector {
    double x, y, z;
};

inline ktTestVector operator-(ktTestVector a, ktTestVector b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline ktTestVector cross(ktTestVector a, ktTestVector b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double dot(ktTestVector a, ktTestVector b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
