// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <QString>
#include <vector>

/// Absolute paths of the buffer files of the .gltf file `path` that ktPackForGltf() wrote: their name ends in the hash
/// of their content. Empty if there are none.
std::vector<QString> ktFindOwnBuffers(const QString& path);
/// Deletes those of `files` that neither `json` nor another glTF file in their folder refers to. A copy of a baked file
/// shares its buffers, so they stay.
/// @param path the file of `json`
void ktRemoveUnusedBuffers(const std::vector<QString>& files, const ktJson& json, const QString& path);
