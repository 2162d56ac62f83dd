// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <array>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// The light that arrives at each vertex of a baked geometry; a viewer multiplies the surface's colour by it.
/// Linear red, green, blue. 1 is a surface in the open; light from lamps may exceed it. The sum of
/// - direct light: the colour in channel 5 if the geometry has that channel, else w of channel 7 as grey;
/// - indirect light: stored multiplied by the surface's colour, so divided by that colour here.
/// @param node     node of the scene that holds the geometry; its material and the settings it was baked with are used
/// @return one element per position; empty if the geometry holds no result:
///         channel 7 is missing or too short, or none of its w exceeds 1e-6
KT_HOST_EXPORT std::vector<std::array<float, 3>> ktReadBakedLight(const osg::NodePtr& node,
                                                                  const osg::GeometryPtr& geometry);
