// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBenchmarkScenes.h"

/// Writes a scene as binary glTF, one node a mesh, for `ktbake` and others to bake.
/// @throws std::runtime_error naming the file when it cannot be written or gets larger than 4 GB
void ktSaveBenchmarkScene(const ktBenchmarkScene& scene, const std::string& path);
