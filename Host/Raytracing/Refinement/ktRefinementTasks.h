// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFittedPass.h"
#include "ktGatherPass.h"
#include "ktOcclusionPass.h"

#include <array>

/// How to trace light at new points: the same way as the passes of the run.
struct ktRefinementTasks {
    const ktOcclusionTask* direct = nullptr; ///< not null
    const ktGatherTask* gather = nullptr;    ///< null: no indirect light yet
    /// How to fit the results of refined geometry to its surface; all but the triangles. Null: values at the vertices.
    const ktFitTask* directFit = nullptr;
    const ktFitTask* gatherFit = nullptr;
    /// With a fit: the triangles of the scene now, each geometry counted once, and the most that it may have
    /// afterwards; 0: no limit.
    std::size_t sceneTriangles = 0, mostTriangles = 0;
};

/// The two values that refinement compares: first the visible fraction of direct light (0 for indirect light), then the
/// brightness of the light.
using ktIllumination = std::array<float, 2>;

/// The values for direct light. @param result from ktTraceOcclusion()
ktIllumination ktMeasureDirect(const osg::Vec4f& result);
/// The values for indirect light. @param received linear red, green, blue
ktIllumination ktMeasureIndirect(const float* received);
/// The values for samples of a fit. @param count channels: as in ktFitSamples
ktIllumination ktMeasureLight(const float* channels, std::size_t count, bool indirect);
