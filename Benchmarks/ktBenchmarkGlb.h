// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBenchmarkScenes.h"

/// Writes a scene as binary glTF with one node per mesh, so that `ktbake` and other programs can bake it.
/// @throws std::runtime_error with the file's name if it cannot be written or is larger than 4 GB
void ktSaveBenchmarkScene(const ktBenchmarkScene& scene, const std::string& path);
