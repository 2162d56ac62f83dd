// SPDX-License-Identifier: LGPL-2.1-or-later
// Samples a texture: transforms and wraps coordinates, filters pixels, converts sRGB to linear colour.
#include "ktTextureSample.h"

#include "ktSrgb.h"

#include <algorithm>
#include <cmath>

namespace {

using Color = std::array<float, 4>;

const std::array<float, 256>& linearFromSrgb() {
    static const std::array<float, 256> table = [] {
        std::array<float, 256> values{};
        for (size_t i = 0; i < values.size(); ++i)
            values[i] = ktFromSrgb(static_cast<float>(i) / 255);
        return values;
    }();
    return table;
}

/// A pixel's index, wrapped into 0 to count - 1.
int wrapped(double index, int count, osg::UberMaterialTexture::Wrap wrap) {
    if (wrap == osg::UberMaterialTexture::ClampToEdge)
        return static_cast<int>(std::clamp(index, 0.0, count - 1.0));
    const double period = wrap == osg::UberMaterialTexture::MirroredRepeat ? 2.0 * count : 1.0 * count;
    double inside = index - period * std::floor(index / period);
    if (inside >= count)
        inside = period - 1 - inside;
    return std::clamp(static_cast<int>(inside), 0, count - 1);
}

Color pixel(const ktImage& image, int x, int y) {
    const std::uint8_t* bytes =
        &image.pixels[4 * (static_cast<size_t>(y) * static_cast<size_t>(image.width_px) + static_cast<size_t>(x))];
    const auto& linear = linearFromSrgb();
    return {linear[bytes[0]], linear[bytes[1]], linear[bytes[2]], static_cast<float>(bytes[3]) / 255};
}

/// Whether the picture has as many pixels as its size says.
bool isWhole(const ktImage& image) {
    return image.width_px > 0 && image.height_px > 0 &&
           image.pixels.size() / 4 / static_cast<size_t>(image.width_px) >= static_cast<size_t>(image.height_px);
}

double finiteOr0(double value) {
    return std::isfinite(value) ? value : 0;
}

} // namespace

std::array<float, 4> ktSampleTexture(const osg::UberMaterialTexture& texture, float u, float v) {
    if (!texture.image || !isWhole(*texture.image))
        return {1, 1, 1, 1};
    const ktImage& image = *texture.image;
    const double scaledU = texture.scale[0] * finiteOr0(u), scaledV = texture.scale[1] * finiteOr0(v);
    const double c = std::cos(texture.rotation_rad), s = std::sin(texture.rotation_rad);
    const double x = finiteOr0(texture.offset[0] + c * scaledU + s * scaledV) * image.width_px;
    const double y = finiteOr0(texture.offset[1] - s * scaledU + c * scaledV) * image.height_px;
    const auto at = [&](double column, double row) {
        return pixel(image, wrapped(column, image.width_px, texture.wrapU),
                     wrapped(row, image.height_px, texture.wrapV));
    };
    if (!texture.isFiltered)
        return at(std::floor(x), std::floor(y));

    // Pixel centres are at half coordinates.
    const double left = std::floor(x - 0.5), top = std::floor(y - 0.5);
    const auto right = static_cast<float>(x - 0.5 - left), down = static_cast<float>(y - 0.5 - top);
    const Color corners[4] = {at(left, top), at(left + 1, top), at(left, top + 1), at(left + 1, top + 1)};
    Color sum{};
    for (size_t i = 0; i < 4; ++i)
        sum[i] = (corners[0][i] * (1 - right) + corners[1][i] * right) * (1 - down) +
                 (corners[2][i] * (1 - right) + corners[3][i] * right) * down;
    return sum;
}
