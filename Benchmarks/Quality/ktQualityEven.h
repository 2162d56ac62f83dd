// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>

/// A scene that was subdivided evenly.
struct ktEvenScene {
    std::size_t vertices = 0; ///< each mesh counts once
    double unit_mm = 0;       ///< length of one unit of the file, millimetres
};

/// Writes a scene with its longest edges halved, the longest first, until it has at least `vertices` vertices: what a
/// user gets who subdivides a mesh evenly before baking. The triangles stay conforming. Lengths are those of the first
/// use of a mesh.
/// @throws std::runtime_error with the file's name if it cannot be read or written
ktEvenScene ktWriteEvenScene(const std::string& scene, const std::string& output, std::size_t vertices);
