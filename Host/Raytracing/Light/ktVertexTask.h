// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"
#include "ktTracer.h"
#include "ktWorldTransform.h"

#include <cstdint>

/// What a pass traces at the vertices of one geometry. Everything belongs to the caller.
struct ktVertexTask {
    const ktTracer* tracer = nullptr;
    const ktPreparedDirections* directions = nullptr;
    ktRayLimits limits;  ///< of the rays along `directions`
    float sceneSize = 0; ///< diagonal of the occluders' bounds, world units
    ktWorldTransform toWorld;
    std::uint32_t count = 0;
    const float* positions = nullptr; ///< object space, three floats a vertex
    const float* normals = nullptr;   ///< likewise; of any length but zero
    /// `count` elements: where each vertex's own surface lies. Null when that is not known: where a wall stands exactly
    /// on a vertex, rays into it then pass through it.
    const ktOneRing* oneRings = nullptr;

    /// Traces at other vertices.
    void setVertices(const ktWorldTransform& newToWorld, std::uint32_t newCount, const float* newPositions,
                     const float* newNormals, const ktOneRing* newOneRings) {
        toWorld = newToWorld;
        count = newCount;
        positions = newPositions;
        normals = newNormals;
        oneRings = newOneRings;
    }
};

/// How many of a task's vertices a pass traced. Vertices of equal position and normal share the rays of one of them.
struct ktVertexCounts {
    std::uint32_t traced = 0;   ///< those whose own rays were traced
    std::uint32_t unusable = 0; ///< those that cannot be traced: position or normal not finite, or no normal
};
