// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneLight.h"

#include <cstdint>
#include <OpenSG/OSGNode.h>
#include <vector>

// An order of geometries and lights that does not depend on the order of the nodes. So the tracer always gets the same
// structure, and always chooses the same one of two hits at equal distances. Equal content has equal hashes; different
// content has different hashes, except in one of 2^64 cases.

/// Hash of what distinguishes geometry nodes of the same shape: the colour of the material, and the name. Main thread
/// only.
std::uint64_t ktHashSurface(const osg::NodePtr& node);
/// Hash of a shape. Any thread.
/// @param positions world space, three floats per position and one spare
/// @param triangles three position indices each
/// @param normals   `normalCount` times three floats, object space
/// @throws ktCanceled
std::uint64_t ktHashShape(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles,
                          const float* normals, std::size_t normalCount);
/// Sorts lights by their content, so that sums over them always have the same bits.
void ktSortLights(std::vector<ktSceneLight>& lights);
