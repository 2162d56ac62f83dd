// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAmbientOcclusion.h"
#include "ktNodePtr.h"
#include "ktSceneDistances.h"

struct ktBakeOptions;

/// Sets one setting of the plug-in, also where its setter ignores the value that it has already.
template <class Row>
void ktPutSetting(Row row, const typename Row::Value& value) {
    ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    if constexpr (Row::needsAChange)
        row.set(plugin, value == Row::range.least ? value + 1 : value - 1);
    row.set(plugin, value);
}

/// Passes the options to the plug-in's setters: the preset, then the node's settings, then each given option.
/// @param settingsNode  node of `--settings-from`; null without that option
/// @param sceneDiagonal world units, for distances in percent
/// @return exit code; logs the reason of a failure
int applySettings(const ktBakeOptions& options, const osg::NodePtr& settingsNode, double sceneDiagonal);

/// The distances that an option, the preset or the node gave.
ktGivenDistances givenDistances(const ktBakeOptions& options);

/// Lets the distances that were not given follow the scene. Logs what has changed.
/// @param sceneDiagonal world units
void followScene(const ktBakeOptions& options, double sceneDiagonal);

/// Logs a warning for each given distance that does not suit the scene.
void warnAboutDistances(const ktBakeOptions& options, double sceneDiagonal);
