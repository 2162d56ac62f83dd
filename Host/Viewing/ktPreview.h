// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>
#include <string>

/// Draws the scene below a node as it was baked and writes it as a PNG file, beside its target and renamed into place.
/// Light brighter than white, of scenes with strong lights, is scaled down.
/// @param exposure further scale of the light
/// @param width, height pixels
/// @param turn_degrees how far round the scene it is seen from, from the usual place: counterclockwise, seen from above
/// @return empty when it is written; else the reason, and a file that was there before is as it was
KT_HOST_EXPORT std::string ktWritePreview(const osg::NodePtr& root, const std::string& fileName, float exposure = 1,
                                          int width = 1280, int height = 960, double turn_degrees = 0);
