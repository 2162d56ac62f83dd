// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBvhCollapse.h"

#include "ktParallel.h"
#include "ktWideBvhLayout.h"

#include <algorithm>

namespace {

constexpr std::uint32_t places = ktWideBvhLayout::children;
static_assert(sizeof(ktBinaryBvhNode::cost) / sizeof(float) == places, "a cost for each number of places");

// Branches down to this level of the binary tree are left to other threads.
constexpr std::uint32_t sharedDepth = 12;

float halfArea(const ktBvhBox& box) {
    const float x = box.upper[0] - box.lower[0], y = box.upper[1] - box.lower[1], z = box.upper[2] - box.lower[2];
    return x * y + y * z + z * x;
}

// With at most `count` places in the node above. What leaves cost does not depend on the plan.
float costOf(std::uintptr_t child, std::uint32_t count) {
    return ktBinaryBvh::isLeaf(child) ? 0.0f : ktBinaryBvh::node(child).cost[std::min(count, places - 1)];
}

void plan(ktBinaryBvhNode& node, float area) {
    float open[places + 1];
    for (std::uint32_t count = 2; count <= places; ++count) {
        std::uint32_t best = 1;
        for (std::uint32_t first = 1; first < count; ++first) {
            const float cost = costOf(node.child[0], first) + costOf(node.child[1], count - first);
            if (first == 1 || cost < open[count]) {
                open[count] = cost;
                best = first;
            }
        }
        node.first[count] = static_cast<std::uint8_t>(best);
    }
    node.cost[0] = 0; // not used: every child has a place
    node.cost[1] = area + open[places];
    for (std::uint32_t count = 2; count < places; ++count) {
        const bool opened = open[count] <= node.cost[count - 1];
        node.cost[count] = opened ? open[count] : node.cost[count - 1];
        if (!opened)
            node.first[count] = 0;
    }
}

// From the leaves up. Trees are at most ktBinaryBvh::maxDepth deep.
void planAll(std::uintptr_t at, float area, std::uint32_t depth) {
    if (ktBinaryBvh::isLeaf(at))
        return;
    ktBinaryBvhNode& node = ktBinaryBvh::node(at);
    const auto planSide = [&](std::size_t side) { planAll(node.child[side], halfArea(node.box[side]), depth + 1); };
    if (depth < sharedDepth) {
        ktParallel::forEach(2, planSide);
    } else {
        planSide(0);
        planSide(1);
    }
    plan(node, area);
}

struct Collector {
    ktWideBvhChild* children;
    std::uint32_t count = 0;

    void open(const ktBinaryBvhNode& node, std::uint32_t places) {
        const std::uint32_t first = node.first[places];
        add(node, 0, first);
        add(node, 1, most - first);
    }
    void add(const ktBinaryBvhNode& parent, int side, std::uint32_t places) {
        const std::uintptr_t child = parent.child[side];
        if (!ktBinaryBvh::isLeaf(child)) {
            const ktBinaryBvhNode& node = ktBinaryBvh::node(child);
            places = std::min(places, ::places - 1);
            while (places > 1 && !node.first[places])
                --places;
            if (places > 1) {
                open(node, places);
                return;
            }
        }
        children[count++] = {child, parent.box[side]};
    }
};

/// Counts what becomes of nodes that are nodes of eight, once their costs are of no use any more.
struct Measure {
    const ktLeafWriter& writer;

    // @return levels
    std::uint32_t operator()(std::uintptr_t at, std::uint32_t depth) const {
        ktWideBvhChild child[places];
        const std::uint32_t count = ktBvhCollapse::children(at, child);
        std::uint32_t levels[places];
        const auto measureChild = [&](std::size_t i) {
            levels[i] = 0;
            if (!ktBinaryBvh::isLeaf(child[i].node)) {
                levels[i] = (*this)(child[i].node, depth + 1);
                return;
            }
            ktBinaryBvhLeaf& leaf = ktBinaryBvh::leaf(child[i].node);
            leaf.lines = writer.lineCount(leaf);
        };
        if (depth < sharedDepth / 3) // eight children are three levels of two
            ktParallel::forEach(count, measureChild);
        else
            for (std::uint32_t i = 0; i < count; ++i)
                measureChild(i);

        ktWideBvhSize sum{1, 0};
        for (std::uint32_t i = 0; i < count; ++i) {
            if (ktBinaryBvh::isLeaf(child[i].node)) {
                sum.lines += ktBinaryBvh::leaf(child[i].node).lines;
            } else {
                const ktWideBvhSize size = ktBvhCollapse::size(child[i].node);
                sum.nodes += size.nodes;
                sum.lines += size.lines;
            }
        }
        std::size_t* const size = ktBinaryBvh::node(at).size;
        size[0] = sum.nodes;
        size[1] = sum.lines;
        return 1 + *std::max_element(levels, levels + count);
    }
};

} // namespace

ktBvhCollapse::ktBvhCollapse(std::uintptr_t root, const ktLeafWriter& writer) {
    planAll(root, 0.0f, 0); // the root is there whatever happens
    levelCount = Measure{writer}(root, 0);
}

ktWideBvhSize ktBvhCollapse::size(std::uintptr_t node) {
    const std::size_t* const size = ktBinaryBvh::node(node).size;
    return {size[0], size[1]};
}

std::uint32_t ktBvhCollapse::children(std::uintptr_t node, ktWideBvhChild* children) {
    Collector collector{children};
    collector.open(ktBinaryBvh::node(node), places);
    return collector.count;
}
