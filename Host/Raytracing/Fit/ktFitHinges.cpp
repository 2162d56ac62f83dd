// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds pairs of faces with a common edge, and how to measure the kink of values at it.
#include "ktFitHinges.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktParallelSort.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t grain = 16384;
constexpr double farthest = 3; // of a corner beside an edge, in lengths of the edge from its begin

// An edge of a face: the corner and the next one.
struct Edge {
    std::uint64_t ends; // unknowns, the smaller first
    std::uint32_t face, corner;
};

// Where a corner lies beside an edge: its foot as a fraction of the edge, and its height over it.
struct Beside {
    double foot, height;
};

Beside placeOf(const ktFitMesh& mesh, const std::uint32_t* ends, std::uint32_t corner, double area) {
    double along = 0, square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double origin = mesh.positions[3 * std::size_t(ends[0]) + axis];
        const double edge = mesh.positions[3 * std::size_t(ends[1]) + axis] - origin;
        along += edge * (mesh.positions[3 * std::size_t(corner) + axis] - origin);
        square += edge * edge;
    }
    return {along / square, 2 * area / std::sqrt(square)};
}

bool makeHinge(const ktFitMesh& mesh, const Edge& a, const Edge& b, ktFitHinge& hinge) {
    const ktFitMesh::Face& left = mesh.faces[a.face];
    const ktFitMesh::Face& right = mesh.faces[b.face];
    hinge.unknowns[0] = static_cast<std::uint32_t>(a.ends >> 32);
    hinge.unknowns[1] = static_cast<std::uint32_t>(a.ends);
    hinge.unknowns[2] = left.unknowns[(a.corner + 2) % 3];
    hinge.unknowns[3] = right.unknowns[(b.corner + 2) % 3];
    if (hinge.unknowns[2] == hinge.unknowns[3])
        return false; // one face lies on the other
    const Beside c = placeOf(mesh, hinge.unknowns, hinge.unknowns[2], left.area);
    const Beside d = placeOf(mesh, hinge.unknowns, hinge.unknowns[3], right.area);
    const double length = std::min(c.height, d.height);
    for (const Beside& corner : {c, d})
        if (!(corner.foot > 1 - farthest && corner.foot < farthest && corner.height > 0))
            return false;
    const double toC = length / c.height, toD = length / d.height;
    hinge.factors[0] = static_cast<float>(-(1 - c.foot) * toC - (1 - d.foot) * toD);
    hinge.factors[1] = static_cast<float>(-c.foot * toC - d.foot * toD);
    hinge.factors[2] = static_cast<float>(toC);
    hinge.factors[3] = static_cast<float>(toD);
    hinge.area = std::min(left.area, right.area);
    return true;
}

} // namespace

std::vector<ktFitHinge> ktFindHinges(const ktFitMesh& mesh, std::size_t begin, std::size_t end) {
    std::vector<Edge> edges(3 * (end - begin));
    for (std::size_t face = begin; face < end; ++face)
        for (std::uint32_t corner = 0; corner < 3; ++corner) {
            const std::uint32_t a = mesh.faces[face].unknowns[corner], b = mesh.faces[face].unknowns[(corner + 1) % 3];
            edges[3 * (face - begin) + corner] = {std::uint64_t(std::min(a, b)) << 32 | std::max(a, b),
                                                  static_cast<std::uint32_t>(face), corner};
        }
    ktThrowIfCanceled();
    ktParallel::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) {
        ktThrowIfCanceled();
        return a.ends != b.ends ? a.ends < b.ends : a.face != b.face ? a.face < b.face : a.corner < b.corner;
    });
    std::vector<ktFitHinge> hinges;
    hinges.reserve(edges.size() / 2);
    for (std::size_t i = 0, next = 0; i < edges.size(); i = next) {
        if (i % grain < 2)
            ktThrowIfCanceled();
        for (next = i + 1; next < edges.size() && edges[next].ends == edges[i].ends;)
            ++next;
        ktFitHinge hinge;
        const bool isLoop = (edges[i].ends >> 32) == (edges[i].ends & 0xFFFFFFFFu);
        if (next == i + 2 && !isLoop && makeHinge(mesh, edges[i], edges[i + 1], hinge))
            hinges.push_back(hinge);
    }
    return hinges;
}
