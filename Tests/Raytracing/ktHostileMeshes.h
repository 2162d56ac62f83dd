// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTestMesh.h"

#include <vector>

/// Scenes that provoke errors of ray tracers. They are the same on every machine.
namespace ktHostileMeshes {

std::vector<ktTestMesh> spheres();        ///< round, without special cases
std::vector<ktTestMesh> boxes();          ///< walls along the axes that touch at edges and corners, on a grid
std::vector<ktTestMesh> needles();        ///< triangles a million times longer than wide
std::vector<ktTestMesh> soup();           ///< triangles of all sizes that intersect
std::vector<ktTestMesh> hugeAmongSmall(); ///< sides of 1e12 among sides of 1
std::vector<ktTestMesh> hugeScene();      ///< coordinates up to 2e12
std::vector<ktTestMesh> beyondRange();    ///< coordinates up to 1e18; products of three overflow
std::vector<ktTestMesh> tinyScene();      ///< coordinates of 1e-9
std::vector<ktTestMesh> tinyAmongLarge(); ///< sides of 1e-7 among sides of 1
std::vector<ktTestMesh> farFromOrigin();  ///< a scene of size 10 at a distance of 1e5
std::vector<ktTestMesh> coplanarStack();  ///< a thousand equal sheets in one plane, some in planes close to it
std::vector<ktTestMesh> degenerate();     ///< points and lines among spheres
std::vector<ktTestMesh> notFinite();      ///< corners that are NaN, infinite or too far away to trace
std::vector<ktTestMesh> manyScales();     ///< nested triangles of 162 scales, which make trees deep
std::vector<ktTestMesh> onePoint();       ///< a million triangles at one point, some with an area
std::vector<ktTestMesh> largeUneven();    ///< a million small triangles in the middle of large ones

} // namespace ktHostileMeshes
