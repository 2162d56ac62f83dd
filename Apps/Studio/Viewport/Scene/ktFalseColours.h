// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <QRgb>

/// The scale of false colours: from dark blue at 0 to light yellow at 1. Brighter colours are higher values, so that it
/// reads without colour vision, too.
namespace ktFalseColours {

constexpr std::size_t count = 9;

/// Linear red, green, blue at equal steps from 0 to 1; between them, the scale is linear in these.
const std::array<std::array<float, 3>, count>& linear();

/// Linear colour of a value; values outside 0 to 1 count as 0 or 1.
std::array<float, 3> at(float value);

/// The same in sRGB.
QRgb srgbAt(float value);

} // namespace ktFalseColours
