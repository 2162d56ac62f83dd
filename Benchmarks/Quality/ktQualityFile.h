// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktQualityBake.h"
#include "ktQualityScene.h"

#include <string>

/// Where a file has its baked values.
enum class ktQualityValues {
    Results, ///< in the attributes that ktbake writes
    Colors   ///< w is the red of the vertex colours; there is no light
};

/// Reads a baked glTF file in the pose and with the visibility that a viewer shows. Surfaces whose file has no normals
/// get, at each corner, the mean normal of the faces at that vertex that are inclined by at most 30 degrees to the
/// corner's face. Ground planes and environments are not measured. Transparent surfaces occlude nothing.
/// The scene keeps what it needs of the file.
/// @param diagonal_mm diagonal of the scene's bounds, as the statistics of the bake say: it gives the unit of the file
/// @param reflection  gives the colours of the surfaces
/// @throws std::runtime_error with the file's name if it cannot be read
ktQualityScene ktReadQualityScene(const std::string& path, double diagonal_mm,
                                  const ktQualityReflection& reflection = {},
                                  ktQualityValues values = ktQualityValues::Results);

/// The normals that surfaces without normals get; see ktReadQualityScene().
/// @return x, y, z for each of `mesh.indices`
std::vector<float> ktMakeCreaseNormals(const ktQualityMesh& mesh);
