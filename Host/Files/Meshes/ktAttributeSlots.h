// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <OpenSG/OSGGeometry.h>
#include <optional>
#include <vector>

/// Where a geometry keeps an attribute of its primitive, so that refinement interpolates it too.
struct ktAttributeSlot {
    std::string name; ///< such as TEXCOORD_1, TANGENT or _TEMPERATURE
    int channel;      ///< texture coordinate channel of the geometry: 0 to 4 or 6; channels 5 and 7 hold results
    int width;        ///< components, 1 to 4
};

/// The fixed texture coordinate channel of TEXCOORD_n, which materials refer to: n for n up to 4, 6 for TEXCOORD_5,
/// empty for others.
std::optional<int> ktFindTexCoordChannel(std::uint64_t n);

/// A new property with elements of 1 to 4 floats.
osg::GeoTexCoordsPtr ktMakeTexCoords(int width, const std::vector<float>& values);

/// Whether an attribute needs a slot: all do, except positions, normals, the first colour, joints, weights and baked
/// results.
bool ktNeedsSlot(const std::string& attribute);
