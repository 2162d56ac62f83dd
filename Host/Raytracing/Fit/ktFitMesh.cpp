// SPDX-License-Identifier: LGPL-2.1-or-later
// Numbers the unknowns of a geometry and divides its faces into pieces that share no unknown.
#include "ktFitMesh.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktTriangleSize.h"
#include "ktVertexGroups.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr std::size_t grain = 16384;

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

// The unknowns, and the vertices that they stand for.
struct Unknowns {
    std::vector<std::uint32_t> ofVertex;    // `none`: cannot be traced
    std::vector<std::uint32_t> firstVertex; // by unknown
    std::vector<std::uint8_t> isUniform;    // by unknown: its vertices have one normal
};

Unknowns numberUnknowns(const ktVertexTask& task, const std::uint32_t* shared) {
    const ktVertexGroups groups = ktGroupVertices(task.positions, task.normals, task.count);
    Unknowns unknowns;
    unknowns.ofVertex.assign(task.count, ktFitMesh::none);
    for (std::size_t group = 0; group < groups.size(); ++group)
        for (std::uint32_t i = groups.starts[group]; i < groups.starts[group + 1]; ++i)
            unknowns.ofVertex[groups.order[i]] = static_cast<std::uint32_t>(group);
    if (!shared) {
        for (std::size_t group = 0; group < groups.size(); ++group)
            unknowns.firstVertex.push_back(groups.first(group));
        unknowns.isUniform.assign(groups.size(), 1);
        return unknowns;
    }
    Sets sets(static_cast<std::uint32_t>(groups.size()));
    std::vector<std::uint32_t> groupOfValue(task.count, ktFitMesh::none);
    for (std::uint32_t vertex = 0; vertex < task.count; ++vertex) {
        const std::uint32_t group = unknowns.ofVertex[vertex];
        if (group == ktFitMesh::none || shared[vertex] >= task.count)
            continue;
        std::uint32_t& known = groupOfValue[shared[vertex]];
        if (known == ktFitMesh::none)
            known = group;
        else
            sets.join(known, group);
    }
    std::vector<std::uint32_t> unknownOfGroup(groups.size());
    for (std::uint32_t group = 0; group < groups.size(); ++group) {
        const std::uint32_t first = sets.find(group);
        if (first == group) {
            unknownOfGroup[group] = static_cast<std::uint32_t>(unknowns.firstVertex.size());
            unknowns.firstVertex.push_back(groups.first(group));
            unknowns.isUniform.push_back(1);
        } else {
            unknownOfGroup[group] = unknownOfGroup[first];
            unknowns.isUniform[unknownOfGroup[first]] = 0;
        }
    }
    for (std::uint32_t& unknown : unknowns.ofVertex)
        if (unknown != ktFitMesh::none)
            unknown = unknownOfGroup[unknown];
    return unknowns;
}

// Decides which unknowns and faces are fine. `isSmall`: by face.
void markFine(ktFitMesh& mesh, const Unknowns& unknowns, const std::vector<std::uint8_t>& isSmall) {
    std::vector<std::uint8_t> isFine = unknowns.isUniform;
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
    mesh.fineOf.assign(mesh.unknownCount, ktFitMesh::none);
    for (std::uint32_t unknown = 0; unknown < mesh.unknownCount; ++unknown)
        if (area[unknown] > 0) {
            mesh.fineOf[unknown] = static_cast<std::uint32_t>(mesh.fine.size());
            mesh.fine.push_back({unknown, unknowns.firstVertex[unknown], area[unknown]});
        }
    ktThrowIfCanceled();
}

// Sorts items by piece and keeps their order inside a piece. Returns the first item of each piece, and the end.
template <class Item, class PieceOf>
std::vector<std::uint32_t> sortByPiece(std::vector<Item>& items, std::uint32_t pieces, const PieceOf& pieceOf) {
    std::vector<std::uint32_t> starts(pieces + std::size_t(1), 0);
    for (const Item& item : items)
        ++starts[pieceOf(item) + std::size_t(1)];
    for (std::size_t piece = 0; piece < pieces; ++piece)
        starts[piece + 1] += starts[piece];
    ktThrowIfCanceled();
    std::vector<std::uint32_t> next = starts;
    std::vector<Item> sorted(items.size());
    for (const Item& item : items)
        sorted[next[pieceOf(item)]++] = item;
    items = std::move(sorted);
    return starts;
}

