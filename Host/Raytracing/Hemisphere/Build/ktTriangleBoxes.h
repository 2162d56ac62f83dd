// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktBuildProgress.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"

#include <vector>

/// The boxes of triangles, over which a tree is built.
struct ktTriangleBoxes {
    ktBvhPrimitives boxes; ///< of all usable triangles, by ascending id
    double sizeSpread = 1; ///< mean of the squared box sizes over the square of their mean: 1 if all are equal
};

/// Collects the boxes of usable triangles, on all threads. A triangle is usable if its corners are finite, below 1.8e18
/// and different from each other. The result does not depend on the number of threads.
/// @param spareShare memory is reserved for so many more boxes, as a share of the triangles
/// @param progress   gets shares from 0 to `endShare`; if it stops the build, the result is invalid
ktTriangleBoxes ktCollectTriangleBoxes(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers,
                                       double spareShare, ktBuildProgress& progress, float endShare);
