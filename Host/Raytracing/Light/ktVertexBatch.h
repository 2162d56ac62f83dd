// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneLight.h"
#include "ktSideCount.h"
#include "ktTracer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

class ktReflectedLight;
struct ktVertexTask;

/// What is traced at the vertices of a batch.
enum class ktBatchKind : std::uint32_t {
    Direct, ///< open sky rays and, if there are lights, the light that arrives
    Gather, ///< light that surfaces reflect
    Sides,  ///< sides of the surfaces around
};

/// How to trace a batch. Everything belongs to the caller.
struct ktBatchWork {
    ktBatchKind kind = ktBatchKind::Direct;
    const ktTracer* tracer = nullptr;
    const ktPreparedDirections* directions = nullptr;
    ktRayLimits limits;
    const std::vector<ktSceneLight>* lights = nullptr; ///< Direct: null or empty: only the sky
    const ktReflectedLight* light = nullptr;           ///< Gather
    bool countsSides = false;                          ///< Gather: counts the sides of surfaces, too

    /// The same tracer, directions and limits as a task.
    static ktBatchWork of(const ktVertexTask& task, ktBatchKind kind);
};

/// What one vertex received. Only what the kind of the batch asks for is set.
struct ktVertexLight {
    std::uint32_t visible = 0;       ///< Direct: rays that hit nothing
    float arriving[3] = {0, 0, 0};   ///< Direct: light of the lights; Gather: the sum over all rays
    float unshadowed[3] = {0, 0, 0}; ///< Direct: light of the lights without shadows
    ktSideCount sides;               ///< Sides; Gather if asked for
};

/// Up to 64 neighbouring items of a loop, and the vertices of those that can be traced. An item is a group of equal
/// vertices or a point.
struct ktVertexBatch {
    static constexpr std::uint32_t mostItems = 64;

    std::size_t begin = 0, end = 0; ///< the items
    std::uint32_t count = 0;        ///< vertices
    int slot[mostItems];            ///< by item - begin: its vertex; -1: it cannot be traced
    ktRayVertex vertices[mostItems];
    float points[mostItems][3]; ///< Direct with lights: the vertices; their rays start near them
    ktVertexLight light[mostItems];

    std::uint32_t itemCount() const { return static_cast<std::uint32_t>(end - begin); }
};

/// Traces the vertices of a batch. Worker thread. The results do not depend on how a loop is divided into batches.
/// @throws ktCanceled
void ktTraceBatch(const ktBatchWork& work, ktVertexBatch& batch);

/// A loop over items that traces them in batches. make() and finish() may be called from any worker thread, for
/// different batches at once.
struct ktBatchLoop {
    ktBatchWork work;
    std::size_t count = 0;                            ///< items
    std::function<void(ktVertexBatch& batch)> make;   ///< sets all but `light`, for the items begin to end
    std::function<void(const ktVertexBatch&)> finish; ///< stores `light`
};

/// Others that take part in loops: the other ranks of a bake on many machines.
class ktLoopHelpers {
public:
    virtual ~ktLoopHelpers() = default;
    /// As ktRunLoop() without helpers, and with the same results.
    /// @throws also std::runtime_error if a helper is lost
    virtual void run(const ktBatchLoop& loop) = 0;
};

/// Runs a loop on the threads of the calling thread's arena, and on the helpers if there are any. Worker thread.
/// @param helpers may be null
/// @throws ktCanceled, std::exception
void ktRunLoop(const ktBatchLoop& loop, ktLoopHelpers* helpers);

/// How many items a batch should have, so that threads and ranks share even a short loop evenly: as many as the tracer
/// traces in one call. 1 to ktVertexBatch::mostItems.
std::uint32_t ktItemsPerBatch(const ktBatchWork& work);

/// Makes, traces and finishes one batch of a loop. Worker thread. @return its vertices @throws ktCanceled
std::uint32_t ktRunBatch(const ktBatchLoop& loop, std::size_t begin, std::size_t end);
