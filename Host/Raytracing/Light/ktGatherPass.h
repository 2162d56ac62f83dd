// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktReflectedLight.h"
#include "ktVertexTask.h"

#include <atomic>
#include <cstdint>
#include <vector>

/// Input for gathering one bounce of indirect light at one geometry. Everything belongs to the caller.
struct ktGatherTask : ktVertexTask {
    const ktReflectedLight* light = nullptr; ///< of ktBounceLight, after takeSnapshot()
    /// Null, or `count` elements: set to 0 where more than half of the surfaces that the rays hit show their back side.
    std::uint8_t* isValid = nullptr;
};

/// Gathers the light that arrives at `task.count` vertices from the nearest surfaces around them: the mean over the
/// cosine-weighted directions, three floats per vertex. Rays that hit nothing add nothing. A vertex that cannot be
/// traced receives nothing. Call on a worker thread.
/// @param received `3 * task.count` floats
/// @param done     vertices finished so far, for another thread to read
/// @throws ktCanceled and std::bad_alloc; `received` is then incomplete
ktVertexCounts ktGatherLight(const ktGatherTask& task, float* received, std::atomic<std::uint32_t>& done);
