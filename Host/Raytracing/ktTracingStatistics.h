// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeometryNumbers.h"
#include "ktHostExport.h"
#include "ktRayCounts.h"

#include <cstdint>
#include <map>

/// Statistics of the ray tracing in one run of a calculation. Counted are the rays at vertices and, with a fit, at
/// points on faces. Not counted are rays to lights, and rays for the direct light that a bounce needs at its hits and
/// that is in no channel.
struct ktTracingStatistics {
    /// Of one geometry, all passes together.
    struct Geometry {
        std::uint64_t vertices = 0; ///< requested of the passes
        std::uint64_t rays = 0;     ///< at its vertices or, with a fit, at the points on its faces
    };

    ktRayCounts requested;           ///< of all geometries
    ktRayCounts shared;              ///< of these, not traced: an equal vertex has the same rays
    ktRayCounts refining;            ///< traced by refinement: at points, probes and new vertices; not in `requested`
    std::uint64_t fitPoints = 0;     ///< points on faces that were traced to fit vertex values to them
    std::uint64_t addedVertices = 0; ///< by refinement
    std::uint64_t occludingTriangles = 0;            ///< at the last build; each instance counts
    double structureSeconds = 0;                     ///< that all builds took
    std::map<ktGeometryNumber, Geometry> geometries; ///< by number
};

/// Returns the statistics of the current or last run. All are zero before the first run, or if an application has
/// replaced the host's ray tracing. Main thread only.
KT_HOST_EXPORT ktTracingStatistics ktReadTracingStatistics();
