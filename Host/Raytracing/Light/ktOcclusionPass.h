// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneLight.h"
#include "ktVertexTask.h"

#include <atomic>
#include <cstdint>
#include <OpenSG/OSGVector.h>
#include <vector>

/// The smallest w of a vertex that was traced. It tells "dark" from "not calculated".
constexpr float ktDarkestResult = 2.0e-6f;

/// Input for tracing the direct light of one geometry. Everything belongs to the caller. The limits are for sky rays;
/// shadow rays end at the light.
struct ktOcclusionTask : ktVertexTask {
    const std::vector<ktSceneLight>* lights = nullptr; ///< null or empty: only the sky
    float* sky = nullptr; ///< null, or `count` elements: receive the share of sky rays that hit nothing
};

/// Traces `task.count` vertices. In `results`, x, y, z is the light of the lights that arrives. w is the fraction that
/// arrives of all direct light, sky and lights, by luminance, from ktDarkestResult to 1. A vertex that cannot be
/// traced (position or normal not finite, zero normal) counts as open and gets no light. Call on a worker
/// thread.
/// @param done vertices finished so far, for another thread to read
/// @throws ktCanceled and std::bad_alloc; `results` is then incomplete
ktVertexCounts ktTraceOcclusion(const ktOcclusionTask& task, osg::Vec4f* results, std::atomic<std::uint32_t>& done);
