// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Luminance of a linear colour whose primaries are those of ITU-R BT.709.
/// @param color three floats: red, green, blue
inline float ktLuminance(const float* color) {
    return 0.212671f * color[0] + 0.71516f * color[1] + 0.072169f * color[2];
}
