// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

#include <OpenSG/OSGNode.h>

class ktFileMessages;

/// A new light node for the light of a document's node (KHR_lights_punctual); the caller adds it below that node.
/// Null if there is no light or a broken one. The light's beacon is a child of the light node. The light's colour
/// is colour times intensity (candela or lux). The range is not used: light falls off with the square of the
/// distance. The soft edge of a spot light becomes the exponent that fits it best.
osg::NodePtr ktReadLight(const ktGltfDocument& document, std::size_t node, ktFileMessages& messages);

/// The exponent e for which cos(angle)^e fits glTF's fall-off between the two cone angles best, over the cone's solid
/// angle. Radians, 0 <= inner < outer <= pi / 2.
double ktSpotExponent(double inner_rad, double outer_rad);
