// SPDX-License-Identifier: LGPL-2.1-or-later
// The colour scale that shows values.
#include "ktFalseColours.h"

#include "ktSrgb.h"

#include <algorithm>
#include <cmath>

namespace {

// sRGB, 8 bits. Luminance grows in about equal steps.
constexpr int stops[ktFalseColours::count][3] = {{22, 12, 70},   {36, 40, 128},  {28, 78, 158},
                                                 {16, 116, 158}, {24, 150, 138}, {84, 180, 100},
                                                 {160, 204, 70}, {222, 222, 84}, {252, 246, 180}};

} // namespace

const std::array<std::array<float, 3>, ktFalseColours::count>& ktFalseColours::linear() {
    static const auto table = [] {
        std::array<std::array<float, 3>, count> colors{};
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t c = 0; c < 3; ++c)
                colors[i][c] = ktFromSrgb(static_cast<float>(stops[i][c]) / 255);
        return colors;
    }();
    return table;
}

std::array<float, 3> ktFalseColours::at(float value) {
    const float place = std::clamp(value, 0.0f, 1.0f) * static_cast<float>(count - 1);
    const auto index = std::min(static_cast<std::size_t>(place), count - 2);
    const float share = place - static_cast<float>(index);
    std::array<float, 3> color;
    for (std::size_t c = 0; c < 3; ++c)
        color[c] = linear()[index][c] * (1 - share) + linear()[index + 1][c] * share;
    return color;
}

QRgb ktFalseColours::srgbAt(float value) {
    const std::array<float, 3> color = at(value);
    const auto byte = [](float linearValue) { return static_cast<int>(std::lround(255 * ktToSrgb(linearValue))); };
    return qRgb(byte(color[0]), byte(color[1]), byte(color[2]));
}
