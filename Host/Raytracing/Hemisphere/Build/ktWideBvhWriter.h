// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktBuildProgress.h"
#include "ktLargeArray.h"
#include "ktLeafWriter.h"
#include "ktWideBvhLayout.h"

/// The arrays of a wide BVH. Nodes refer to addresses in them.
struct ktWideBvhArrays {
    ktLargeArray<ktWideBvhNode> nodes;
    ktLargeArray<ktCacheLine> cacheLines; ///< of the leaves, in sequence
    ktWideBvhRef root = 0;
    std::uint32_t levels = 0; ///< of nodes, from the root to the deepest leaf
};

/// Collapses a binary tree and writes the wide nodes and leaves, on all threads. Children of a node follow each other,
/// and so do all nodes and all leaves of a subtree. The result does not depend on the number of threads.
/// @param binary   not empty; ktBvhCollapse uses the memory of its nodes
/// @param progress gets shares from `startShare` to 1; if it stops the build, the result is invalid
ktWideBvhArrays ktWriteWideBvh(const ktBinaryBvh& binary, const ktLeafWriter& leafWriter, ktBuildProgress& progress,
                               float startShare);
