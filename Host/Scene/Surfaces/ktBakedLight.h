// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <array>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// The light that arrives at each vertex of a baked geometry, by which a viewer multiplies the surface's colour: direct
/// light (channel 5's colour where the geometry has that channel, else w of channel 7 as grey) plus indirect light,
/// which is kept times the surface's colour, with that colour divided out again. Linear red, green, blue; 1 is a
/// surface in the open; light of lamps may exceed it.
/// @param node     node of the scene that holds the geometry: its material and the settings it was baked with count
/// @return one element a position; empty when the geometry holds no result (channel 7 is missing or too short, or all
/// of
///         its w are at most 1e-6)
KT_HOST_EXPORT std::vector<std::array<float, 3>> ktReadBakedLight(const osg::NodePtr& node,
                                                                  const osg::GeometryPtr& geometry);
