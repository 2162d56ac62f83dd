// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBenchmarkSurface.h"
#include "ktEmbreeLoop.h"

/// The yardstick of all speeds: occlusion rays by ktEmbreeLoop, on all threads, 64 vertices a task, sorted along a
/// space-filling curve, denormals off. Everything but the rays is prepared beforehand and not counted.
class ktYardstick {
public:
    /// @param surface must outlive the yardstick
    /// @param countU, countV rays a vertex along the two axes
    ktYardstick(const ktBenchmarkSurface& surface, std::uint32_t countU, std::uint32_t countV, float maxDistance);

    /// Traces all rays of all vertices once. @return seconds
    double trace(int threads);
    /// Rays of one trace().
    double rayCount() const { return static_cast<double>(vertices.size()) * directions.count; }
    /// Mean share of open rays of the last trace: says that yardstick and tracer did the same work.
    double openShare() const { return open; }

private:
    ktDirectionSet directions;
    ktPreparedDirections prepared{directions};
    std::vector<ktRayVertex> vertices; // sorted
    ktRayLimits limits;
    ktEmbreeLoop loop;
    double open = 0;
};
