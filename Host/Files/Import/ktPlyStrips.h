// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <optional>
#include <string>

/// If a PLY file keeps its triangles as strips (element "tristrips"), returns the file's content with single triangles
/// (element "face") instead. Assimp would read one triangle of each strip. Empty for any other file.
/// Throws std::runtime_error with the reason if the strips cannot be read.
std::optional<std::string> ktConvertPlyStrips(const std::string& path);
