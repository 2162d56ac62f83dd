// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktLeafWriter.h"

#include <cstddef>

/// A child of a node of eight: a node or leaf of the binary tree, and its box.
struct ktWideBvhChild {
    std::uintptr_t node;
    ktBvhBox box;
};

/// What a subtree of the binary tree becomes.
struct ktWideBvhSize {
    std::size_t nodes = 0;      ///< of eight, its topmost one included
    std::size_t cacheLines = 0; ///< of its leaves
};

/// Chooses which nodes of a binary tree become nodes of eight and which are opened into their parents, so that the
/// surface of all nodes together, and with it the number that rays visit, is least. After "Efficient Incoherent Ray
/// Traversal on GPUs Through Compressed Wide BVHs", Henri Ylitie, Tero Karras, Samuli Laine, 2017.
class ktBvhCollapse {
public:
    /// Writes the plan into the tree, on all threads. The root must not be a leaf.
    ktBvhCollapse(std::uintptr_t root, const ktLeafWriter& writer);

    /// Levels of nodes of eight.
    std::uint32_t levels() const { return levelCount; }

    /// Of a node that becomes one of eight, once the plan is made.
    static ktWideBvhSize size(std::uintptr_t node);
    /// The two to eight children that a node of the binary tree has as a node of eight.
    /// @return their number
    static std::uint32_t children(std::uintptr_t node, ktWideBvhChild* children);

private:
    std::uint32_t levelCount = 0;
};
