// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBuildProgress.h"

#include <cstdint>

/// Improves a binary tree: removes nodes and leaves, those of largest surface area first, and inserts each where the
/// total surface area of all inner nodes is least. ktBvhReinsertion.cpp draws one step. The root and the contents of
/// the leaves stay. Afterwards each box is exactly the union of the boxes below it, the total surface area is not
/// larger than before, and the tree has at most ktBinaryBvh::maxDepth levels, leaves included. The number of steps is
/// bounded. It does not depend on the number of threads, nor does the result. After "Fast Insertion-Based Optimization
/// of Bounding Volume Hierarchies", Jiri Bittner, Michal Hapala, Vlastimil Havran, 2013, and "Parallel Reinsertion for
/// Bounding Volume Hierarchy Optimization", Daniel Meister, Jiri Bittner, 2018.
/// @param root     node or leaf of a ktBinaryBvh of at most ktBinaryBvh::maxDepth levels; call this before
///                 ktBvhCollapse, which uses the same memory of the nodes
/// @param progress gets `share` now and then; if it stops the build, the tree is invalid
void ktReinsertNodes(std::uintptr_t root, ktBuildProgress& progress, float share);
