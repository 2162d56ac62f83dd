// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEmbreeBvh.h"
#include "ktHemisphereArray.h"
#include "ktHemisphereLeafWriter.h"
#include "ktHemisphereProgress.h"
#include "ktHemisphereStructure.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"

#include <vector>

/// Nodes of eight and leaves, and where rays start: addresses of these.
struct ktHemisphereTree {
    ktLargeArray<ktHemisphereNode> nodes;
    ktLargeArray<ktHemisphereLine> lines; ///< leaves, one after the other
    ktHemisphereRef root = 0;
    std::uint32_t levels = 0; ///< of nodes from the root to the deepest leaf
};

/// Turns a binary tree into one of nodes of eight, on all threads. Children of a node lie next to each other, and so do
/// all nodes and all leaves below a node. The result does not depend on the number of threads.
/// @param binary   not empty; gets a plan written into it
/// @param progress told shares from `firstShare` to 1; when it is stopped the result is of no use
ktHemisphereTree ktEmitHemisphere(const ktBvhTree& binary, const std::vector<ktTracerMesh>& meshes,
                                  const ktTriangleNumbers& numbers, ktHemisphereLeafKind kind,
                                  ktHemisphereProgress& progress, float firstShare);
