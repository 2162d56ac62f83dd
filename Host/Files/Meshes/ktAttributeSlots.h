// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <OpenSG/OSGGeometry.h>
#include <optional>
#include <vector>

/// Where an attribute of a primitive is kept in its geometry, so that it goes along when the geometry is refined.
struct ktAttributeSlot {
    std::string name; ///< such as TEXCOORD_1, TANGENT or _TEMPERATURE
    int channel;      ///< texture coordinate channel of the geometry: 0 to 4 or 6; channels 5 and 7 hold results
    int width;        ///< components, 1 to 4
};

/// The texture coordinate channel that TEXCOORD_n is always kept in, since materials refer to it: n up to 4, 6 for
/// TEXCOORD_5; empty for others.
std::optional<int> ktFindTexCoordChannel(std::uint64_t n);

/// A new property of 1 to 4 floats an element.
osg::GeoTexCoordsPtr ktMakeTexCoords(int width, const std::vector<float>& values);

/// Whether an attribute is kept in a slot: all but positions, normals, the first colour, what belongs to skins, and the
/// baker's own.
bool ktNeedsSlot(const std::string& attribute);
