// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktBuildProgress.h"
#include "ktLargeArray.h"
#include "ktLeafWriter.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktWideBvhLayout.h"

#include <vector>

/// Nodes of eight and leaves, and where rays start: addresses of these.
struct ktWideBvhArrays {
    ktLargeArray<ktWideBvhNode> nodes;
    ktLargeArray<ktCacheLine> cacheLines; ///< leaves, one after the other
    ktWideBvhRef root = 0;
    std::uint32_t levels = 0; ///< of nodes from the root to the deepest leaf
};

/// Turns a binary tree into one of nodes of eight, on all threads. Children of a node lie next to each other, and so do
/// all nodes and all leaves below a node. The result does not depend on the number of threads.
/// @param binary   not empty; gets a plan written into it
/// @param progress told shares from `firstShare` to 1; when it is stopped the result is of no use
ktWideBvhArrays ktWriteWideBvh(const ktBinaryBvh& binary, const std::vector<ktTracerMesh>& meshes,
                               const ktTriangleNumbers& numbers, ktLeafKind kind, ktBuildProgress& progress,
                               float startShare);
