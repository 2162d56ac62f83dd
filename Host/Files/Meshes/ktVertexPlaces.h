// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// For each vertex, the first vertex at the same position; 0 and -0 are equal.
/// @param positions x, y, z of each vertex, finite
std::vector<std::uint32_t> ktFindVertexPlaces(const float* positions, std::size_t count);

/// Disjoint sets of the numbers from 0 to `count` - 1 (R. E. Tarjan, "Efficiency of a Good But Not Linear Set Union
/// Algorithm", 1975). The smallest member represents a set.
class ktVertexSets {
public:
    explicit ktVertexSets(std::size_t count = 0) { reset(count); }
    /// Makes `count` sets of one number each.
    void reset(std::size_t count) {
        parent.resize(count);
        for (std::size_t i = 0; i < count; ++i)
            parent[i] = static_cast<std::uint32_t>(i);
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
