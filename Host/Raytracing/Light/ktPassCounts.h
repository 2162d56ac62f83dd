// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktVertexTask.h"

#include <cstdint>

/// What a pass traced in one geometry.
struct ktPassCounts {
    std::uint64_t points = 0;     ///< on faces, of a fit
    std::uint64_t pointRays = 0;  ///< at these points, and those that tell inside from outside
    std::uint64_t vertexRays = 0; ///< vertices that were traced as such, times the directions
    std::uint64_t sharedRays = 0; ///< of these, not traced: an equal vertex has the same rays
    std::uint64_t unusable = 0;   ///< vertices that were not traced: position or normal not finite, or zero normal

    static ktPassCounts ofVertices(const ktVertexTask& task, const ktVertexCounts& counts) {
        ktPassCounts all;
        all.addVertices(task, counts);
        return all;
    }
    /// Adds the vertices of a task that a pass has traced.
    void addVertices(const ktVertexTask& task, const ktVertexCounts& counts) {
        const std::uint64_t raysPerVertex = task.directions->set.count;
        vertexRays += raysPerVertex * task.count;
        sharedRays += raysPerVertex * (task.count - counts.traced - counts.unusable);
        unusable += counts.unusable;
    }
    std::uint64_t rays() const { return pointRays + vertexRays; }
};
