// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"

#include <cstdint>
#include <vector>

/// The vertices of a geometry in the order in which they are traced: neighbours in space follow each other. Vertices
/// with equal position and normal form one group, which is traced once.
struct ktVertexGroups {
    std::vector<std::uint32_t> order;    ///< vertices, group by group; ascending inside a group
    std::vector<std::uint32_t> starts;   ///< begin of each group in `order`, and the end of the last group
    std::vector<std::uint32_t> unusable; ///< vertices whose position or normal is not finite, or whose normal is zero

    std::size_t size() const { return starts.empty() ? 0 : starts.size() - 1; }
    /// The vertex that represents a group.
    std::uint32_t first(std::size_t group) const { return order[starts[group]]; }
    /// The one-ring of a group: those of all its vertices, added up.
    /// @param oneRings one element per vertex; null if unknown
    ktOneRing oneRingOf(std::size_t group, const ktOneRing* oneRings) const;
};

/// Groups `count` vertices along a space-filling curve (G. M. Morton, "A Computer Oriented Geodetic Data Base", 1966).
/// The result does not depend on the number of threads. Call on a worker thread.
/// @param positions, normals `count` times three floats, object space; 0 and -0 are equal
/// @throws ktCanceled, std::bad_alloc
ktVertexGroups ktGroupVertices(const float* positions, const float* normals, std::uint32_t count);
