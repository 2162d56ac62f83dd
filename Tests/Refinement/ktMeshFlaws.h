// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstddef>
#include <OpenSG/OSGNode.h>
#include <vector>

/// Triangles of some geometry nodes in world space, corner by corner.
struct ktWorldTriangles {
    std::vector<std::array<std::array<double, 3>, 3>> corners;
    std::vector<std::size_t> nodes; ///< which node a triangle belongs to
};

/// Reads the triangles that a renderer draws. Leaves out triangles with two equal corners.
ktWorldTriangles ktReadWorldTriangles(const std::vector<osg::NodePtr>& nodes);

/// Flaws of a refined mesh that the mesh before refinement does not have.
struct ktMeshFlaws {
    std::size_t hanging = 0; ///< points inside an edge that their triangle shared before
    std::size_t flipped = 0; ///< triangles that face away from their old triangle
    std::size_t flat = 0;    ///< triangles without area whose old triangle has area
    std::size_t lost = 0;    ///< triangles outside all old triangles
    double areaChange = 0;   ///< relative to the old area

    bool any() const { return hanging + flipped + flat + lost > 0; }
};

/// Compares a mesh before and after refinement, by world positions alone.
ktMeshFlaws ktFindFlaws(const ktWorldTriangles& before, const ktWorldTriangles& after);
