// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktVertexTask.h"

#include <cstdint>
#include <vector>

/// Finds the points that lie inside a solid: more than half of the surfaces that their rays meet show their back side.
/// Distances do not count. Call on a worker thread.
/// @param task    the points; a few directions are enough
/// @param asked   the points to test
/// @param isValid one element per point of the task; set to 0 for asked points inside a solid
/// @return the number of points with own rays
/// @throws ktCanceled
std::uint64_t ktMarkInside(const ktVertexTask& task, const std::vector<std::uint32_t>& asked, std::uint8_t* isValid);
