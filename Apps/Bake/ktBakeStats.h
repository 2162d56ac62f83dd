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
    std::string scene, output; ///< output: empty when none was written
    std::string tracer;        ///< as `--tracer` calls it
    QJsonObject settings;

    std::uint64_t sceneVertices = 0, sceneTriangles = 0; ///< of the file, stored once, however often they are used
    std::uint64_t instancedTriangles = 0;                ///< those of a geometry as often as it is used
    double sceneDiagonal = 0;                            ///< world units
    int geometriesCalculated = 0;                        ///< geometry that the run worked on
    std::uint64_t verticesTraced = 0;                    ///< all passes together
    ktTracingStatistics tracing;                         ///< rays, triangles that rays could meet
    QJsonArray geometries;                               ///< each of the scene with what was traced for it

    double readSeconds = 0, structureSeconds = 0, tracingSeconds = 0;
    double storingSeconds = 0; ///< the rest of the calculation: collecting, storing, refining
    double writeSeconds = 0, previewSeconds = 0, totalSeconds = 0;

    /// Takes over what was counted while tracing, and lists the scene's geometry with it.
    void addTracing(const ktTracingStatistics& counts, const std::vector<ktBakeGeometry>& sceneGeometries);
    /// Writes a JSON file, with the process's threads, warnings and peak memory added.
    /// @return false when it cannot be written; the reason is logged
    bool write(const std::string& fileName) const;
};

/// A stop watch: seconds since it was made or last asked.
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
