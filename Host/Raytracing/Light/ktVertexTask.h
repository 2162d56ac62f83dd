// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"
#include "ktTracer.h"
#include "ktWorldTransform.h"

#include <cstdint>

class ktLoopHelpers;

/// Input of a pass: the vertices of one geometry, and how to trace them. Everything belongs to the caller.
struct ktVertexTask {
    const ktTracer* tracer = nullptr;
    const ktPreparedDirections* directions = nullptr;
    ktLoopHelpers* helpers = nullptr; ///< others that trace a part of the vertices; null: none
    ktRayLimits limits;               ///< of the rays along `directions`
    float sceneSize = 0;              ///< diagonal of the occluders' bounds, world units
    ktWorldTransform toWorld;
    std::uint32_t count = 0;
    const float* positions = nullptr; ///< object space, three floats per vertex
    const float* normals = nullptr;   ///< likewise; of any length but zero
    /// `count` elements: on which side of each vertex its surface lies. Null if unknown: if a wall then ends exactly at
    /// a vertex, rays may pass through it.
    const ktOneRing* oneRings = nullptr;

    /// Replaces the vertices.
    void setVertices(const ktWorldTransform& newToWorld, std::uint32_t newCount, const float* newPositions,
                     const float* newNormals, const ktOneRing* newOneRings) {
        toWorld = newToWorld;
        count = newCount;
        positions = newPositions;
        normals = newNormals;
        oneRings = newOneRings;
    }
};

/// How many vertices of a task a pass traced. Vertices with equal position and normal share the rays of one of them.
struct ktVertexCounts {
    std::uint32_t traced = 0;   ///< vertices with own rays
    std::uint32_t unusable = 0; ///< not traced: position or normal not finite, or zero normal
};
