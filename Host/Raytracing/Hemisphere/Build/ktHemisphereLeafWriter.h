// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEmbreeBvh.h"
#include "ktHemisphereStructure.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"

#include <vector>

/// How leaves are stored.
enum class ktHemisphereLeafKind {
    ByCount, ///< wide, of scenes of more than a million triangles as patches
    Wide,
    Patches,
};

/// Writes leaves of a binary tree of these meshes. May be used by many threads at a time.
class ktHemisphereLeafWriter {
public:
    /// @param kind not ByCount
    ktHemisphereLeafWriter(const std::vector<ktTracerMesh>& meshes_, const ktTriangleNumbers& numbers_,
                           ktHemisphereLeafKind kind_)
        : meshes(meshes_), numbers(numbers_), kind(kind_) {}

    /// Cache lines that a leaf takes.
    std::uint32_t lineCount(const ktBvhLeaf& leaf) const;
    /// Writes a leaf to lineCount() lines from `to` on.
    /// @return what a node refers to it with
    ktHemisphereRef write(const ktBvhLeaf& leaf, ktHemisphereLine* to) const;

private:
    ktHemisphereRef writeWide(const ktBvhLeaf& leaf, ktHemisphereLine* to) const;

    const std::vector<ktTracerMesh>& meshes;
    const ktTriangleNumbers& numbers;
    const ktHemisphereLeafKind kind;
};
