// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracingStatistics.h"

#include <cstdint>
#include <QJsonArray>
#include <QJsonObject>
#include <string>
#include <vector>

struct ktListedGeometry;

/// Times and counts of one run.
struct ktRunStatistics {
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

    QJsonArray ranks; ///< one entry per process that shared the bake; empty if it was alone

    double readSeconds = 0, structureSeconds = 0, tracingSeconds = 0;
    double storingSeconds = 0; ///< the rest of the calculation: collecting, storing, refining
    double writeSeconds = 0, previewSeconds = 0, totalSeconds = 0;

    /// Copies the counts of the tracing, and lists the scene's geometry with them, in place of an earlier list.
    void addTracing(const ktTracingStatistics& counts, const std::vector<ktListedGeometry>& sceneGeometries);
    /// Copies the scene's counts, as they are when it is opened.
    void addScene(const std::vector<ktListedGeometry>& sceneGeometries);
    /// What `ktbake --stats` writes. Adds the version and the process's threads, warnings and peak memory.
    QJsonObject toJson() const;
};

/// The plug-in's settings, named as the options of `ktbake`.
QJsonObject describeSettings();
