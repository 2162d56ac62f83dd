// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"

#include <QJsonObject>

struct ktBakeOptions;

/// Hands the options to the plug-in's setters: the preset, then the node's settings, then each option that was given.
/// @param settingsNode  node of `--settings-from`; null when that was not given
/// @param sceneDiagonal world units, for distances in percent
/// @return exit code; on failure the reason is logged
int applySettings(const ktBakeOptions& options, const osg::NodePtr& settingsNode, double sceneDiagonal);

/// Says aloud what the settings ask for and will not get.
void warnAboutSettings();

/// The plug-in's settings by the names of the options, for the statistics.
QJsonObject describeSettings();
