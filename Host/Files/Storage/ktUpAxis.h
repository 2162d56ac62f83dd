// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <optional>
#include <string>

/// The axis of a file that points up.
enum class ktUpAxis { X, Y, Z };

/// Parses "x", "y" or "z". Empty for anything else.
KT_HOST_EXPORT std::optional<ktUpAxis> ktParseUpAxis(const std::string& text);
/// "x", "y" or "z".
KT_HOST_EXPORT const char* ktNameOf(ktUpAxis axis);

/// Turns a vector by the rotation about a coordinate axis that takes the up axis to y. Exact, in place.
template <class Number>
void ktTurnUp(ktUpAxis up, Number* vector) {
    const Number x = vector[0], y = vector[1], z = vector[2];
    if (up == ktUpAxis::X) {
        vector[0] = -y;
        vector[1] = x;
    } else if (up == ktUpAxis::Z) {
        vector[1] = z;
        vector[2] = -y;
    }
}
/// The inverse of ktTurnUp().
template <class Number>
void ktTurnBack(ktUpAxis up, Number* vector) {
    const Number x = vector[0], y = vector[1], z = vector[2];
    if (up == ktUpAxis::X) {
        vector[0] = y;
        vector[1] = -x;
    } else if (up == ktUpAxis::Z) {
        vector[1] = -z;
        vector[2] = y;
    }
}
