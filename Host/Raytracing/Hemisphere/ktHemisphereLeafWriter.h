// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEmbreeBvh.h"
#include "ktHemisphereStructure.h"
#include "ktTracer.h"
#include "ktTriangleNumbers.h"

#include <cstddef>
#include <vector>

/// How leaves are stored.
enum class ktHemisphereLeafKind {
    ByCount, ///< wide, of scenes of more than a million triangles as patches
    Wide,
    Patches,
};

/// A leaf of the binary tree, made ready to be written.
class ktHemisphereLeafWriter {
public:
    /// @param kind not ByCount
    ktHemisphereLeafWriter(const ktBvhLeaf& leaf, const std::vector<ktTracerMesh>& meshes,
                           const ktTriangleNumbers& numbers, ktHemisphereLeafKind kind);

    /// Cache lines that it takes.
    std::size_t lineCount() const;
    /// Writes it to lineCount() lines from `to` on.
    /// @return what a node refers to it with
    ktHemisphereRef write(ktHemisphereLine* to) const;

private:
    void add(const ktTriangleCorners& corners, std::uint32_t id);
    ktHemisphereRef writeWide(ktHemisphereLine* to) const;

    /// Triangles of which equal corners are one point.
    struct Patch {
        std::uint32_t pointCount = 0;
        float point[ktHemisphereLimits::patchPoints][3];
        ktHemispherePatch end{};
    };
    static constexpr std::uint32_t most = 2; // eight triangles without a common corner have 24 points
    Patch patch[most];
    std::uint32_t count = 1;
    ktHemisphereLeafKind kind;
};
