// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRefinedModel.h"

/// How exact the light on a model's ground plane is: root mean square differences over its area, from a dense grid
/// of traced points.
struct ktPlaneAccuracy {
    std::size_t vertices = 0; ///< of the refined plane
    double unrefined = 0;     ///< of the plane before refinement
    double refined = 0;       ///< of the refined plane
    double uniform = 0;       ///< of a grid of equal squares with at least as many vertices
    double refineSeconds = 0; ///< of the refinement, summed over all cores
    double traceSeconds = 0;  ///< to trace the refined plane's vertices once, likewise
};

/// Refines only the model's ground plane and measures its accuracy.
/// @param squares along each side of the dense grid
ktPlaneAccuracy ktMeasurePlane(ktRefinedModel& model, int squares);
