// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktWideBvhLayout.h"

#include <vector>

/// How leaves are stored.
enum class ktLeafKind {
    ByCount, ///< wide, of scenes of more than a million triangles as patches
    Unindexed,
    Patches,
};

/// Writes leaves of a binary tree of these meshes. May be used by many threads at a time.
class ktLeafWriter {
public:
    /// @param kind not ByCount
    ktLeafWriter(const std::vector<ktTracerMesh>& meshes_, const ktTriangleNumbers& numbers_, ktLeafKind kind_)
        : meshes(meshes_), numbers(numbers_), kind(kind_) {}

    /// Cache lines that a leaf takes.
    std::uint32_t cacheLineCount(const ktBinaryBvhLeaf& leaf) const;
    /// Writes a leaf to lineCount() lines from `to` on.
    /// @return what a node refers to it with
    ktWideBvhRef write(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const;

private:
    ktWideBvhRef writeUnindexed(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const;

    const std::vector<ktTracerMesh>& meshes;
    const ktTriangleNumbers& numbers;
    const ktLeafKind kind;
};
