// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"
#include "ktSceneDistances.h"

struct ktBakeOptions;

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
