// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGatherPass.h"
#include "ktOcclusionPass.h"

#include <array>

/// How light at new points is traced: as the passes of the run trace it.
struct ktRefinementTasks {
    const ktOcclusionTask* direct = nullptr; ///< not null
    const ktGatherTask* gather = nullptr;    ///< null: no indirect light yet
};

/// What refinement compares: the share of direct light, or how bright indirect light is, and the lights' own
/// brightness.
using ktIllumination = std::array<float, 2>;

/// Of what the direct pass found. @param result as ktTraceOcclusion() leaves it
ktIllumination ktMeasureDirect(const osg::Vec4f& result);
/// Of indirect light. @param received linear red, green, blue
ktIllumination ktMeasureIndirect(const float* received);
