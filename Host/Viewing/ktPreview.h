// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <functional>
#include <OpenSG/OSGNode.h>
#include <string>

/// Draws the baked scene below a node into a PNG file. Writes a new file and renames it.
/// Scales the light down if strong lights make it brighter than white.
/// @param exposure additional scale of the light
/// @param width, height pixels
/// @param turn_degrees turns the camera around the scene from its default position, counterclockwise seen from above
/// @param isInterrupted asked from time to time, on any thread; true ends the drawing with a reason. May be empty.
/// @return empty on success; else the reason, and an existing file is unchanged
KT_HOST_EXPORT std::string ktWritePreview(const osg::NodePtr& root, const std::string& fileName, float exposure = 1,
                                          int width = 1280, int height = 960, double turn_degrees = 0,
                                          const std::function<bool()>& isInterrupted = {});
