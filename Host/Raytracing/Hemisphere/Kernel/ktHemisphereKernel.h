// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTraversalState.h"
#include "ktWideBvhLayout.h"

#include <cstdint>

// The functions that are compiled once for each instruction set, and the plain data they work on. Nothing here may be
// an inline function.

struct ktTileBatch;
struct ktRayLimits;
struct ktRayPacket;
struct ktRayVertex;

/// Vertices that send the same batch of directions.
struct ktKernelJob {
    const ktTileBatch* batch;
    const ktRayVertex* const* vertices;
    std::uint32_t count;
    const ktRayLimits* limits;
    /// Called for each vertex when all its rays are done, in ascending order: the answers stand in the slots from
    /// `firstSlot` on. Must not trace.
    void (*finished)(void* receiver, std::uint32_t vertex, const ktTraversalState& state, std::uint32_t firstTile);
    void* receiver;
};

/// A ray of its own.
struct ktKernelRay {
    float origin[3], direction[3];
    float minDistance, maxDistance;
};

/// What it met first.
struct ktKernelHit {
    std::uint32_t triangle; ///< noTriangle: nothing
    float u, v, distance;
    bool backSide;
};

/// The kernel of one instruction set.
struct ktHemisphereKernel {
    static constexpr std::uint32_t noTriangle = 0xFFFFFFFFu;

    const char* name; ///< for messages and benchmarks
    std::uint32_t lanes;
    /// Which rays meet nothing within the limits; the answers are in the slots' `live`.
    void (*occlusion)(ktWideBvhRef root, const ktKernelJob&, ktTraversalState&);
    /// The nearest hit of every ray; the answers are in the slots' `hit`, `reach`, `u`, `v` and `back`.
    void (*nearest)(ktWideBvhRef root, const ktKernelJob&, ktTraversalState&);
    /// Whether one ray meets something.
    bool (*rayOccluded)(ktWideBvhRef, const ktKernelRay&, bool bothSides);
    /// What one ray meets first.
    ktKernelHit (*rayNearest)(ktWideBvhRef, const ktKernelRay&, bool bothSides);
};

extern const ktHemisphereKernel ktHemisphereKernelBase;
#ifdef KT_HEMISPHERE_X86
extern const ktHemisphereKernel ktHemisphereKernelAvx2;
extern const ktHemisphereKernel ktHemisphereKernelAvx512;
#endif
