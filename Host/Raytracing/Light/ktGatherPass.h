// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBounceLight.h"
#include "ktVertexTask.h"

#include <atomic>
#include <cstdint>
#include <vector>

/// What one bounce of indirect light at one geometry is gathered from. Everything belongs to the caller.
struct ktGatherTask : ktVertexTask {
    const ktBounceLight* light = nullptr; ///< with its snapshot taken
};

/// Gathers the light that arrives at `task.count` vertices from the nearest surfaces around them: the mean over the
/// cosine-weighted directions, three floats a vertex; rays that meet nothing bring nothing. A vertex that cannot be
/// traced receives nothing. To be called on a worker thread.
/// @param received `3 * task.count` floats
/// @param done     vertices finished so far, for another thread to read
/// @throws ktCanceled and std::bad_alloc; `received` then holds something unfinished
ktVertexCounts ktGatherLight(const ktGatherTask& task, float* received, std::atomic<std::uint32_t>& done);
