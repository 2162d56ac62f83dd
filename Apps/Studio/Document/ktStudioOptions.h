// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCompressionMode.h"
#include "ktFitMode.h"
#include "ktTracerFactory.h"

#include <QString>

/// How a file is read: the options of `ktbake` of the same names.
struct ktStudioReadOptions {
    QString unit = "auto"; ///< as ktParseLengthUnit() understands it
    QString up;            ///< "x", "y" or "z"; empty: what the file or its format says
    bool uniqueInstances = false;
    bool groundPlane = false;
    double creaseAngle_deg = 30; ///< 0 to 180; see ktOpenOptions
    bool keepVertices = false;
};

/// How a bake runs and how it is saved: the options of `ktbake` of the same names.
struct ktStudioOptions {
    static constexpr int mostThreads = 1024;
    static constexpr double mostStrength = 10, leastExposure = 0.01, mostExposure = 100;

    /// As they were at the end of the last start; what is missing or out of range has its initial value.
    static ktStudioOptions load();
    void keep() const; ///< for the next start

    ktFitMode fit = ktFitMode::Surface;
    ktTracerKind tracer = ktTracerKind::Hemisphere;
    int threads = 0;            ///< 0: one a core
    bool multiplyColors = true; ///< `--shade multiply`
    QString maxTriangles;       ///< as ktParseTriangleBudget() reads it; empty: no limit
    double strength = 1;        ///< from 0: how strongly the light darkens the saved colours
    double exposure = 1;        ///< above 0
    ktCompressionMode compression = ktCompressionMode::AsInput;

    bool hasSameOutput(const ktStudioOptions& other) const {
        return multiplyColors == other.multiplyColors && strength == other.strength && exposure == other.exposure &&
               compression == other.compression;
    }
    bool operator==(const ktStudioOptions& other) const {
        return fit == other.fit && tracer == other.tracer && threads == other.threads &&
               maxTriangles == other.maxTriangles && hasSameOutput(other);
    }
};
