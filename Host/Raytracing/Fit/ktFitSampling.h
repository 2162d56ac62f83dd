// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitSolver.h"
#include "ktFittedPass.h"

#include <cstddef>
#include <cstdint>

/// Channels of the samples of direct light: w and, where lights shine, their colour before it.
inline std::size_t ktDirectChannels(const ktOcclusionTask& task) {
    return task.lights && !task.lights->empty() ? 4 : 1;
}

/// What tracing samples took.
struct ktSampleCounts {
    ktVertexCounts points;
    std::uint64_t insideRays = 0; ///< that tell inside from outside
};

/// Traces light at points and, if asked, decides which of them count; otherwise, all do. Call on a worker thread.
/// @param points  the points, as the vertices of a task
/// @param fit     its inside directions are used
/// @param samples those from `first` on are set, one per point. Of direct light: w, and before it the colour of the
///                lights if there are four channels. Of gathered light: red, green, blue
/// @throws ktCanceled, std::bad_alloc
ktSampleCounts ktTraceSamples(const ktOcclusionTask& points, const ktFitTask& fit, ktFitSamples& samples,
                              std::size_t first, bool findInvalid = true);
ktSampleCounts ktTraceSamples(const ktGatherTask& points, const ktFitTask& fit, ktFitSamples& samples,
                              std::size_t first, bool findInvalid = true);
