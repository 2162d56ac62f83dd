// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktNodeTransform.h"

#include <optional>
#include <vector>

/// The nodes of one scene of a document, parents before their children, children in their order. Each node is there
/// once: what would make a cycle or give a node a second parent is left out.
struct ktNodeTree {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    struct Entry {
        std::size_t node;   ///< in the document
        std::size_t parent; ///< index of an earlier entry; none for the scene's top nodes
    };

    std::optional<std::size_t>
        scene; ///< in the document; empty when it has none: then all nodes without a parent count
    std::vector<Entry> entries;
};

/// The tree of a scene: the given one, else the document's default, else its first. Throws ktFileError when the given
/// one does not exist.
ktNodeTree ktReadNodeTree(const ktGltfDocument& document, std::optional<std::size_t> scene, ktFileMessages& messages);

/// Per node of the document its transform in the scene; empty for nodes that are not in the tree.
std::vector<std::optional<ktMatrix>> ktFindNodeMatrices(const ktGltfDocument& document, const ktNodeTree& tree);

/// Gives each node of the tree a mesh of its own, by copying meshes that several nodes show. Their data stay shared.
void ktMakeMeshesUnique(ktGltfDocument& document, const ktNodeTree& tree);
