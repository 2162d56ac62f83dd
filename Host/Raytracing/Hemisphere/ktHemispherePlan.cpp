// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHemispherePlan.h"

#include <algorithm>

namespace {

constexpr std::uint32_t places = ktHemisphereLimits::children;
static_assert(sizeof(ktBvhNode::cost) / sizeof(float) == places, "a cost for each number of places");

float halfArea(const ktBvhBox& box) {
    const float x = box.upper[0] - box.lower[0], y = box.upper[1] - box.lower[1], z = box.upper[2] - box.lower[2];
    return x * y + y * z + z * x;
}

// With at most `count` places in the node above. What leaves cost does not depend on the plan.
float costOf(std::uintptr_t child, std::uint32_t count) {
    return ktBvhTree::isLeaf(child) ? 0.0f : ktBvhTree::node(child).cost[std::min(count, places - 1)];
}

void plan(ktBvhNode& node, float area) {
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

// From the leaves up. Trees are at most ktBvhTree::maxDepth deep.
// @return blocks of all leaves below
std::size_t planAll(std::uintptr_t at, float area) {
    if (ktBvhTree::isLeaf(at))
        return ktHemispherePlan::blockCount(ktBvhTree::leaf(at));
    ktBvhNode& node = ktBvhTree::node(at);
    std::size_t blocks = 0;
    for (int side = 0; side < 2; ++side)
        blocks += planAll(node.child[side], halfArea(node.box[side]));
    plan(node, area);
    return blocks;
}

struct Collector {
    ktHemisphereChild* children;
    std::uint32_t count = 0;

    void open(const ktBvhNode& node, std::uint32_t places) {
        const std::uint32_t first = node.first[places];
        add(node, 0, first);
        add(node, 1, places - first);
    }
    void add(const ktBvhNode& parent, int side, std::uint32_t places) {
        const std::uintptr_t child = parent.child[side];
        if (!ktBvhTree::isLeaf(child)) {
            const ktBvhNode& node = ktBvhTree::node(child);
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

} // namespace

ktHemispherePlan::ktHemispherePlan(std::uintptr_t root) {
    blocks = planAll(root, 0.0f); // the root is there whatever happens
}

std::uint32_t ktHemispherePlan::blockCount(const ktBvhLeaf& leaf) {
    return (leaf.count + ktHemisphereLimits::blockTriangles - 1) / ktHemisphereLimits::blockTriangles;
}

std::uint32_t ktHemispherePlan::children(std::uintptr_t node, ktHemisphereChild* children) {
    Collector collector{children};
    collector.open(ktBvhTree::node(node), places);
    return collector.count;
}
