// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakedFile.h"

#include <array>
#include <cstdint>
#include <random>
#include <vector>

/// Traces a baked file again in a simple way, to check the bake. Keeps every use of every mesh in world space. Traces
/// single random rays in double precision through a binary tree of boxes. Shares no code with the baker.
class ktReferenceScene {
public:
    using Vector = std::array<double, 3>;

    /// A vertex of the first use of its mesh in traversal order, with its baked result.
    struct Vertex {
        Vector position, normal; ///< world space, file units; the normal is of unit length
        double occlusion;        ///< `_AO`
    };

    explicit ktReferenceScene(const ktBakedFile& file);

    const std::vector<Vertex>& vertices() const { return vertexList; }
    std::size_t triangleCount() const { return triangles.size(); }
    /// Diagonal of the box around all triangles, in file units.
    double diagonal() const;
    /// Share of `rays` cosine-weighted random rays that hit no triangle, front or back, between the distances. The
    /// standard error is at most 0.5 / sqrt(rays).
    double openShare(const Vertex& vertex, double minDistance, double maxDistance, int rays,
                     std::mt19937_64& random) const;

private:
    struct Triangle {
        Vector corner, edge1, edge2;
        Vector centre() const;
    };
    struct Box {
        Vector lower{1e300, 1e300, 1e300}, upper{-1e300, -1e300, -1e300};
        void add(const Vector& point);
        void add(const Triangle& triangle);
        bool isMet(const Vector& origin, const Vector& inverse, double minDistance, double maxDistance) const;
    };
    /// A leaf has a count. The first child of an inner node is the next node.
    struct TreeNode {
        Box box;
        std::uint32_t first = 0, count = 0, secondChild = 0;
    };
    using Matrix = std::array<double, 16>; ///< column by column

    void addNode(const ktBakedFile& file, std::size_t node, const Matrix& parent, std::vector<bool>& isMeshMet);
    void addPrimitive(const ktBakedFile& file, const nlohmann::json& primitive, const Matrix& toWorld, bool isFirstUse);
    std::uint32_t buildTree(std::uint32_t first, std::uint32_t count);
    bool isBlocked(const Vector& origin, const Vector& direction, double minDistance, double maxDistance) const;

    std::vector<Vertex> vertexList;
    std::vector<Triangle> triangles;
    std::vector<TreeNode> tree;
};
