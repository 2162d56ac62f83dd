// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktInwardDirections.h"
#include "ktSceneLight.h"
#include "ktTracer.h"
#include "ktWorldTransform.h"

#include <atomic>
#include <cstdint>
#include <OpenSG/OSGVector.h>
#include <vector>

/// The smallest w of a vertex that was traced, so that "dark" is not taken for "not calculated".
constexpr float ktDarkestResult = 2.0e-6f;

/// What the direct light of one geometry is traced from. Everything belongs to the caller.
struct ktOcclusionTask {
    const ktTracer* tracer = nullptr;
    const ktPreparedDirections* directions = nullptr;
    const std::vector<ktSceneLight>* lights = nullptr; ///< null or empty: the sky alone
    ktRayLimits limits;                                ///< of sky rays; shadow rays end at their light
    float sceneSize = 0;                               ///< diagonal of the occluders' bounds, world units
    ktWorldTransform toWorld;
    std::uint32_t count = 0;
    const float* positions = nullptr; ///< object space, three floats a vertex
    const float* normals = nullptr;   ///< likewise; of any length but zero
    /// `count` elements: where each vertex's own surface lies. Null when that is not known: where a wall stands exactly
    /// on a vertex, rays into it then pass through it.
    const ktInward* inward = nullptr;
};

/// Traces `task.count` vertices into `results`: x, y, z the lights' direct light that arrives, w the share of all
/// direct light, the sky included, that arrives, from ktDarkestResult to 1, by luminance. A vertex that cannot be
/// traced (position or normal not finite, zero normal) counts as open and gets no light. To be called on a worker
/// thread.
/// @param done vertices finished so far, for another thread to read
/// @return vertices that could not be traced
/// @throws ktCanceled and std::bad_alloc; `results` then holds something unfinished
std::uint32_t ktTraceOcclusion(const ktOcclusionTask& task, osg::Vec4f* results, std::atomic<std::uint32_t>& done);
