// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBuildProgress.h"

#include <cstdint>

/// Makes a binary tree cheaper to trace: takes nodes and leaves out, those with the largest surface first, and puts
/// each back where the surface of all inner nodes together is least. Moves between places in the tree only; leaves stay
/// as they are, and the tree's root stays the root. Afterwards each box is exactly the union of the boxes below it,
/// their surface together is no larger than before, and the tree has at most ktBinaryBvh::maxDepth levels, leaves
/// counted. Takes a bounded number of steps, which do not depend on the number of threads, nor does the result. After
/// "Fast Insertion-Based Optimization of Bounding Volume Hierarchies", Jiri Bittner, Michal Hapala, Vlastimil Havran,
/// 2013, and "Parallel Reinsertion for Bounding Volume Hierarchy Optimization", Daniel Meister, Jiri Bittner, 2018.
/// @param root     node or leaf of a ktBinaryBvh of at most ktBinaryBvh::maxDepth levels; before it is planned, as it
/// uses the
///                 same room
/// @param progress told `share` now and then; when it is stopped the tree is of no use
void ktReinsertNodes(std::uintptr_t root, ktBuildProgress& progress, float share);
