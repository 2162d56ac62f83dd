// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBinaryBvh.h"
#include "ktLeafWriter.h"

#include <cstddef>

/// A child of a wide node: a node or leaf of the binary tree, and its box.
struct ktWideBvhChild {
    std::uintptr_t node;
    ktBvhBox box;
};

/// Size of the wide subtree that a binary subtree becomes.
struct ktWideBvhSize {
    std::size_t nodes = 0;      ///< wide nodes, its root included
    std::size_t cacheLines = 0; ///< of its leaves
};

/// Collapses a binary tree to a tree with eight children per node: chooses the nodes that become wide nodes; the others
/// are opened, that is their children take their position. The total surface area of the wide nodes is least, and so is
/// the number of nodes that rays visit. After "Efficient Incoherent Ray Traversal on GPUs Through Compressed Wide
/// BVHs", Henri Ylitie, Tero Karras, Samuli Laine, 2017.
class ktBvhCollapse {
public:
    /// Writes the choice into the binary tree, on all threads. The root must not be a leaf.
    ktBvhCollapse(std::uintptr_t root, const ktLeafWriter& writer);

    /// Levels of wide nodes.
    std::uint32_t levels() const { return levelCount; }

    /// Size of the subtree of a node that becomes a wide node.
    static ktWideBvhSize size(std::uintptr_t node);
    /// Writes the two to eight children of a node that becomes a wide node.
    /// @return their number
    static std::uint32_t children(std::uintptr_t node, ktWideBvhChild* children);

private:
    std::uint32_t levelCount = 0;
};
