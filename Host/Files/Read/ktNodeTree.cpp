// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects the nodes of a glTF scene as a tree without cycles, and calculates their transforms to the scene.
#include "ktNodeTree.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfReferences.h"

namespace {

std::optional<std::size_t> chooseScene(const ktGltfDocument& document, std::optional<std::size_t> wanted,
                                       ktFileMessages& messages) {
    const std::size_t count = ktJsonCount(document.json, "scenes");
    if (wanted) {
        if (*wanted >= count)
            throw ktFileError(ktPointer("scenes", *wanted), "does not exist; the file has " + std::to_string(count));
        return wanted;
    }
    if (count == 0)
        return std::nullopt;
    if (!ktJsonMember(document.json, "scene"))
        return 0;
    const auto preset = ktJsonWhole(document.json, "scene");
    if (preset && *preset < count)
        return static_cast<std::size_t>(*preset);
    messages.warn("/scene", "does not exist; the first scene is taken");
    return 0;
}

std::vector<std::size_t> nodesWithoutParent(const ktJson& json) {
    const std::size_t count = ktJsonCount(json, "nodes");
    std::vector<bool> isChild(count, false);
    for (std::size_t n = 0; n < count; ++n) {
        const ktJson& node = *ktJsonElement(json, "nodes", n);
        for (std::size_t c = 0; c < ktJsonCount(node, "children"); ++c)
            if (const auto child = ktJsonAsWhole(*ktJsonElement(node, "children", c)); child && *child < count)
                isChild[static_cast<std::size_t>(*child)] = true;
    }
    std::vector<std::size_t> roots;
    for (std::size_t n = 0; n < count; ++n)
        if (!isChild[n])
            roots.push_back(n);
    return roots;
}

/// Follows the references from nodes to children. Not recursive, because chains may have any length.
class Walk {
public:
    Walk(const ktGltfDocument& document, ktNodeTree& tree_, ktFileMessages& messages_)
        : json(document.json), tree(tree_), messages(messages_), seen(ktJsonCount(json, "nodes"), false) {}

    void run(const std::vector<std::size_t>& roots, const std::string& rootList) {
        for (std::size_t r = 0; r < roots.size(); ++r) {
            push(roots[r], ktNodeTree::none, rootList);
            while (!open.empty())
                enterNext();
        }
    }

    void push(std::size_t node, std::size_t parent, const std::string& list) {
        if (node >= seen.size())
            messages.warn(list, "refers to a node that does not exist");
        else
            open.push_back({node, parent});
    }

private:
    void enterNext() {
        const ktNodeTree::Entry entry = open.back();
        open.pop_back();
        if (seen[entry.node]) {
            messages.warn(ktPointer("nodes", entry.node), "is reached a second time, as in a cycle; that is left out");
            return;
        }
        seen[entry.node] = true;
        tree.entries.push_back(entry);
        const std::size_t self = tree.entries.size() - 1;
        const ktJson& node = *ktJsonElement(json, "nodes", entry.node);
        const std::string list = ktPointer("nodes", entry.node) + "/children";
        for (std::size_t c = ktJsonCount(node, "children"); c-- > 0;) {
            const auto child = ktJsonAsWhole(*ktJsonElement(node, "children", c));
            push(child ? static_cast<std::size_t>(*child) : seen.size(), self, list);
        }
    }

    const ktJson& json;
    ktNodeTree& tree;
    ktFileMessages& messages;
    std::vector<bool> seen;
    std::vector<ktNodeTree::Entry> open;
};

} // namespace

ktNodeTree ktReadNodeTree(const ktGltfDocument& document, std::optional<std::size_t> scene, ktFileMessages& messages) {
    ktNodeTree tree;
    tree.scene = chooseScene(document, scene, messages);
    std::vector<std::size_t> roots;
    std::string list = "/nodes";
    if (tree.scene) {
        list = ktPointer("scenes", *tree.scene) + "/nodes";
        const ktJson& json = *ktJsonElement(document.json, "scenes", *tree.scene);
        for (std::size_t i = 0; i < ktJsonCount(json, "nodes"); ++i) {
            const auto node = ktJsonAsWhole(*ktJsonElement(json, "nodes", i));
            roots.push_back(node ? static_cast<std::size_t>(*node) : ktNodeTree::none);
        }
    } else {
        roots = nodesWithoutParent(document.json);
    }
    Walk(document, tree, messages).run(roots, list);
    if (ktJsonCount(document.json, "scenes") > 1)
        messages.note("The file holds " + std::to_string(ktJsonCount(document.json, "scenes")) + " scenes; number " +
                      std::to_string(*tree.scene) + " is used.");
    return tree;
}

std::vector<std::optional<ktMatrix>> ktFindNodeMatrices(const ktGltfDocument& document, const ktNodeTree& tree) {
    std::vector<std::optional<ktMatrix>> matrices(ktJsonCount(document.json, "nodes"));
    for (const ktNodeTree::Entry& entry : tree.entries) {
        bool valid = false;
        const ktMatrix own = ktReadNodeMatrix(*ktJsonElement(document.json, "nodes", entry.node), valid);
        matrices[entry.node] =
            entry.parent == ktNodeTree::none ? own : ktMultiply(*matrices[tree.entries[entry.parent].node], own);
    }
    return matrices;
}

void ktMakeMeshesUnique(ktGltfDocument& document, const ktNodeTree& tree) {
    ktParkDanglingReferences(document.json, "meshes");
    std::vector<bool> used(ktJsonCount(document.json, "meshes"), false);
    for (const ktNodeTree::Entry& entry : tree.entries) {
        ktJson& node = *ktJsonElement(document.json, "nodes", entry.node);
        const auto mesh = ktJsonWhole(node, "mesh");
        if (!mesh || *mesh >= used.size())
            continue;
        const std::size_t index = static_cast<std::size_t>(*mesh);
        if (used[index]) {
            ktJson& meshes = document.json["meshes"];
            meshes.push_back(ktJson(meshes[index]));
            node["mesh"] = meshes.size() - 1;
        }
        used[index] = true;
    }
}
