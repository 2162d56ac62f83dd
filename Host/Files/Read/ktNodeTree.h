// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktNodeTransform.h"

#include <optional>
#include <vector>

/// The nodes of one scene of a document, parents before their children, children in their order. Contains each node
/// once: leaves out references that would form a cycle or give a node a second parent.
struct ktNodeTree {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    struct Entry {
        std::size_t node;   ///< in the document
        std::size_t parent; ///< index of an earlier entry; none for the scene's top nodes
    };

    std::optional<std::size_t>
        scene; ///< in the document; empty if it has none: then the top nodes are all nodes without a parent
    std::vector<Entry> entries;
};

/// The tree of a scene: the given one, else the document's default, else its first. Throws ktFileError if the given
/// one does not exist.
ktNodeTree ktReadNodeTree(const ktGltfDocument& document, std::optional<std::size_t> scene, ktFileMessages& messages);

/// For each node of the document, its transform to the scene; empty for nodes that are not in the tree.
std::vector<std::optional<ktMatrix>> ktFindNodeMatrices(const ktGltfDocument& document, const ktNodeTree& tree);

/// Copies meshes that several nodes show, so that no two nodes share a mesh. The copies share the data.
void ktMakeMeshesUnique(ktGltfDocument& document, const ktNodeTree& tree);
