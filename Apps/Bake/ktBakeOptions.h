// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracerFactory.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

/// A distance as given: in world units (millimetres) or as a share of the scene's diagonal.
struct ktBakeDistance {
    double value = 0;       ///< world units, or percent
    bool isPercent = false; ///< given as `3%`

    /// World units for a scene of this diagonal (world units).
    double inWorldUnits(double sceneDiagonal) const { return isPercent ? value / 100 * sceneDiagonal : value; }
};

/// What to remove instead of baking.
enum class ktBakeClear { Nothing, Shadows, Indirect };

/// The command line of ktbake. A setting that was not given is empty: the preset's, the node's or the controller's
/// holds.
struct ktBakeOptions {
    std::string scene;  ///< may be empty only when listing or deleting presets, or saving one
    std::string output; ///< never empty when `scene` is not: SCENE-baked.glb beside the scene unless given

    std::optional<int> shadowQuality; ///< 0 to 5
    std::optional<ktBakeDistance> minDistance, maxDistance;
    std::optional<int> mode; ///< 0 classic, 1 shadows, 2 light and shadows
    std::optional<bool> indirect;
    std::optional<int> gatherQuality; ///< 0 to 4
    std::optional<int> bounces;       ///< 0 to 100
    std::optional<bool> colorBleeding, overrideColor;
    std::optional<std::array<float, 3>> overrideColorValue; ///< linear red, green, blue, 0 to 1
    std::optional<bool> subdivide;
    std::optional<int> subdivisionQuality;       ///< 0 to 2
    std::optional<ktBakeDistance> minEdgeLength; ///< above 0
    std::optional<double> intensityThreshold;    ///< at least 0.0075

    std::string preset, savePreset, deletePreset; ///< names; empty: not given
    bool listPresets = false;
    std::string settingsFrom; ///< a node's name; empty: not given

    std::vector<std::string> select; ///< node names; empty: the scene's top nodes
    bool missing = false;
    ktBakeClear clear = ktBakeClear::Nothing;
    bool activeOnly = false; ///< leave hidden parts as they are

    std::string unit = "auto"; ///< as ktParseLengthUnit() understands it
    bool uniqueInstances = false;
    bool groundPlane = false;   ///< add one, or bake the one that is there
    bool multiplyColors = true; ///< `--shade multiply`
    double exposure = 1;        ///< above 0

    std::string preview, stats; ///< file names; empty: none
    std::string script;         ///< a file to run instead of baking `scene`; empty: none
    std::vector<std::string> scriptArguments;
    int threads = 0; ///< 0: one a core
    ktTracerKind tracer = ktTracerKind::Hemisphere;
    bool quiet = false;
};

/// Reads the command line. Prints help, the version or what is wrong.
/// @param arguments without the program's name
/// @return empty when the options hold; else the exit code
std::optional<int> parseBakeOptions(const std::vector<std::string>& arguments, ktBakeOptions& options);
