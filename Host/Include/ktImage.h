// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <vector>

/// An image in memory: 8 bits per channel; red, green, blue, alpha; rows from the top; no padding.
struct ktImage {
    int width_px = 0;
    int height_px = 0;
    std::vector<std::uint8_t> pixels; ///< 4 * width_px * height_px bytes
};
