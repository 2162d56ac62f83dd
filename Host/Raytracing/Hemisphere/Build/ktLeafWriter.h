// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"
#include "ktWideBvhLayout.h"

#include <cstdint>
#include <vector>

/// How leaves are stored; see ktWideBvhLayout.h.
enum class ktLeafKind {
    ByCount, ///< Unindexed up to a million triangles, Patches above
    Unindexed,
    Patches,
};

/// What ByCount means for a scene of so many triangles.
ktLeafKind ktLeafKindFor(std::uint64_t triangles);

/// Writes the leaves of a binary tree to memory. Thread-safe.
class ktLeafWriter {
public:
    virtual ~ktLeafWriter() = default;
    /// Cache lines that a leaf takes.
    virtual std::uint32_t cacheLineCount(const ktBinaryBvhLeaf& leaf) const = 0;
    /// Writes a leaf to the cacheLineCount() cache lines at `to`.
    /// @return reference for the parent node
    virtual ktWideBvhRef write(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const = 0;
};

/// Writes leaves of triangles.
class ktTriangleLeafWriter : public ktLeafWriter {
public:
    /// @param idOffsets per mesh: added to the ids of its triangles when they are written; empty: nothing is added
    ktTriangleLeafWriter(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers, ktLeafKind kind,
                         std::vector<std::uint32_t> idOffsets = {});

    std::uint32_t cacheLineCount(const ktBinaryBvhLeaf& leaf) const override;
    ktWideBvhRef write(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const override;

private:
    std::uint32_t idOf(std::uint32_t triangle) const {
        return idOffsets.empty() ? triangle : triangle + idOffsets[numbers.meshOf(triangle)];
    }
    ktWideBvhRef writeUnindexed(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const;

    const std::vector<ktTracerMesh>& meshes;
    const ktTriangleNumbers& numbers;
    const ktLeafKind kind; // not ByCount
    const std::vector<std::uint32_t> idOffsets;
};
