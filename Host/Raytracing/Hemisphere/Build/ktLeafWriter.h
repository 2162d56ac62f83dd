// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktWideBvhLayout.h"

#include <vector>

/// How leaves are stored; see ktWideBvhLayout.h.
enum class ktLeafKind {
    ByCount, ///< Unindexed up to a million triangles, Patches above
    Unindexed,
    Patches,
};

/// Writes the leaves of a binary tree to memory. Thread-safe.
class ktLeafWriter {
public:
    /// @param kind not ByCount
    ktLeafWriter(const std::vector<ktTracerMesh>& meshes_, const ktTriangleNumbers& numbers_, ktLeafKind kind_)
        : meshes(meshes_), numbers(numbers_), kind(kind_) {}

    /// Cache lines that a leaf takes.
    std::uint32_t cacheLineCount(const ktBinaryBvhLeaf& leaf) const;
    /// Writes a leaf to the cacheLineCount() cache lines at `to`.
    /// @return reference for the parent node
    ktWideBvhRef write(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const;

private:
    ktWideBvhRef writeUnindexed(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const;

    const std::vector<ktTracerMesh>& meshes;
    const ktTriangleNumbers& numbers;
    const ktLeafKind kind;
};
