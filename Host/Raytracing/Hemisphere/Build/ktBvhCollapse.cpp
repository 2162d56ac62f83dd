// SPDX-License-Identifier: LGPL-2.1-or-later
// Dynamic programming from the leaves up: the least cost of each subtree for each number of child slots.
#include "ktBvhCollapse.h"

#include "ktParallel.h"
#include "ktWideBvhLayout.h"

#include <algorithm>

namespace {

constexpr std::uint32_t width = ktWideBvhLayout::children;
static_assert(sizeof(ktBinaryBvhNode::cost) / sizeof(float) == width, "a cost for each number of child slots");

// Subtrees down to this level of the binary tree may go to other threads.
constexpr std::uint32_t sharedDepth = 12;

float halfArea(const ktBvhBox& box) {
    const float x = box.upper[0] - box.lower[0], y = box.upper[1] - box.lower[1], z = box.upper[2] - box.lower[2];
    return x * y + y * z + z * x;
}

// Cost of a subtree that may take `count` child slots of a wide node. The cost of leaves is always the same.
float costOf(std::uintptr_t child, std::uint32_t count) {
    return ktBinaryBvh::isLeaf(child) ? 0.0f : ktBinaryBvh::node(child).cost[std::min(count, width - 1)];
}

void collapseNode(ktBinaryBvhNode& node, float area) {
    float openCost[width + 1];
    for (std::uint32_t count = 2; count <= width; ++count) {
        std::uint32_t best = 1;
        for (std::uint32_t first = 1; first < count; ++first) {
            const float cost = costOf(node.child[0], first) + costOf(node.child[1], count - first);
            if (first == 1 || cost < openCost[count]) {
                openCost[count] = cost;
                best = first;
            }
        }
        node.leftSlots[count] = static_cast<std::uint8_t>(best);
    }
    node.cost[0] = 0; // unused: every child takes a slot
    node.cost[1] = area + openCost[width];
    for (std::uint32_t count = 2; count < width; ++count) {
        const bool opens = openCost[count] <= node.cost[count - 1];
        node.cost[count] = opens ? openCost[count] : node.cost[count - 1];
        if (!opens)
            node.leftSlots[count] = 0;
    }
}

// From the leaves up. Trees have at most ktBinaryBvh::maxDepth levels.
void collapseSubtree(std::uintptr_t at, float area, std::uint32_t depth) {
    if (ktBinaryBvh::isLeaf(at))
        return;
    ktBinaryBvhNode& node = ktBinaryBvh::node(at);
    const auto collapseSide = [&](std::size_t side) {
        collapseSubtree(node.child[side], halfArea(node.box[side]), depth + 1);
    };
    if (depth < sharedDepth) {
        ktParallel::forEach(2, collapseSide);
    } else {
        collapseSide(0);
        collapseSide(1);
    }
    collapseNode(node, area);
}

struct ChildCollector {
    ktWideBvhChild* children;
    std::uint32_t count = 0;

    void open(const ktBinaryBvhNode& node, std::uint32_t slots) {
        const std::uint32_t first = node.leftSlots[slots];
        add(node, 0, first);
        add(node, 1, slots - first);
    }
    void add(const ktBinaryBvhNode& parent, int side, std::uint32_t slots) {
        const std::uintptr_t child = parent.child[side];
        if (!ktBinaryBvh::isLeaf(child)) {
            const ktBinaryBvhNode& node = ktBinaryBvh::node(child);
            slots = std::min(slots, width - 1);
            while (slots > 1 && !node.leftSlots[slots])
                --slots;
            if (slots > 1) {
                open(node, slots);
                return;
            }
        }
        children[count++] = {child, parent.box[side]};
    }
};

/// Counts the size of the subtree of each wide node, in the memory that held the costs.
struct SubtreeCounter {
    const ktLeafWriter& writer;

    // @return levels of wide nodes
    std::uint32_t operator()(std::uintptr_t at, std::uint32_t depth) const {
        ktWideBvhChild child[width];
        const std::uint32_t count = ktBvhCollapse::children(at, child);
        std::uint32_t levels[width];
        const auto countChild = [&](std::size_t i) {
            levels[i] = 0;
            if (!ktBinaryBvh::isLeaf(child[i].node)) {
                levels[i] = (*this)(child[i].node, depth + 1);
                return;
            }
            ktBinaryBvhLeaf& leaf = ktBinaryBvh::leaf(child[i].node);
            leaf.cacheLines = writer.cacheLineCount(leaf);
        };
        if (depth < sharedDepth / 3) // one wide level is three binary levels
            ktParallel::forEach(count, countChild);
        else
            for (std::uint32_t i = 0; i < count; ++i)
                countChild(i);

        ktWideBvhSize sum{1, 0};
        for (std::uint32_t i = 0; i < count; ++i) {
            if (ktBinaryBvh::isLeaf(child[i].node)) {
                sum.cacheLines += ktBinaryBvh::leaf(child[i].node).cacheLines;
            } else {
                const ktWideBvhSize size = ktBvhCollapse::size(child[i].node);
                sum.nodes += size.nodes;
                sum.cacheLines += size.cacheLines;
            }
        }
        std::size_t* const size = ktBinaryBvh::node(at).size;
        size[0] = sum.nodes;
        size[1] = sum.cacheLines;
        return 1 + *std::max_element(levels, levels + count);
    }
};

} // namespace

ktBvhCollapse::ktBvhCollapse(std::uintptr_t root, const ktLeafWriter& writer) {
    collapseSubtree(root, 0.0f, 0); // the root always becomes a wide node
    levelCount = SubtreeCounter{writer}(root, 0);
}

ktWideBvhSize ktBvhCollapse::size(std::uintptr_t node) {
    const std::size_t* const size = ktBinaryBvh::node(node).size;
    return {size[0], size[1]};
}

std::uint32_t ktBvhCollapse::children(std::uintptr_t node, ktWideBvhChild* children) {
    ChildCollector collector{children};
    collector.open(ktBinaryBvh::node(node), width);
    return collector.count;
}
