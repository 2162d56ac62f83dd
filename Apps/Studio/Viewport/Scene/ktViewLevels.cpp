// SPDX-License-Identifier: LGPL-2.1-or-later
// Simplifies a geometry by clusters of vertices, for pictures while the camera moves.
#include "ktViewLevels.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t fewTriangles = 48;
constexpr double leastReduction = 0.6;
constexpr std::uint32_t unused = 0xFFFFFFFFu;

/// Replaces each vertex of the triangles by the one that represents its cell, and removes triangles that collapse.
class Clusters {
public:
    Clusters(const std::vector<float>& positions_, const ktViewCamera::Box& bounds_)
        : positions(positions_), bounds(bounds_), representatives(positions_.size() / 3, unused) {}

    std::vector<std::uint32_t> simplify(const std::vector<std::uint32_t>& triangles, double cellSize) {
        collect(triangles, cellSize);
        represent();
        std::vector<std::uint32_t> result;
        for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
            const std::uint32_t a = representatives[triangles[i]], b = representatives[triangles[i + 1]],
                                c = representatives[triangles[i + 2]];
            if (a != b && b != c && c != a)
                result.insert(result.end(), {a, b, c});
        }
        for (const Member& member : members)
            representatives[member.vertex] = unused;
        return result;
    }

private:
    struct Member {
        std::uint64_t cell;
        std::uint32_t vertex;
        bool operator<(const Member& other) const {
            return cell != other.cell ? cell < other.cell : vertex < other.vertex;
        }
    };

    const std::vector<float>& positions;
    const ktViewCamera::Box& bounds;
    std::vector<std::uint32_t> representatives; // per vertex; unused between calls
    std::vector<Member> members;

    const float* position(std::uint32_t vertex) const { return &positions[3 * static_cast<std::size_t>(vertex)]; }

    void collect(const std::vector<std::uint32_t>& triangles, double cellSize) {
        members.clear();
        for (const std::uint32_t vertex : triangles) {
            if (representatives[vertex] != unused)
                continue;
            representatives[vertex] = vertex;
            std::uint64_t cell = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double place = (position(vertex)[axis] - bounds.low[axis]) / cellSize;
                cell = cell << 20 | static_cast<std::uint64_t>(std::clamp(place, 0.0, 1048575.0));
            }
            members.push_back({cell, vertex});
        }
        std::sort(members.begin(), members.end());
    }

    void represent() {
        for (std::size_t begin = 0, end = 0; begin < members.size(); begin = end) {
            double mean[3] = {0, 0, 0};
            for (end = begin; end < members.size() && members[end].cell == members[begin].cell; ++end)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    mean[axis] += position(members[end].vertex)[axis];
            std::uint32_t nearest = members[begin].vertex;
            double least = 1e300;
            for (std::size_t i = begin; i < end; ++i) {
                double square = 0;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    square +=
                        std::pow(position(members[i].vertex)[axis] - mean[axis] / static_cast<double>(end - begin), 2);
                if (square < least)
                    least = square, nearest = members[i].vertex;
            }
            for (std::size_t i = begin; i < end; ++i)
                representatives[members[i].vertex] = nearest;
        }
    }
};

/// The vertex of each cell of a grid that came first.
class FirstVertices {
public:
    std::uint32_t of(std::uint64_t cell, std::uint32_t vertex) {
        if (2 * count >= slots.size())
            grow();
        Slot& slot = find(cell);
        if (slot.vertex == unused) {
            slot = {cell, vertex};
            ++count;
        }
        return slot.vertex;
    }

private:
    struct Slot {
        std::uint64_t cell = 0;
        std::uint32_t vertex = unused;
    };
    std::vector<Slot> slots = std::vector<Slot>(256);
    std::size_t count = 0;

    Slot& find(std::uint64_t cell) {
        std::size_t place = static_cast<std::size_t>((cell * 0x9E3779B97F4A7C15u) >> 32) & (slots.size() - 1);
        while (slots[place].vertex != unused && slots[place].cell != cell)
            place = (place + 1) & (slots.size() - 1);
        return slots[place];
    }

    void grow() {
        std::vector<Slot> old(4 * slots.size());
        old.swap(slots);
        for (const Slot& slot : old)
            if (slot.vertex != unused)
                find(slot.cell) = slot;
    }
};

} // namespace

ktViewLevel ktMakeQuickLevel(const std::vector<float>& positions, const std::vector<std::uint32_t>& triangles,
                             const ktViewCamera::Box& bounds, double cellSize) {
    ktViewLevel level;
    level.cellSize = cellSize;
    if (triangles.size() / 3 < fewTriangles || !(cellSize > 0))
        return level;
    const double perCell = 1 / cellSize;
    FirstVertices vertices;
    std::vector<std::uint32_t> representatives(positions.size() / 3, unused);
    const auto represent = [&](std::uint32_t vertex) {
        std::uint32_t& representative = representatives[vertex];
        if (representative != unused)
            return representative;
        std::uint64_t cell = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double place =
                (static_cast<double>(positions[3 * static_cast<std::size_t>(vertex) + axis]) - bounds.low[axis]) *
                perCell;
            cell = cell << 20 | static_cast<std::uint64_t>(std::clamp(place, 0.0, 1048575.0));
        }
        return representative = vertices.of(cell, vertex);
    };
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const std::uint32_t a = represent(triangles[i]), b = represent(triangles[i + 1]),
                            c = represent(triangles[i + 2]);
        if (a != b && b != c && c != a)
            level.triangles.insert(level.triangles.end(), {a, b, c});
    }
    if (static_cast<double>(level.triangles.size()) > leastReduction * static_cast<double>(triangles.size()))
        level.triangles.clear();
    return level;
}

std::vector<ktViewLevel> ktMakeViewLevels(const std::vector<float>& positions,
                                          const std::vector<std::uint32_t>& triangles,
                                          const ktViewCamera::Box& bounds) {
    std::vector<ktViewLevel> levels;
    const double diagonal = bounds.diagonal();
    if (triangles.size() / 3 < fewTriangles || !(diagonal > 0))
        return levels;
    Clusters clusters(positions, bounds);
    std::size_t cells = 1; // along the diagonal
    while (cells * cells < triangles.size() / 6 && cells < 512)
        cells *= 2;
    for (const std::vector<std::uint32_t>* finer = &triangles; cells >= 2; cells /= 2) {
        ktViewLevel level;
        level.cellSize = diagonal / static_cast<double>(cells);
        level.triangles = clusters.simplify(*finer, level.cellSize);
        if (level.triangles.empty())
            break;
        if (static_cast<double>(level.triangles.size()) > leastReduction * static_cast<double>(finer->size()))
            continue;
        const bool isCoarsest = level.triangles.size() / 3 < fewTriangles / 2;
        levels.push_back(std::move(level));
        finer = &levels.back().triangles;
        if (isCoarsest)
            break;
    }
    return levels;
}