// Numbers the pieces in the order of their smallest unknown, and sorts the faces and unknowns by piece.
void makePieces(ktFitMesh& mesh) {
    Sets sets(mesh.unknownCount);
    constexpr std::uint32_t used = ktFitMesh::none - 1;
    std::vector<std::uint32_t> pieceOf(mesh.unknownCount, ktFitMesh::none);
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (i % grain == 0)
            ktThrowIfCanceled();
        const std::uint32_t* unknowns = mesh.faces[i].unknowns;
        sets.join(unknowns[0], unknowns[1]);
        sets.join(unknowns[0], unknowns[2]);
        for (int corner = 0; corner < 3; ++corner)
            pieceOf[unknowns[corner]] = used;
    }
    std::uint32_t pieces = 0;
    for (std::uint32_t unknown = 0; unknown < mesh.unknownCount; ++unknown)
        if (pieceOf[unknown] == used) {
            const std::uint32_t first = sets.find(unknown);
            pieceOf[unknown] = first == unknown ? pieces++ : pieceOf[first];
            mesh.unknowns.push_back(unknown);
        }
    ktThrowIfCanceled();
    mesh.faceStart =
        sortByPiece(mesh.faces, pieces, [&](const ktFitMesh::Face& face) { return pieceOf[face.unknowns[0]]; });
    mesh.unknownStart = sortByPiece(mesh.unknowns, pieces, [&](std::uint32_t unknown) { return pieceOf[unknown]; });
    mesh.rowOf.assign(mesh.unknownCount, ktFitMesh::none);
    for (std::size_t piece = 0; piece < pieces; ++piece)
        for (std::uint32_t i = mesh.unknownStart[piece]; i < mesh.unknownStart[piece + 1]; ++i)
            mesh.rowOf[mesh.unknowns[i]] = i - mesh.unknownStart[piece];
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

ktFitMesh ktMakeFitMesh(const ktVertexTask& task, const std::vector<std::uint32_t>& triangles, bool findFine,
                        const std::uint32_t* shared) {
    ktFitMesh mesh;
    Unknowns unknowns = numberUnknowns(task, shared);
    mesh.unknownCount = static_cast<std::uint32_t>(unknowns.firstVertex.size());
    mesh.positions.resize(3 * unknowns.firstVertex.size());
    ktParallel::forRange(mesh.unknownCount, grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i)
            task.toWorld.position(task.positions + 3 * std::size_t(unknowns.firstVertex[i]), &mesh.positions[3 * i]);
    });

    const std::size_t count = triangles.size() / 3;
    mesh.faces.resize(count);
    std::vector<std::uint8_t> isSmall(count, 0);
    const float smallEdge = findFine ? ktSmallEdge(mesh.positions.data(), mesh.unknownCount) : 0.0f;
    ktParallel::forRange(count, grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i) {
            ktFitMesh::Face& face = mesh.faces[i];
            face.triangle = static_cast<std::uint32_t>(i);
            bool isUsable = true;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const std::uint32_t vertex = triangles[3 * i + corner];
                face.vertices[corner] = vertex;
                face.unknowns[corner] = vertex < task.count ? unknowns.ofVertex[vertex] : ktFitMesh::none;
                isUsable = isUsable && face.unknowns[corner] != ktFitMesh::none;
            }
            if (!isUsable) {
                face.area = 0;
                continue;
            }
            const ktTriangleSize size = ktMeasureTriangle(mesh.positions.data(), face.unknowns);
            const auto area = static_cast<float>(size.area);
            face.area = std::isfinite(area) ? area : 0.0f;
            isSmall[i] = static_cast<float>(std::sqrt(size.longestEdge_squared)) < smallEdge;
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
    markFine(mesh, unknowns, isSmall);
    makePieces(mesh);
    for (std::uint32_t& unknown : unknowns.ofVertex)
        if (unknown != ktFitMesh::none && mesh.rowOf[unknown] == ktFitMesh::none)
            unknown = ktFitMesh::none;
    mesh.unknownOf = std::move(unknowns.ofVertex);
    return mesh;
}
