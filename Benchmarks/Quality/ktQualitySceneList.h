// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// A scene that the report bakes.
struct ktQualitySceneEntry {
    std::string name, path;
};

/// Where scenes with a name are.
struct ktQualityFolders {
    std::string models;    ///< of the truck, the bunny and nefertiti; may be empty
    std::string samples;   ///< of Assimp's test models
    std::string generated; ///< generated scenes are written here
};

/// Help about the names.
extern const char* const ktQualitySceneHelp;

/// Finds or generates scenes by their names, separated by commas.
/// @throws std::runtime_error for an unknown name, a missing file, or a file that cannot be written
std::vector<ktQualitySceneEntry> ktFindQualityScenes(const std::string& names, const ktQualityFolders& folders);
