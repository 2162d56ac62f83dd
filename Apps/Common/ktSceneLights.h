// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <string>

/// Why the plug-in's current mode cannot be calculated in a scene: it needs a light, and no visible light shines.
/// Empty if it can be.
std::string ktFindMissingLight(const osg::NodePtr& root);
