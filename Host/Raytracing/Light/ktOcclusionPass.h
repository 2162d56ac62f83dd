// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneLight.h"
#include "ktVertexTask.h"

#include <atomic>
#include <cstdint>
#include <OpenSG/OSGVector.h>
#include <vector>

/// The smallest w of a vertex that was traced, so that "dark" is not taken for "not calculated".
constexpr float ktDarkestResult = 2.0e-6f;

/// What the direct light of one geometry is traced from. Everything belongs to the caller. The limits are those of sky
/// rays; shadow rays end at their light.
struct ktOcclusionTask : ktVertexTask {
    const std::vector<ktSceneLight>* lights = nullptr; ///< null or empty: the sky alone
};

/// Traces `task.count` vertices into `results`: x, y, z the lights' direct light that arrives, w the share of all
/// direct light, the sky included, that arrives, from ktDarkestResult to 1, by luminance. A vertex that cannot be
/// traced (position or normal not finite, zero normal) counts as open and gets no light. To be called on a worker
/// thread.
/// @param done vertices finished so far, for another thread to read
/// @throws ktCanceled and std::bad_alloc; `results` then holds something unfinished
ktVertexCounts ktTraceOcclusion(const ktOcclusionTask& task, osg::Vec4f* results, std::atomic<std::uint32_t>& done);
