// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "OSGUberMaterial.h"

#include <array>

/// Samples a texture at a texture coordinate of the geometry. Applies the texture's transform and wrap modes, and
/// interpolates between the four nearest pixels if the texture is filtered. Linear red, green, blue, alpha. White if
/// there is no picture or it has fewer pixels than its size says. Coordinates that are not finite, before or after the
/// transform, count as 0. Thread-safe.
std::array<float, 4> ktSampleTexture(const osg::UberMaterialTexture& texture, float u, float v);
