// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktBuildProgress.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"

#include <vector>

/// The boxes that a tree is built over.
struct ktTriangleBoxes {
    ktBvhPrimitives boxes; ///< of all usable triangles, numbers ascending
    double sizeSpread = 1; ///< mean of their squared size over the square of the mean: 1 when all are equal
};

/// Looks for usable triangles, on all threads: those whose corners are numbers below 1.8e18 and differ from each other.
/// The result does not depend on the number of threads.
/// @param moreShare room is left for so many more boxes, as a share of the triangles
/// @param progress  told shares from 0 to `lastShare`; when it is stopped the result is of no use
ktTriangleBoxes ktCollectTriangleBoxes(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers,
                                       double spareShare, ktBuildProgress& progress, float endShare);
