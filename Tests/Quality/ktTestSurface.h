// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktQualityScene.h"

/// An empty mesh; add faces to it.
inline ktQualityMesh ktMakeTestMesh() {
    ktQualityMesh mesh;
    mesh.positions.push_back(0);
    return mesh;
}

/// Adds a triangle with vertices for itself and its geometric normal as the shading normal.
inline void ktAddTestTriangle(ktQualityMesh& mesh, const ktQualityVector& a, const ktQualityVector& b,
                              const ktQualityVector& c, float sky = 1) {
    mesh.positions.pop_back();
    for (const ktQualityVector& corner : {a, b, c}) {
        mesh.indices.push_back(static_cast<std::uint32_t>(mesh.sky.size()));
        mesh.sky.push_back(sky);
        for (const double value : corner)
            mesh.positions.push_back(static_cast<float>(value));
    }
    mesh.positions.push_back(0);
    const ktQualityVector normal = mesh.areaVector(static_cast<std::uint32_t>(mesh.triangleCount() - 1));
    double length = 0;
    for (const double value : normal)
        length += value * value;
    for (int corner = 0; corner < 3; ++corner)
        for (const double value : normal)
            mesh.cornerNormals.push_back(static_cast<float>(value / __builtin_sqrt(length)));
}

/// Adds a parallelogram: a corner and two edges. Its normal is along the cross product of the edges.
inline void ktAddTestQuad(ktQualityMesh& mesh, const ktQualityVector& corner, const ktQualityVector& s,
                          const ktQualityVector& t, float sky = 1) {
    const auto sum = [](const ktQualityVector& a, const ktQualityVector& b) {
        return ktQualityVector{a[0] + b[0], a[1] + b[1], a[2] + b[2]};
    };
    ktAddTestTriangle(mesh, corner, sum(corner, s), sum(sum(corner, s), t), sky);
    ktAddTestTriangle(mesh, corner, sum(sum(corner, s), t), sum(corner, t), sky);
}

/// Adds a closed box with its normals outside.
inline void ktAddTestBox(ktQualityMesh& mesh, const ktQualityVector& low, const ktQualityVector& size) {
    const ktQualityVector high{low[0] + size[0], low[1] + size[1], low[2] + size[2]};
    const ktQualityVector x{size[0], 0, 0}, y{0, size[1], 0}, z{0, 0, size[2]};
    ktAddTestQuad(mesh, low, y, x);
    ktAddTestQuad(mesh, low, x, z);
    ktAddTestQuad(mesh, low, z, y);
    const auto back = [](const ktQualityVector& a) { return ktQualityVector{-a[0], -a[1], -a[2]}; };
    ktAddTestQuad(mesh, high, back(x), back(y));
    ktAddTestQuad(mesh, high, back(z), back(x));
    ktAddTestQuad(mesh, high, back(y), back(z));
}
