// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <algorithm>
#include <cmath>

/// Linear value of an sRGB value. Both 0 to 1. Source: IEC 61966-2-1, 1999.
inline float ktFromSrgb(float srgb) {
    return srgb <= 0.04045f ? srgb / 12.92f : std::pow((srgb + 0.055f) / 1.055f, 2.4f);
}

/// sRGB value, 0 to 1, of a linear value; values outside 0 to 1 count as 0 or 1.
inline float ktToSrgb(float linear) {
    linear = std::clamp(linear, 0.0f, 1.0f);
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}
