// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

/// The world-space directions of one tile of a vertex's rays: x * tangent + y * bitangent + z * normal.
/// Bits do not depend on the processor.
/// @param x, y, z 16 floats each, aligned to 64 bytes
using ktRotateTile = void (*)(const ktDirectionTile& tile, const ktRayVertex& vertex, float* x, float* y, float* z);

/// The fastest version for this processor.
ktRotateTile ktChooseRotateTile();
