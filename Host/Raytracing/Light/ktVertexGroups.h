// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"

#include <cstdint>
#include <vector>

/// The vertices of a geometry in the order in which they are traced: neighbours in space follow each other, and
/// vertices with equal position and normal form one group that is traced once.
struct ktVertexGroups {
    std::vector<std::uint32_t> order;    ///< vertices, group after group; inside a group in ascending order
    std::vector<std::uint32_t> starts;   ///< where each group begins in `order`; one more entry than there are groups
    std::vector<std::uint32_t> unusable; ///< vertices whose position or normal is not finite, or whose normal is zero

    std::size_t size() const { return starts.empty() ? 0 : starts.size() - 1; }
    /// The vertex that stands for a group.
    std::uint32_t first(std::size_t group) const { return order[starts[group]]; }
    /// Where the surface around a group lies: around all its vertices together.
    /// @param oneRings one element a vertex; null when that is not known
    ktOneRing oneRingOf(std::size_t group, const ktOneRing* oneRings) const;
};

/// Groups `count` vertices along a space-filling curve (G. M. Morton, "A Computer Oriented Geodetic Data Base", 1966).
/// The result does not depend on the number of threads. To be called on a worker thread.
/// @param positions, normals `count` times three floats, object space; positive and negative zero are equal
/// @throws ktCanceled, std::bad_alloc
ktVertexGroups ktGroupVertices(const float* positions, const float* normals, std::uint32_t count);
