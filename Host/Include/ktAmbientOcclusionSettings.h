// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAmbientOcclusionSettingColumns.h"

/// The table of the calculation settings: a list and one row for each setting. The attachment on nodes, `extras`, text
/// keys, presets, the templates file, `kthost.settings()`, the options of `ktbake` and `--stats` loop over the rows.
/// ktAmbientOcclusionSettingColumns.h describes the columns; a column that is not in a row has the value of the row's
/// kind. Docs/adding-a-setting.md shows how to add a setting.
namespace ktAmbientOcclusionSettings {

/// Calls SETTING(row, member of ktBakeOptions) for every setting. The attachment's fields and the members of `extras`
/// have this order. Settings of a node are loaded in this order, text keys included.
#define KT_AMBIENT_OCCLUSION_SETTINGS(SETTING)                                                                         \
    SETTING(Mode, mode)                                                                                                \
    SETTING(ShadowQuality, shadowQuality)                                                                              \
    SETTING(MinDistance, minDistance)                                                                                  \
    SETTING(MaxDistance, maxDistance)                                                                                  \
    SETTING(IndirectIllumination, indirect)                                                                            \
    SETTING(GatherQuality, gatherQuality)                                                                              \
    SETTING(NumIndirections, bounces)                                                                                  \
    SETTING(ColorBleeding, colorBleeding)                                                                              \
    SETTING(OverrideMaterialColor, overrideColor)                                                                      \
    SETTING(MaterialColor, overrideColorValue)                                                                         \
    SETTING(Subdivide, subdivide)                                                                                      \
    SETTING(SubdivisionQuality, subdivisionQuality)                                                                    \
    SETTING(MinEdgeLength, minEdgeLength)                                                                              \
    SETTING(IntensityThreshold, intensityThreshold)

/// How the direct pass treats light. Presets and text keys leave the mode alone on purpose.
struct Mode : Choice {
    KT_SETTING(Mode, getMode, setMode, modeChanged, isInNoPreset)
    static constexpr int initial = 0;
    static constexpr const char* choices[] = {"classic", "shadows", "light-and-shadows"};
    static constexpr Range range = {0, 2};
    static constexpr Names names = {"mode", nullptr, nullptr, "mode", "mode"}; // json, textKey, column, script, option
    static constexpr Places places = {0, 0, 14, 4};                            // texts, presets, scripts, options
    static constexpr const char* group = "Shadows";
    static constexpr const char* help = "the sky alone; the scene's lights as well; their colours too";
};

struct ShadowQuality : Integer {
    KT_SETTING(ShadowQuality, getShadowQuality, setShadowQuality, shadowQualityChanged, quality)
    static constexpr int initial = 2;
    static constexpr Range range = {0, 5};
    static constexpr Names names = {"shadowQuality", "AOShadowQuality", "quality", "quality", "shadow-quality"};
    static constexpr Places places = {1, 1, 1, 1};
    static constexpr int presetUnits = 4;
    static constexpr int fileFallback = 2; // in preset units, so level 0; on purpose not `initial`
    static constexpr const char* group = "Shadows";
    static constexpr const char* help = "more rays a vertex: 64, 256, 1024, 2304, 4096, 16384";
};

struct MinDistance : Length<float> {
    KT_SETTING(MinDistance, getMinDistance, setMinDistance, minDistanceChanged, minDistance)
    static constexpr float initial = 1;
    static constexpr Range range = {0};
    static constexpr Names names = {"minDistance", "AOMinDistance", "minDistance", "minDistance", "min-distance"};
    static constexpr Places places = {2, 2, 2, 2};
    static constexpr float fileFallback = 1;
    static constexpr const char* group = "Shadows";
    static constexpr const char* help = "nearer surfaces do not occlude";
};

struct MaxDistance : Length<float> {
    KT_SETTING(MaxDistance, getMaxDistance, setMaxDistance, maxDistanceChanged, maxDistance)
    static constexpr float initial = 3000;
    static constexpr Range range = {0};
    static constexpr Names names = {"maxDistance", "AOMaxDistance", "maxDistance", "maxDistance", "max-distance"};
    static constexpr Places places = {3, 3, 3, 3};
    static constexpr float fileFallback = 3000;
    static constexpr const char* group = "Shadows";
    static constexpr const char* help = "farther surfaces do not occlude";
};

struct IndirectIllumination : Switch {
    KT_SETTING(IndirectIllumination, isIndirectIlluminationEnabled, setIndirectIlluminationEnabled,
               indirectIlluminationChanged, indirect)
    static constexpr bool initial = true;
    static constexpr Names names = {"indirectIllumination", "AOIndirectIllumination", "indirect",
                                    "indirectIllumination", "indirect"};
    static constexpr Places places = {4, 4, 4, 5};
    static constexpr bool fileFallback = false; // on purpose not `initial`
    static constexpr const char* group = "Indirect light";
    static constexpr const char* help = "bounced light";
};

struct GatherQuality : Integer {
    KT_SETTING(GatherQuality, getGatherQuality, setGatherQuality, gatherQualityChanged, indirectQuality)
    static constexpr int initial = 2;
    static constexpr Range range = {0, 4};
    static constexpr Names names = {"gatherQuality", "AOIndirectIlluminationQuality", "indirectQuality",
                                    "gatherQuality", "gather-quality"};
    static constexpr Places places = {5, 8, 6, 6};
    static constexpr int presetUnits = 4;
    static constexpr int fileFallback = 2;    // in preset units, so level 0; on purpose not `initial`
    static constexpr int initialSamples = 32; // on purpose not level 2's 24, until the level changes
    static constexpr bool needsAChange = true;
    static constexpr const char* initialNote = ", with 1024 rays";
    static constexpr const char* group = "Indirect light";
    static constexpr const char* help = "more rays a vertex and bounce: 64, 256, 576, 1024, 2304";
};

struct NumIndirections : Integer {
    KT_SETTING(NumIndirections, getNumOfIndirections, setNumOfIndirections, numOfIndirectionsChanged, numIndirections)
    static constexpr int initial = 1;
    static constexpr Range range = {0, 100};
    static constexpr Names names = {"numIndirections", "AONumIndirections", "numIndirections", "numIndirections",
                                    "bounces"};
    static constexpr Places places = {9, 9, 7, 7};
    static constexpr int fileFallback = 1;
    static constexpr const char* argument = "INT"; // the upper limit only catches typing errors
    static constexpr const char* group = "Indirect light";
    static constexpr const char* help = "how often light bounces";
};

struct ColorBleeding : Switch {
    KT_SETTING(ColorBleeding, isColorBleedingEnabled, setColorBleedingEnabled, colorBleedingChanged, colorBleeding)
    static constexpr bool initial = false;
    static constexpr Names names = {"colorBleeding", "AOColorBleeding", "colorBleeding", "colorBleeding",
                                    "color-bleeding"};
    static constexpr Places places = {6, 5, 5, 8};
    static constexpr bool fileFallback = false;
    static constexpr const char* group = "Indirect light";
    static constexpr const char* help = "bounced light takes the surfaces' colours";
};

/// Its option is the opposite, `--no-override-color`: giving a colour switches it on.
struct OverrideMaterialColor : Switch {
    KT_SETTING(OverrideMaterialColor, isOverrideMaterialColorEnabled, setOverrideMaterialColorEnabled,
               overrideMaterialColorChanged, materialOverride)
    static constexpr bool initial = true;
    static constexpr Names names = {"overrideMaterialColor", "AOMaterialColorOverride", "materialOverride",
                                    "overrideMaterialColor", "override"};
    static constexpr Places places = {7, 6, 10, 10};
    static constexpr bool fileFallback = false; // on purpose not `initial`
    static constexpr const char* group = "Indirect light";
    static constexpr const char* help = "light bounces off the surfaces' own colours";
};

struct MaterialColor : Color {
    KT_SETTING(MaterialColor, getMaterialColor, setMaterialColor, materialColorChanged, materialColor)
    static constexpr Rgb initial = {0.7f, 0.7f, 0.7f};
    static constexpr Names names = {"materialColor", "AOMaterialColor", "materialColor", "materialColor",
                                    "override-color"};
    static constexpr Places places = {8, 7, 11, 9};
    static constexpr Rgb fileFallback = {0.7f, 0.7f, 0.7f};
    static constexpr const char* group = "Indirect light";
    static constexpr const char* help = "one colour for all surfaces that light bounces off";
};

struct Subdivide : Switch {
    KT_SETTING(Subdivide, isSubdivideEnabled, setSubdivideEnabled, subdivideChanged, subdivision)
    static constexpr bool initial = false;
    static constexpr Names names = {"subdivide", "AOSubdivision", "subdivision", "subdivide", "subdivide"};
    static constexpr Places places = {10, 11, 8, 11};
    static constexpr bool fileFallback = false;
    static constexpr const char* group = "Refinement";
    static constexpr const char* help = "add vertices where the light changes";
};

struct SubdivisionQuality : Integer {
    KT_SETTING(SubdivisionQuality, getSubdivisionQuality, setSubdivisionQuality, subdivisionQualityChanged,
               subdivisionQuality)
    static constexpr int initial = 0;
    static constexpr Range range = {0, 2};
    static constexpr Names names = {"subdivisionQuality", "AOSubdivisionQuality", "subdivisionQuality",
                                    "subdivisionQuality", "subdivision-quality"};
    static constexpr Places places = {11, 13, 12, 12};
    static constexpr int fileFallback = 0;
    static constexpr const char* group = "Refinement";
    static constexpr const char* help = "finer: at most 2, 4 or 6 rounds";
};

struct MinEdgeLength : Length<double> {
    KT_SETTING(MinEdgeLength, getMinEdgeLength, setMinEdgeLength, minEdgeLengthChanged, minEdgeLength)
    static constexpr double initial = 1;
    static constexpr Range range = {0};
    static constexpr bool isLeastExcluded = true;
    static constexpr Names names = {"minEdgeLength", "AOMinEdgeLength", "minEdgeLength", "minEdgeLength",
                                    "min-edge-length"};
    static constexpr Places places = {12, 10, 9, 13};
    static constexpr float fileFallback = 5; // on purpose not `initial`
    static constexpr const char* group = "Refinement";
    static constexpr const char* help = "shorter edges stay whole";
};

struct IntensityThreshold : Real {
    KT_SETTING(IntensityThreshold, getIntensityThreshold, setIntensityThreshold, intensityThresholdChanged,
               intensityThreshold)
    static constexpr double initial = 0.05;
    static constexpr Range range = {0.0075}; // the setter raises smaller values
    static constexpr Names names = {"intensityThreshold", "AOIntensityThreshold", "intensityThreshold",
                                    "intensityThreshold", "intensity-threshold"};
    static constexpr Places places = {13, 12, 13, 14};
    static constexpr float fileFallback = 0.05f;
    static constexpr const char* group = "Refinement";
    static constexpr const char* help = "change of light across an edge that splits it";
};

#undef KT_SETTING

/// Calls visit(row) for every row, in the order of the list above.
template <class Visit>
void forEachSetting(Visit&& visit) {
#define KT_VISIT(Row, member) visit(Row());
    KT_AMBIENT_OCCLUSION_SETTINGS(KT_VISIT)
#undef KT_VISIT
}

/// Calls visit(row) for every row that has a place in an order, from place 1 on: forEachSetting<&Places::presets>(...).
template <int Places::*order, class Visit>
void forEachSetting(Visit&& visit) {
    int rows = 0;
    forEachSetting([&rows](auto) { ++rows; });
    for (int place = 1; place <= rows; ++place)
        forEachSetting([&visit, place](auto row) {
            if constexpr (row.places.*order > 0)
                if (row.places.*order == place)
                    visit(row);
        });
}

} // namespace ktAmbientOcclusionSettings
