// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"

#include <string>
#include <vector>

/// A sentence about a result that is nearly all black or nearly all white, with what may be the reason. Looks at the
/// light that arrives at the vertices below the nodes. Empty if the result is neither, or if there is none.
/// @param diagonal of the scene, world units
std::string ktHintAtResult(const std::vector<osg::NodePtr>& nodes, double diagonal);
