// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"

#include <functional>

/// Splits triangles that fill little of their boxes, such as long diagonal ones, before the build (early split
/// clipping). Each part has a tight box and the triangle's id, so any builder makes a good tree of them. The split
/// planes are on grids of powers of two, the same for all triangles. After "Fast Parallel Construction of High-Quality
/// Bounding Volume Hierarchies", Tero Karras, Timo Aila, 2013. The result does not depend on the number of threads.
/// @param primitives boxes of whole triangles; parts are appended
/// @param extraShare at most so many parts are added, as a share of the primitives
/// @param corners    gives the corners of triangle `id`; called from many threads
void ktPreSplitTriangles(ktBvhPrimitives& primitives, double extraShare,
                         const std::function<void(std::uint32_t id, const float* corner[3])>& corners);
