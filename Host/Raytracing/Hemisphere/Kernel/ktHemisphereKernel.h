// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTraversalState.h"
#include "ktTwoLevelLayout.h"

#include <cstdint>

// The interface of the kernels; there is one kernel for each instruction set. Nothing here may be an inline function:
// the linker would keep one version of it, of any instruction set.

struct ktTileBatch;
struct ktRayLimits;
struct ktRayPacket;
struct ktRayVertex;

/// Vertices to trace that all use the same batch of directions.
struct ktKernelJob {
    const ktTileBatch* batch;
    const ktRayVertex* const* vertices;
    std::uint32_t count;
    const ktRayLimits* limits;
    /// Called in ascending order for each vertex, when all its rays are done. The answers are in the tile states from
    /// `firstTile` on. Must not trace.
    void (*finished)(void* receiver, std::uint32_t vertex, const ktTraversalState& state, std::uint32_t firstTile);
    void* receiver;
};

/// A single ray.
struct ktKernelRay {
    float origin[3], direction[3];
    float minDistance, maxDistance;
};

/// Its nearest hit.
struct ktKernelHit {
    std::uint32_t triangle; ///< id, or noTriangle
    float u, v, distance;
    bool backSide;
};

/// What a kernel does with one kind of BVH.
struct ktKernelFunctions {
    /// Finds the rays that hit nothing within the limits: `live` of the tile states.
    void (*occlusion)(const ktBvhView&, const ktKernelJob&, ktTraversalState&);
    /// Finds the nearest hit of every ray: `hit`, `tFar`, `u`, `v` and `backSide` of the tile states.
    void (*nearest)(const ktBvhView&, const ktKernelJob&, ktTraversalState&);
    /// Whether a single ray hits something.
    bool (*rayOccluded)(const ktBvhView&, const ktKernelRay&, bool bothSides);
    /// The nearest hit of a single ray.
    ktKernelHit (*rayNearest)(const ktBvhView&, const ktKernelRay&, bool bothSides);
};

/// One kernel.
struct ktHemisphereKernel {
    static constexpr std::uint32_t noTriangle = 0xFFFFFFFFu;

    const char* name; ///< for messages and benchmarks
    std::uint32_t lanes;
    ktKernelFunctions oneLevel; ///< for a wide BVH
    ktKernelFunctions twoLevel; ///< for a two-level BVH
};

extern const ktHemisphereKernel ktHemisphereKernelBase;
#ifdef KT_HEMISPHERE_X86
extern const ktHemisphereKernel ktHemisphereKernelAvx2;
extern const ktHemisphereKernel ktHemisphereKernelAvx512;
#endif
