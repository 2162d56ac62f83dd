// SPDX-License-Identifier: LGPL-2.1-or-later
// Numbers the unknowns of a geometry and divides its faces into pieces that share no unknown.
#include "ktFitMesh.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktVertexGroups.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t grain = 16384;

struct Size {
    float area; // 0 if it is not finite
    float longestEdge;
};

Size sizeOf(const std::vector<float>& positions, const std::uint32_t* unknowns) {
    double edges[3][3], longest = 0;
    for (std::size_t corner = 0; corner < 3; ++corner) {
        double square = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            edges[corner][axis] = double(positions[3 * std::size_t(unknowns[(corner + 1) % 3]) + axis]) -
                                  positions[3 * std::size_t(unknowns[corner]) + axis];
            square += edges[corner][axis] * edges[corner][axis];
        }
        longest = std::max(longest, square);
    }
    const double *a = edges[0], *b = edges[2];
    const double x = a[1] * b[2] - a[2] * b[1], y = a[2] * b[0] - a[0] * b[2], z = a[0] * b[1] - a[1] * b[0];
    const auto area = static_cast<float>(0.5 * std::sqrt(x * x + y * y + z * z));
    return {std::isfinite(area) ? area : 0.0f, static_cast<float>(std::sqrt(longest))};
}

// Decides which unknowns and faces are fine. `isSmall`: by face.
void markFine(ktFitMesh& mesh, const ktVertexGroups& groups, const std::vector<std::uint8_t>& isSmall) {
    std::vector<std::uint8_t> isFine(mesh.unknownCount, 1);
    for (std::size_t face = 0; face < mesh.faces.size(); ++face)
        if (!isSmall[face])
            for (std::uint32_t unknown : mesh.faces[face].unknowns)
                isFine[unknown] = 0;
    ktThrowIfCanceled();
    std::vector<float> area(mesh.unknownCount, 0.0f);
    for (ktFitMesh::Face& face : mesh.faces) {
        face.isFine = isFine[face.unknowns[0]] && isFine[face.unknowns[1]] && isFine[face.unknowns[2]];
        for (std::uint32_t unknown : face.unknowns)
            area[unknown] += face.isFine ? face.area / 3 : 0.0f;
    }
    for (std::uint32_t unknown = 0; unknown < mesh.unknownCount; ++unknown)
        if (area[unknown] > 0)
            mesh.fine.push_back({unknown, groups.first(unknown), area[unknown]});
    ktThrowIfCanceled();
}

// Disjoint sets of unknowns (R. E. Tarjan, "Efficiency of a Good But Not Linear Set Union Algorithm", 1975). The
// smallest member represents a set.
class Sets {
public:
    explicit Sets(std::uint32_t count) : parent(count) {
        for (std::uint32_t i = 0; i < count; ++i)
            parent[i] = i;
    }
    std::uint32_t find(std::uint32_t i) {
        while (parent[i] != i)
            i = parent[i] = parent[parent[i]];
        return i;
    }
    void join(std::uint32_t a, std::uint32_t b) {
        a = find(a);
        b = find(b);
        if (a < b)
            parent[b] = a;
        else
            parent[a] = b;
    }

private:
    std::vector<std::uint32_t> parent;
};

