// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "OSGUberMaterial.h"

#include <array>

/// Linear red, green, blue and alpha of a texture at a texture coordinate of the geometry: moved by the texture's own
/// transform, wrapped, and interpolated between the four pixels around it where the texture is filtered. White without
/// a picture, or when it has fewer pixels than its size promises. Coordinates that are not finite, before or after the
/// transform, count as 0. Thread-safe.
std::array<float, 4> ktSampleTexture(const osg::UberMaterialTexture& texture, float u, float v);
