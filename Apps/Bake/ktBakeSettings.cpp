// SPDX-License-Identifier: LGPL-2.1-or-later
// Applies preset, node settings and options to the plug-in.
#include "ktBakeSettings.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktBakePresets.h"
#include "ktLog.h"

#include <cmath>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

/// Converts an option's value to the plug-in's value.
template <class Row, class Given>
typename Row::Value settingOf(Row, const Given& given, double) {
    return given;
}
template <class Row>
typename Row::Value settingOf(Row, const ktBakeDistance& given, double sceneDiagonal) {
    return static_cast<typename Row::Value>(given.inWorldUnits(sceneDiagonal));
}
template <class Row>
typename Row::Value settingOf(Row, const std::array<float, 3>& given, double) {
    return {given[0], given[1], given[2]};
}

/// An option as typed, with the length that it means; or the length alone if the option was not given.
std::string describeDistance(const char* option, const std::optional<ktBakeDistance>& given, double millimetres) {
    std::string length = QString::number(millimetres, 'g', 6).toStdString() + " mm";
    if (!given)
        return length;
    return std::string(option) + " " + given->typed + (given->isPercent ? ", which is " + length : "");
}

} // namespace

int applySettings(const ktBakeOptions& options, const osg::NodePtr& settingsNode, double sceneDiagonal) {
    ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    if (!options.preset.empty()) {
        std::string message;
        const int index = findPreset(plugin->getPresetNames(), options.preset, message);
        if (index < 0) {
            ktBakeMessages::log(ktLogLevel::Error, "--preset: " + message,
                                {{"option", "--preset"}, {"value", options.preset}, {"reason", message}});
            return ktBakeExit::usage;
        }
        plugin->applyPreset(index);
    }
    if (settingsNode != osg::NullFC)
        plugin->loadFromNode(settingsNode);

    Settings::forEachSetting([&](auto row) {
        const auto& given = options.given(row);
        if (given)
            ktPutSetting(row, settingOf(row, *given, sceneDiagonal));
    });

    ktSceneDistances distances = ktSceneDistances::read();
    if (options.savePreset.empty()) // a preset keeps the distances as they are
        distances.follow(givenDistances(options), sceneDiagonal);
    if (!(distances.minDistance < distances.maxDistance)) {
        const auto nearest = static_cast<double>(distances.minDistance);
        const auto farthest = static_cast<double>(distances.maxDistance);
        const auto isLost = [](const std::optional<ktBakeDistance>& given, double length) {
            return given && given->isPercent && !(length > 0 && std::isfinite(length));
        };
        if (isLost(options.minDistance, nearest) || isLost(options.maxDistance, farthest)) {
            const std::string reason = "its diagonal of " + ktDescribeLength(sceneDiagonal) +
                                       " is too small or too large for distances in percent";
            ktBakeMessages::logReason(ktLogLevel::Error, options.scene, reason);
            return ktBakeExit::badInput;
        }
        ktLog::error("The minimum distance (%s) must be smaller than the maximum distance (%s).",
                     describeDistance("--min-distance", options.minDistance, nearest).c_str(),
                     describeDistance("--max-distance", options.maxDistance, farthest).c_str());
        return ktBakeExit::usage;
    }
    return ktBakeExit::done;
}

ktGivenDistances givenDistances(const ktBakeOptions& options) {
    const bool areAllGiven = !options.preset.empty() || !options.settingsFrom.empty();
    return {areAllGiven || options.minDistance, areAllGiven || options.maxDistance,
            areAllGiven || options.minEdgeLength};
}

void followScene(const ktBakeOptions& options, double sceneDiagonal) {
    const ktSceneDistances before = ktSceneDistances::read();
    ktSceneDistances distances = before;
    distances.follow(givenDistances(options), sceneDiagonal);
    distances.apply();
    const std::string change =
        distances.describeChange(before, sceneDiagonal, ktAmbientOcclusion::the()->isSubdivideEnabled());
    if (!change.empty())
        ktBakeMessages::logReason(ktLogLevel::Info, options.scene, change);
}

void warnAboutDistances(const ktBakeOptions& options, double sceneDiagonal) {
    const ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    for (const std::string& mistake :
         ktSceneDistances::read().findMistakes(givenDistances(options), sceneDiagonal, plugin->isSubdivideEnabled()))
        ktLog::warning("%s", mistake.c_str());
}
