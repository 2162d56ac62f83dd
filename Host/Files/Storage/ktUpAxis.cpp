// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the axes that can point up.
#include "ktUpAxis.h"

std::optional<ktUpAxis> ktParseUpAxis(const std::string& text) {
    for (const ktUpAxis axis : {ktUpAxis::X, ktUpAxis::Y, ktUpAxis::Z})
        if (text == ktNameOf(axis))
            return axis;
    return std::nullopt;
}

const char* ktNameOf(ktUpAxis axis) {
    return axis == ktUpAxis::X ? "x" : axis == ktUpAxis::Y ? "y" : "z";
}
