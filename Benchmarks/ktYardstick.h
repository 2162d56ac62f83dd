// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBenchmarkSurface.h"
#include "ktEmbreeLoop.h"

/// The yardstick for speeds: traces occlusion rays by ktEmbreeLoop on all threads, with 64 vertices per task along a
/// space-filling curve and denormals off. Only the tracing of rays is measured.
class ktYardstick {
public:
    /// @param surface must outlive the yardstick
    /// @param countU, countV rays per vertex along the two axes
    ktYardstick(const ktBenchmarkSurface& surface, std::uint32_t countU, std::uint32_t countV, float maxDistance);

    /// Traces all rays of all vertices once. @return seconds
    double trace(int threads);
    /// Number of rays of one trace().
    double rayCount() const { return static_cast<double>(vertices.size()) * directions.count; }
    /// Mean share of open rays of the last trace; must equal that of the tracer.
    double openShare() const { return open; }

private:
    ktDirectionSet directions;
    ktPreparedDirections prepared{directions};
    std::vector<ktRayVertex> vertices; // sorted
    ktRayLimits limits;
    ktEmbreeLoop loop;
    double open = 0;
};
