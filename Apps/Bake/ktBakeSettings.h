// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"

struct ktBakeOptions;

/// Passes the options to the plug-in's setters: the preset, then the node's settings, then each given option.
/// @param settingsNode  node of `--settings-from`; null without that option
/// @param sceneDiagonal world units, for distances in percent
/// @return exit code; logs the reason of a failure
int applySettings(const ktBakeOptions& options, const osg::NodePtr& settingsNode, double sceneDiagonal);
