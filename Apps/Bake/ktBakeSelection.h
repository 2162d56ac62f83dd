// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"

#include <vector>

/// The topmost nodes, among `roots` and all below them, below which results are missing and none are there. What else
/// is below `roots` so keeps its results and the settings it was baked with. Missing is what the plug-in's settings ask
/// for: direct results, and indirect light where that is switched on. Level by level; trees may be of any depth.
std::vector<osg::NodePtr> findMissing(const std::vector<osg::NodePtr>& roots);
