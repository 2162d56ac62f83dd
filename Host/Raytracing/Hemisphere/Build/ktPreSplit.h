// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"

#include <functional>

/// Replaces triangles whose boxes hold much that is not triangle (long ones that lie askew) by parts, each with a box
/// of its own and the triangle's number, so that any builder makes a good tree of them. The planes lie on grids of
/// powers of two, the same for all triangles. After "Fast Parallel Construction of High-Quality Bounding Volume
/// Hierarchies", Tero Karras, Timo Aila, 2013. The result does not depend on the number of threads.
/// @param primitives the boxes of whole triangles; parts are appended
/// @param share      of their number: at most so many parts are added
/// @param corners    writes the corners of triangle `id`; called from many threads
void ktPreSplitTriangles(ktBvhPrimitives& primitives, double extraShare,
                         const std::function<void(std::uint32_t id, const float* corner[3])>& corners);
