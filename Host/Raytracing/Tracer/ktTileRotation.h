// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

/// Rotates one tile of directions from the frame of a vertex to world space: x * tangent + y * bitangent + z * normal.
/// The result has the same bits on every processor.
/// @param x, y, z 16 floats each, aligned to 64 bytes
using ktRotateTile = void (*)(const ktDirectionTile& tile, const ktRayVertex& vertex, float* x, float* y, float* z);

/// Returns the fastest version for this processor.
ktRotateTile ktChooseRotateTile();
