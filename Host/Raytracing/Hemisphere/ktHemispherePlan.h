// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEmbreeBvh.h"
#include "ktHemisphereStructure.h"

/// A child of a node of eight: a node or leaf of the binary tree, and its box.
struct ktHemisphereChild {
    std::uintptr_t node;
    ktBvhBox box;
};

/// Chooses which nodes of a binary tree become nodes of eight and which are opened into their parents, so that the
/// surface of all nodes together, and with it the number that rays visit, is least. After "Efficient Incoherent Ray
/// Traversal on GPUs Through Compressed Wide BVHs", Henri Ylitie, Tero Karras, Samuli Laine, 2017.
class ktHemispherePlan {
public:
    /// Writes the plan into the tree. The root must not be a leaf.
    explicit ktHemispherePlan(std::uintptr_t root);

    /// Blocks of four triangles that all leaves together have.
    std::size_t blockCount() const { return blocks; }
    static std::uint32_t blockCount(const ktBvhLeaf& leaf);

    /// The two to eight children that a node of the binary tree has as a node of eight.
    /// @return their number
    static std::uint32_t children(std::uintptr_t node, ktHemisphereChild* children);

private:
    std::size_t blocks = 0;
};
