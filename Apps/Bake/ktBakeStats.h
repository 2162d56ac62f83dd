// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracingStatistics.h"

#include <chrono>
#include <cstdint>
#include <QJsonArray>
#include <QJsonObject>
#include <string>
#include <vector>

struct ktBakeGeometry;

/// Times and counts of one run.
struct ktBakeStats {
    std::string scene, output; ///< output: empty if none was written
    std::string tracer;        ///< as named by `--tracer`
    QJsonObject settings;

    std::uint64_t sceneVertices = 0, sceneTriangles = 0; ///< of the file; shared geometry counts once
    std::uint64_t instancedTriangles = 0;                ///< shared geometry counts once per use
    double sceneDiagonal = 0;                            ///< world units
    int geometriesCalculated = 0;                        ///< geometry that the run worked on
    std::uint64_t verticesTraced = 0;                    ///< in all passes
    ktTracingStatistics tracing;                         ///< rays, triangles that rays can hit
    QJsonArray geometries;                               ///< one entry per geometry, with its traced counts

    double readSeconds = 0, structureSeconds = 0, tracingSeconds = 0;
    double storingSeconds = 0; ///< the rest of the calculation: collecting, storing, refining
    double writeSeconds = 0, previewSeconds = 0, totalSeconds = 0;

    /// Copies the counts of the tracing, and lists the scene's geometry with them.
    void addTracing(const ktTracingStatistics& counts, const std::vector<ktBakeGeometry>& sceneGeometries);
    /// Writes a JSON file. Adds the process's threads, warnings and peak memory.
    /// @return false if it cannot be written; logs the reason
    bool write(const std::string& fileName) const;
};

/// A stop watch: lap() returns the seconds since the last call, or since construction.
class ktBakeWatch {
public:
    double lap() {
        const auto now = std::chrono::steady_clock::now();
        const double seconds = std::chrono::duration<double>(now - last).count();
        last = now;
        return seconds;
    }

private:
    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
};
