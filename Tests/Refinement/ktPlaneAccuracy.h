// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRefinedModel.h"

/// How well light on a model's ground plane is met: root mean square differences over its area from a dense grid of
/// traced points.
struct ktPlaneAccuracy {
    std::size_t vertices = 0; ///< of the refined plane
    double unrefined = 0;     ///< by the plane as it was
    double refined = 0;       ///< by the refined plane
    double uniform = 0;       ///< by a grid of equal squares with at least as many vertices
    double refineSeconds = 0; ///< that the refinement took of all cores
    double traceSeconds = 0;  ///< that tracing the vertices of the refined plane once takes of them
};

/// Refines the model's ground plane alone, and judges it.
/// @param squares along each side of the dense grid
ktPlaneAccuracy ktMeasurePlane(ktRefinedModel& model, int squares);
