// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// Rays a second of a run under way. The host counts the rays of a geometry when it is traced to the end, so those of
/// the geometry under way are estimated from its vertices.
class ktRunRate {
public:
    /// Rays of a vertex in one pass, without a fit.
    struct PerVertex {
        double shadows = 0, bounce = 0;
    };
    /// @param rayFactor rays of the run to those of its vertices alone; 0: at least as many, and how many more is not
    ///                  known yet
    ktRunRate(const PerVertex& perVertex_, double rayFactor_) : perVertex(perVertex_), rayFactor(rayFactor_) {}

    /// A pass begins a geometry.
    void begin(bool isBounce) { now = isBounce ? perVertex.bounce : perVertex.shadows; }
    /// The geometry is traced to the end, and its rays are counted.
    /// @param vertices traced in the run so far
    void finish(std::uint64_t vertices);
    /// @param vertices traced in the run so far
    /// @param rays counted so far
    /// @param seconds since tracing began
    /// @return 0: not known yet
    double measure(std::uint64_t vertices, double rays, double seconds);
    /// Whether measure() gives a lower limit.
    bool isLow() const { return finished == 0 && rayFactor == 0; }

private:
    void add(std::uint64_t vertices);

    const PerVertex perVertex;
    const double rayFactor;
    double now = 0;
    std::uint64_t known = 0; // vertices in vertexRays
    // Rays of the vertices alone: of all, and of geometry that is traced to the end.
    double vertexRays = 0, finished = 0;
};
