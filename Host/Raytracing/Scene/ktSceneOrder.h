// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneLight.h"

#include <cstdint>
#include <OpenSG/OSGNode.h>
#include <vector>

// What the scene holds, told apart by itself and not by its place in the list of nodes: the tracer gets the same
// structure, and resolves hits at equal distances alike, in whatever order the nodes come. Keys are equal where what
// they stand for is equal, and different otherwise but for one case in 2^64.

/// What distinguishes a geometry node from another of the same shape: its material's colour and its name. Main thread
/// only.
std::uint64_t ktHashSurface(const osg::NodePtr& node);
/// A shape. Any thread.
/// @param positions world space, three floats a position and one spare
/// @param triangles three positions' indices each
/// @param normals   `normalCount` times three floats, object space
/// @throws ktCanceled
std::uint64_t ktHashShape(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles,
                          const float* normals, std::size_t normalCount);
/// Brings lights into an order of their own, so that sums over them have the same bits.
void ktSortLights(std::vector<ktSceneLight>& lights);
