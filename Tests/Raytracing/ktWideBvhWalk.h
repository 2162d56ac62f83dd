// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWideBvh.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

/// An unindexed leaf or one patch of a leaf, read from a wide BVH.
struct ktStoredTriangles {
    using Limits = ktWideBvhLayout;

    const ktCacheLine* line;
    std::size_t cacheLineCount;
    std::uint32_t pointCount = 0; ///< of a patch
    std::uint32_t nextPointCount = 0;
    std::vector<std::uint32_t> ids;
    std::vector<std::array<float, 9>> corners; ///< of each triangle: a, b, c
    bool restIsFlat = true;                    ///< lanes without a triangle hold a triangle without area

    explicit ktStoredTriangles(const ktCacheLine* begin) : line(begin), cacheLineCount(5) {
        ktUnindexedLeaf leaf;
        std::memcpy(&leaf, line, sizeof leaf);
        for (std::uint32_t i = 0; i < Limits::leafTriangles; ++i)
            add(leaf.id[i], [&](std::uint32_t c, std::uint32_t axis) { return leaf.corner[c][axis][i]; });
    }

    ktStoredTriangles(const ktCacheLine* begin, std::uint32_t points)
        : line(begin), cacheLineCount((12 * points + sizeof(ktPatchFooter) + 63) / 64), pointCount(points) {
        ktPatchFooter end;
        std::memcpy(&end, line->byte + std::size_t(12) * points, sizeof end);
        nextPointCount = end.nextPointCount;
        for (std::uint32_t i = 0; i < Limits::leafTriangles; ++i)
            add(end.id[i], [&](std::uint32_t c, std::uint32_t axis) {
                float value = 0;
                std::memcpy(&value, line->byte + sizeof value * (std::size_t(axis) * points + end.corner[c][i]),
                            sizeof value);
                return value;
            });
        restIsFlat = restIsFlat && ids.size() == end.count;
    }

private:
    template <class Corner>
    void add(std::uint32_t id, const Corner& corner) {
        std::array<float, 9> triangle;
        for (std::uint32_t c = 0; c < 3; ++c)
            for (std::uint32_t axis = 0; axis < 3; ++axis)
                triangle[3 * c + axis] = corner(c, axis);
        if (std::memcmp(&triangle[0], &triangle[3], 12) == 0) { // never stored, so the lane is empty
            restIsFlat = restIsFlat && std::memcmp(&triangle[3], &triangle[6], 12) == 0;
            return;
        }
        ids.push_back(id);
        corners.push_back(triangle);
    }
};

/// All nodes and leaves of a wide BVH.
struct ktWideBvhWalk {
    using Limits = ktWideBvhLayout;

    std::vector<const ktWideBvhNode*> nodes; // depth first
    std::vector<ktStoredTriangles> leaves;   // likewise
    std::vector<std::uint32_t> ids;          // ascending

    explicit ktWideBvhWalk(const ktWideBvh& bvh) {
        if (bvh.rootRef())
            visit(bvh.rootRef());
        std::sort(ids.begin(), ids.end());
    }

    const ktCacheLine* firstLine() const {
        const ktCacheLine* first = leaves.at(0).line;
        for (const ktStoredTriangles& leaf : leaves)
            first = std::min(first, leaf.line);
        return first;
    }

private:
    void visit(ktWideBvhRef ref) {
        const auto address = static_cast<std::uintptr_t>(ref & Limits::addressMask);
        if (!(ref & Limits::leafFlag)) {
            const auto* node = reinterpret_cast<const ktWideBvhNode*>(address);
            nodes.push_back(node);
            for (const ktWideBvhRef child : node->child)
                if (child)
                    visit(child);
            return;
        }
        const auto* line = reinterpret_cast<const ktCacheLine*>(address);
        if (ref & Limits::unindexedFlag) {
            leaves.emplace_back(line);
            ids.insert(ids.end(), leaves.back().ids.begin(), leaves.back().ids.end());
            return;
        }
        std::uint32_t points = (static_cast<std::uint32_t>(ref) >> Limits::pointShift & 15) + 1;
        for (; points; points = leaves.back().nextPointCount) {
            leaves.emplace_back(line, points);
            line += leaves.back().cacheLineCount;
            ids.insert(ids.end(), leaves.back().ids.begin(), leaves.back().ids.end());
        }
    }
};
