// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeometryNumbers.h"
#include "ktHostExport.h"
#include "ktRayCounts.h"

#include <cstdint>
#include <map>

/// What the host's ray tracing did in one run of a calculation. A vertex's rays are those along the directions of the
/// pass's pattern; rays to the scene's lights, and those that light a surface at need where a bounce meets it, are not
/// counted.
struct ktTracingStatistics {
    /// Of one geometry, all passes together.
    struct Geometry {
        std::uint64_t vertices = 0; ///< that the passes were asked for
        std::uint64_t rays = 0;     ///< those vertices times the directions of their pass
    };

    ktRayCounts requested; ///< vertices that the passes were asked for, times the directions of their pass
    ktRayCounts shared; ///< of those, rays that were not traced: those of a vertex with equal position and normal count
    ktRayCounts
        refining; ///< traced by refinement, at the points where it looks and at new vertices; not in `requested`
    std::uint64_t addedVertices = 0;                 ///< by refinement
    std::uint64_t occludingTriangles = 0;            ///< given at the last build, each use counts
    std::map<ktGeometryNumber, Geometry> geometries; ///< those that the scene holds
};

/// Of the run under way or the last one; all zero before the first, or while an application has put its own ray tracing
/// in the host's place. Main thread only.
KT_HOST_EXPORT ktTracingStatistics ktReadTracingStatistics();
