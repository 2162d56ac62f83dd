// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktBuildProgress.h"
#include "ktLargeArray.h"
#include "ktTwoLevelLayout.h"
#include "ktWideBvhWriter.h"

#include <cstddef>
#include <vector>

/// A subtree that the upper level of a two-level BVH refers to: of an instance, or of the triangles in world space.
struct ktSubtree {
    ktWideBvhRef ref; ///< place in the memory of the two-level BVH, and instance
    ktBvhBox box;     ///< world space
};

/// The box in world space around all triangles below a subtree. @param levels of nodes below it that are looked at
ktBvhBox ktWorldBox(const ktBvhView& view, ktWideBvhRef ref, const ktBvhBox& objectBox, int levels);

/// Replaces subtrees by those of their children, the largest first: where instances overlap, rays then visit less of
/// them. Ends with about `targetCount` subtrees. After "Improved Two-Level BVHs using Partial Re-Braiding", Carsten
/// Benthin, Sven Woop, Ingo Wald, Attila Afra, 2017. The result does not depend on the number of threads.
void ktOpenSubtrees(const ktBvhView& view, std::size_t targetCount, std::vector<ktSubtree>& subtrees);

/// Builds the tree over subtrees.
/// @param maxLevels at least 32; if the tree gets deeper, the subtrees are split at the median
/// @return its nodes; the references between them are addresses. A reference to subtree i is ktTopLevelLeaf | i << 6
ktWideBvhArrays ktBuildTopLevel(const std::vector<ktSubtree>& subtrees, std::uint32_t maxLevels,
                                ktBuildProgress& progress);

/// Marks references to subtrees; addresses do not have this bit.
constexpr ktWideBvhRef ktTopLevelLeaf = ktWideBvhRef(1) << 63;
