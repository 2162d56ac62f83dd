// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAmbientOcclusionSettings.h"
#include "ktCompressionMode.h"
#include "ktFitMode.h"
#include "ktTracerFactory.h"
#include "ktTriangleBudget.h"
#include "ktUpAxis.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

/// A distance as given: in world units (millimetres) or as a share of the scene's diagonal.
struct ktBakeDistance {
    double value = 0;       ///< world units, or percent
    bool isPercent = false; ///< given as `3%`
    std::string typed;      ///< as given, for messages

    /// World units for a scene of this diagonal (world units).
    double inWorldUnits(double sceneDiagonal) const { return isPercent ? value / 100 * sceneDiagonal : value; }
};

// The type that an option's value has, by the kind of the setting. Never called.
int ktBakeValueOf(ktAmbientOcclusionSettings::Integer); ///< of a Choice: the number of the choice
bool ktBakeValueOf(ktAmbientOcclusionSettings::Switch);
double ktBakeValueOf(ktAmbientOcclusionSettings::Real);
template <class Value>
ktBakeDistance ktBakeValueOf(ktAmbientOcclusionSettings::Length<Value>);
std::array<float, 3> ktBakeValueOf(ktAmbientOcclusionSettings::Color); ///< linear red, green, blue, 0 to 1

/// What to remove instead of baking.
enum class ktBakeClear { Nothing, Shadows, Indirect };

/// The command line of ktbake. A setting that was not given is empty: the preset's, the node's or the controller's
/// holds.
struct ktBakeOptions {
    std::string scene;  ///< "-": standard input; may be empty only when listing or deleting presets, or saving one
    std::string output; ///< "-": standard output; SCENE-baked.glb beside the scene unless given; empty without a scene,
                        ///< or with a script when nothing is to be saved

    std::string outputFolder; ///< of many scenes; empty: one scene is baked
    std::vector<std::string>
        scenes;               ///< as typed; with an output folder there may be many, and `@LIST` names a file of scenes
    bool stopOnError = false; ///< with an output folder: the first failure ends the bake
    bool update = false;      ///< with an output folder: leave out what would come out the same
    std::vector<std::string> typed; ///< the options that results depend on, as typed: "--name" or "--name=value"

    // One member for each setting, such as std::optional<int> shadowQuality, and given(row) for loops over the rows.
#define KT_OPTION(Row, member)                                                                                         \
    std::optional<decltype(ktBakeValueOf(ktAmbientOcclusionSettings::Row()))> member;                                  \
    auto& given(ktAmbientOcclusionSettings::Row) {                                                                     \
        return member;                                                                                                 \
    }                                                                                                                  \
    const auto& given(ktAmbientOcclusionSettings::Row) const {                                                         \
        return member;                                                                                                 \
    }
    KT_AMBIENT_OCCLUSION_SETTINGS(KT_OPTION)
#undef KT_OPTION

    std::string preset, savePreset, deletePreset; ///< names; empty: not given
    bool listPresets = false;
    std::string settingsFrom; ///< a node's name; empty: not given

    std::vector<std::string> select; ///< node names; empty: the scene's top nodes
    bool missing = false;
    ktBakeClear clear = ktBakeClear::Nothing;
    bool activeOnly = false; ///< leave hidden parts as they are

    std::string unit = "auto";  ///< as ktParseLengthUnit() understands it
    std::optional<ktUpAxis> up; ///< empty: as the file says
    bool uniqueInstances = false;
    double creaseAngle_deg = 30; ///< 0 to 180
    bool keepVertices = false;
    bool groundPlane = false;   ///< add one, or bake the one that is there
    bool multiplyColors = true; ///< `--shade multiply`
    double exposure = 1;        ///< above 0
    double strength = 1;        ///< 0 to 10
    ktCompressionMode compression = ktCompressionMode::AsInput;

    std::string preview, stats;                   ///< file names; empty: none
    std::array<int, 2> previewSize = {1280, 960}; ///< width and height in pixels
    std::string previewView = "three-quarter";    ///< as ktFindPreviewView() understands it
    bool previewHeadlight = false;
    std::string script; ///< a file to run, on `scene` if there is one, instead of baking it; empty: none
    std::vector<std::string> scriptArguments;
    int threads = 0;        ///< 0: one a core
    std::string checkpoint; ///< file that keeps what is traced; empty: none
    bool ranks = true;      ///< shares the work with the processes that a launcher has started with this one
    ktFitMode fit = ktFitMode::Surface;
    ktTriangleBudget maxTriangles;
    ktTracerKind tracer = ktTracerKind::Hemisphere;
    bool quiet = false, json = false;
};

/// Reads the command line. Prints help, the version or what is wrong.
/// @param arguments without the program's name
/// @return empty when the options hold; else the exit code
std::optional<int> parseBakeOptions(const std::vector<std::string>& arguments, ktBakeOptions& options);
