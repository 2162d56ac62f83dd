// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstddef>
#include <OpenSG/OSGNode.h>
#include <vector>

/// Triangles of some geometry nodes in the world, corner by corner.
struct ktWorldTriangles {
    std::vector<std::array<std::array<double, 3>, 3>> corners;
    std::vector<std::size_t> nodes; ///< which node a triangle belongs to
};

/// Reads the triangles that a renderer would draw; those with two corners at one place are left out.
ktWorldTriangles ktReadWorldTriangles(const std::vector<osg::NodePtr>& nodes);

/// What is wrong with a refined mesh that was right with the mesh before.
struct ktMeshFlaws {
    std::size_t hanging = 0; ///< places inside an edge of a triangle that shared that edge with theirs before
    std::size_t flipped = 0; ///< triangles that look away from the triangle they are a part of
    std::size_t flat = 0;    ///< triangles without area that are no part of one without area
    std::size_t lost = 0;    ///< triangles that are no part of a triangle before
    double areaChange = 0;   ///< relative

    bool any() const { return hanging + flipped + flat + lost > 0; }
};

/// Compares a mesh before and after a refinement, by positions in the world alone.
ktMeshFlaws ktFindFlaws(const ktWorldTriangles& before, const ktWorldTriangles& after);
