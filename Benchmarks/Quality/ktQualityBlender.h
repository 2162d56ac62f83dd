// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// Finds Blender. @return its path; empty if it is not installed
std::string ktFindBlender(const std::string& program);

/// Bakes ambient occlusion into the vertex colours of a glTF file with Blender (Cycles), as a child process.
/// @param program        from ktFindBlender()
/// @param rays           per corner of a triangle
/// @param distance_units farther surfaces do not occlude; in units of the file
/// @return seconds of the bake alone
/// @throws std::runtime_error with the messages of Blender if it fails
double ktRunBlenderBake(const std::string& program, const std::string& input, const std::string& output, unsigned rays,
                        double distance_units);
