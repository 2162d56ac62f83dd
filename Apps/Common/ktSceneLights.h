// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <string>

/// Checks that the plug-in's current mode finds a visible light that shines.
/// @return why the mode cannot be calculated: without lights, the result of light and shadows would be black. Empty if
///         it can be. The mode with shadows alone gives the result of the classic mode then, with a warning in the log
std::string ktCheckLights(const osg::NodePtr& root);
