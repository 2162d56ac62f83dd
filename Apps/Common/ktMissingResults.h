// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"

#include <vector>

/// The topmost nodes, among `roots` and all nodes below, whose subtrees lack results and hold none. So everything else
/// below `roots` keeps its results and settings. Missing results are those that the plug-in's settings request: direct
/// results, and indirect light if it is on. Level by level; trees may have any depth.
std::vector<osg::NodePtr> findMissing(const std::vector<osg::NodePtr>& roots);