// Numbers the pieces in the order of their smallest unknown, and sorts the faces by piece.
void sortByPiece(ktFitMesh& mesh) {
    Sets sets(mesh.unknownCount);
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (i % grain == 0)
            ktThrowIfCanceled();
        sets.join(mesh.faces[i].unknowns[0], mesh.faces[i].unknowns[1]);
        sets.join(mesh.faces[i].unknowns[0], mesh.faces[i].unknowns[2]);
    }
    std::vector<std::uint32_t> pieceOf(mesh.unknownCount, ktFitMesh::none), sizes;
    const auto pieceOfFace = [&](const ktFitMesh::Face& face) { return pieceOf[sets.find(face.unknowns[0])]; };
    for (const ktFitMesh::Face& face : mesh.faces)
        pieceOf[sets.find(face.unknowns[0])] = 0;
    std::uint32_t count = 0;
    for (std::uint32_t& piece : pieceOf)
        if (piece == 0)
            piece = count++;
    sizes.assign(count, 0);
    for (const ktFitMesh::Face& face : mesh.faces)
        ++sizes[pieceOfFace(face)];
    ktThrowIfCanceled();
    mesh.faceStart.assign(1, 0);
    for (std::uint32_t size : sizes)
        mesh.faceStart.push_back(mesh.faceStart.back() + size);
    if (count <= 1)
        return;
    std::vector<std::uint32_t> next(mesh.faceStart.begin(), mesh.faceStart.end() - 1);
    std::vector<ktFitMesh::Face> sorted(mesh.faces.size());
    for (const ktFitMesh::Face& face : mesh.faces)
        sorted[next[pieceOfFace(face)]++] = face;
    mesh.faces = std::move(sorted);
}

} // namespace

float ktSmallEdge(const float* positions, std::size_t count) {
    double square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        float low = std::numeric_limits<float>::infinity(), high = -low;
        for (std::size_t i = axis; i < 3 * count; i += 3)
            if (std::isfinite(positions[i])) {
                low = std::min(low, positions[i]);
                high = std::max(high, positions[i]);
            }
        square += low < high ? (double(high) - low) * (double(high) - low) : 0.0;
    }
    return static_cast<float>(ktFitMesh::smallEdgeShare * std::sqrt(square));
}

ktFitMesh ktMakeFitMesh(const ktVertexTask& task, const std::vector<std::uint32_t>& triangles) {
    ktFitMesh mesh;
    const ktVertexGroups groups = ktGroupVertices(task.positions, task.normals, task.count);
    std::vector<std::uint32_t> groupOf(task.count, ktFitMesh::none);
    for (std::size_t group = 0; group < groups.size(); ++group)
        for (std::uint32_t i = groups.starts[group]; i < groups.starts[group + 1]; ++i)
            groupOf[groups.order[i]] = static_cast<std::uint32_t>(group);
    mesh.unknownCount = static_cast<std::uint32_t>(groups.size());
    mesh.positions.resize(3 * groups.size());
    ktParallel::forRange(groups.size(), grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t group = begin; group < end; ++group)
            task.toWorld.position(task.positions + 3 * std::size_t(groups.first(group)), &mesh.positions[3 * group]);
    });

    const std::size_t count = triangles.size() / 3;
    mesh.faces.resize(count);
    std::vector<std::uint8_t> isSmall(count, 0);
    const float smallEdge = ktSmallEdge(mesh.positions.data(), mesh.unknownCount);
    ktParallel::forRange(count, grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i) {
            ktFitMesh::Face& face = mesh.faces[i];
            bool isUsable = true;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const std::uint32_t vertex = triangles[3 * i + corner];
                face.vertices[corner] = vertex;
                face.unknowns[corner] = vertex < task.count ? groupOf[vertex] : ktFitMesh::none;
                isUsable = isUsable && face.unknowns[corner] != ktFitMesh::none;
            }
            const Size size = isUsable ? sizeOf(mesh.positions, face.unknowns) : Size{0.0f, 0.0f};
            face.area = size.area;
            isSmall[i] = size.longestEdge < smallEdge;
        }
    });
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (mesh.faces[i].area > 0.0f) {
            isSmall[kept] = isSmall[i];
            mesh.faces[kept++] = mesh.faces[i];
        }
    mesh.faces.resize(kept);
    ktThrowIfCanceled();
    markFine(mesh, groups, isSmall);

    std::vector<bool> isUsed(mesh.unknownCount, false);
    for (const ktFitMesh::Face& face : mesh.faces)
        for (std::uint32_t unknown : face.unknowns)
            isUsed[unknown] = true;
    for (std::uint32_t& group : groupOf)
        if (group != ktFitMesh::none && !isUsed[group])
            group = ktFitMesh::none;
    mesh.unknownOf = std::move(groupOf);
    sortByPiece(mesh);
    return mesh;
}
