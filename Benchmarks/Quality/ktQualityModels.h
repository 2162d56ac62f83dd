// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBenchmarkScenes.h"

#include <optional>

/// Generates a scene, in metres; empty for an unknown name. The scenes are the same on every machine.
/// - "plates": an open box of plates with finger joints and a divider, as a laser cutter makes it. Flat normals; the
///   triangles are those of CAD programs, long and thin.
/// - "shelf": boards in a frame, one closed mesh each, without normals.
/// - "parts": blocks, cylinders and a ball that pass through each other, one closed mesh each, without normals.
/// - "room": floor, walls and boxes as furniture, with flat normals and two triangles per side.
std::optional<ktBenchmarkScene> ktMakeQualityModel(const std::string& name);
