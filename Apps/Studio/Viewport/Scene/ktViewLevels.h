// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewScene.h"

/// Coarser triangles of a geometry, made of a part of its own vertices.
struct ktViewLevel {
    double cellSize = 0;                  ///< about the largest distance to the full surface, object space
    std::vector<std::uint32_t> triangles; ///< three vertices each
};

/// Makes levels from fine to coarse; each has at most 60 % of the triangles of the one before. Few triangles make no
/// level. Any thread. Source: J. Rossignac and P. Borrel, Multi-Resolution 3D Approximations for Rendering Complex
/// Scenes, 1993; the vertex that is nearest to the mean of its cell represents the cell.
std::vector<ktViewLevel> ktMakeViewLevels(const std::vector<float>& positions,
                                          const std::vector<std::uint32_t>& triangles, const ktViewCamera::Box& bounds);

/// Makes one level in a fraction of that time: one vertex of each cell represents it. No triangles if the level has
/// more than 60 % of those given. Any thread.
/// @param cellSize object space, above 0
ktViewLevel ktMakeQuickLevel(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles,
                             const ktViewCamera::Box& bounds, double cellSize);
