// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssimpTarget.h"
#include "ktUpAxis.h"

#include <optional>
#include <string>

/// The space of an imported file.
struct ktAssimpSpace {
    double metres = 0;         ///< per unit of the imported positions; 0: the file does not say
    bool isUnitSure = false;   ///< exporters set this unit with care
    bool hasUpAxis = false;    ///< the file or its format says which axis points up
    ktUpAxis up = ktUpAxis::Y; ///< of the imported positions
    bool isUpNegative = false; ///< the axis points down
    bool isTurned = false;     ///< the importer has turned z up to y up, which is to be undone
};

/// Finds out the space of an imported file.
/// @param up   the axis of the file that the user says points up; overrides what the file says
ktAssimpSpace ktFindAssimpSpace(const aiScene& scene, const ktFileToImport& file, std::optional<ktUpAxis> up);
/// Converts to glTF's space: y up, metres. Adds a node above the others if needed.
void ktConvertAssimpSpace(ktAssimpTarget& target, const ktAssimpSpace& space);
