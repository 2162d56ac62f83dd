// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTestMesh.h"

#include <vector>

/// Scenes that tempt a ray tracer to err. The same on every machine.
namespace ktHostileMeshes {

std::vector<ktTestMesh> spheres();        ///< round and harmless
std::vector<ktTestMesh> boxes();          ///< walls along the axes that touch at edges and corners, on a grid
std::vector<ktTestMesh> needles();        ///< triangles a million times longer than wide
std::vector<ktTestMesh> soup();           ///< triangles of all sizes through each other
std::vector<ktTestMesh> hugeAmongSmall(); ///< sides of 1e12 among sides of 1
std::vector<ktTestMesh> hugeScene();      ///< coordinates up to 2e12
std::vector<ktTestMesh> beyondRange();    ///< coordinates up to 1e18, whose products of three are no floats
std::vector<ktTestMesh> tinyScene();      ///< coordinates of 1e-9
std::vector<ktTestMesh> tinyAmongLarge(); ///< sides of 1e-7 among sides of 1
std::vector<ktTestMesh> farFromOrigin();  ///< a scene of size 10 at a distance of 1e5
std::vector<ktTestMesh> coplanarStack();  ///< a thousand equal sheets in one plane, and some in planes just beside
std::vector<ktTestMesh> degenerate();     ///< points and lines among spheres
std::vector<ktTestMesh> notFinite();      ///< corners that are no number, infinite or beyond what can be traced
std::vector<ktTestMesh> manyScales();     ///< triangles of 162 scales within each other: makes trees deep
std::vector<ktTestMesh> onePoint();       ///< a million triangles in one point, some of them with an area
std::vector<ktTestMesh> largeUneven();    ///< a million small triangles in the middle of large ones

} // namespace ktHostileMeshes
