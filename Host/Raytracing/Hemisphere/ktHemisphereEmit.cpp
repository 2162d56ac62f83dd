// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHemisphereEmit.h"

#include "ktHemispherePlan.h"
#include "ktParallel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

namespace {

using Limits = ktHemisphereLimits;

// A subtree with so many blocks is worth several threads; some milliseconds of one.
constexpr std::size_t manyBlocks = 4096;

// A few units in the last place of the farthest coordinate, so that a ray along a box's face does not slip by.
ktBvhBox widened(const ktBvhBox& box) {
    float farthest = 0;
    for (int axis = 0; axis < 3; ++axis)
        farthest = std::max({farthest, std::fabs(box.lower[axis]), std::fabs(box.upper[axis])});
    const float margin = farthest * 2.5e-7f;
    ktBvhBox wide;
    for (int axis = 0; axis < 3; ++axis) {
        wide.lower[axis] = box.lower[axis] - margin;
        wide.upper[axis] = box.upper[axis] + margin;
    }
    return wide;
}

void clear(ktHemisphereNode& node) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    std::fill(&node.lower[0][0], &node.lower[0][0] + 3 * Limits::children, none);
    std::fill(&node.upper[0][0], &node.upper[0][0] + 3 * Limits::children, none);
    std::fill(node.child, node.child + Limits::children, ktHemisphereRef(0));
}

/// Where a node of eight and what is below it go.
struct Place {
    std::uintptr_t node;               ///< of the binary tree
    std::size_t index;                 ///< its own, among the nodes
    std::size_t firstNode, firstBlock; ///< below it
};

class Emitter {
public:
    Emitter(ktHemisphereTree& tree, const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers,
            ktHemisphereProgress& progress, float firstShare)
        : tree(tree), meshes(meshes), numbers(numbers), progress(progress), firstShare(firstShare) {}

    ktHemisphereRef emitLeaf(ktBvhLeaf leaf, std::size_t firstBlock) {
        std::sort(leaf.ids, leaf.ids + leaf.count); // the builder's order depends on its threads
        const std::uint32_t count = ktHemispherePlan::blockCount(leaf);
        for (std::uint32_t i = 0; i < count; ++i) {
            ktHemisphereBlock block{};
            const std::uint32_t start = i * Limits::blockTriangles;
            for (std::uint32_t lane = 0; lane < Limits::blockTriangles && start + lane < leaf.count; ++lane) {
                const std::uint32_t id = leaf.ids[start + lane];
                const ktTriangleCorners corner(meshes, numbers, id);
                for (int c = 0; c < 3; ++c)
                    for (int axis = 0; axis < 3; ++axis)
                        block.corner[c][axis][lane] = corner.p[c][axis];
                block.id[lane] = id;
            }
            tree.blocks[firstBlock + i] = block;
        }
        return address(&tree.blocks[firstBlock]) | ktHemisphereRef(count - 1) << Limits::leafCountShift |
               Limits::leafFlag;
    }

    void emit(const Place& place) {
        ktHemisphereChild child[Limits::children];
        const std::uint32_t count = ktHemispherePlan::children(place.node, child);
        Place inner[Limits::children];
        std::uint32_t innerCount = 0;
        std::size_t nextNode = place.firstNode, nextBlock = place.firstBlock;

        ktHemisphereNode node;
        clear(node);
        for (std::uint32_t i = 0; i < count; ++i) {
            const ktBvhBox box = widened(child[i].box);
            for (int axis = 0; axis < 3; ++axis) {
                node.lower[axis][i] = box.lower[axis];
                node.upper[axis][i] = box.upper[axis];
            }
            if (ktBvhTree::isLeaf(child[i].node)) {
                const ktBvhLeaf& leaf = ktBvhTree::leaf(child[i].node);
                node.child[i] = emitLeaf(leaf, nextBlock);
                nextBlock += ktHemispherePlan::blockCount(leaf);
            } else {
                node.child[i] = address(&tree.nodes[nextNode]);
                inner[innerCount++] = {child[i].node, nextNode++, 0, 0};
            }
        }
        tree.nodes[place.index] = node;

        for (std::uint32_t i = innerCount; i-- > 0;) {
            inner[i].firstNode = nextNode;
            inner[i].firstBlock = nextBlock;
            const ktHemisphereSize size = ktHemispherePlan::size(inner[i].node);
            nextNode += size.nodes - 1;
            nextBlock += size.blocks;
        }
        if (nextBlock - place.firstBlock < manyBlocks)
            for (std::uint32_t i = innerCount; i-- > 0;)
                emit(inner[i]);
        else
            ktParallel::forEach(innerCount, [&](std::size_t i) { emitBranch(inner[i]); });
    }

private:
    static ktHemisphereRef address(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

    // Of a node that has many blocks below it; its branches may have few.
    void emitBranch(const Place& place) {
        const float share = static_cast<float>(done) / static_cast<float>(tree.blocks.size());
        if (!progress.goOn(firstShare + (1 - firstShare) * share))
            return;
        emit(place);
        if (const std::size_t blocks = ktHemispherePlan::size(place.node).blocks; blocks < manyBlocks)
            done += blocks;
    }

    ktHemisphereTree& tree;
    const std::vector<ktTracerMesh>& meshes;
    const ktTriangleNumbers& numbers;
    ktHemisphereProgress& progress;
    const float firstShare;
    std::atomic<std::size_t> done{0}; // blocks
};

} // namespace

ktHemisphereTree ktEmitHemisphere(const ktBvhTree& binary, const std::vector<ktTracerMesh>& meshes,
                                  const ktTriangleNumbers& numbers, ktHemisphereProgress& progress, float firstShare) {
    static_assert(ktBvhTree::maxDepth <= Limits::depth, "stacks are large enough");
    ktHemisphereTree tree;
    Emitter emitter(tree, meshes, numbers, progress, firstShare);
    if (ktBvhTree::isLeaf(binary.root())) {
        const ktBvhLeaf& leaf = ktBvhTree::leaf(binary.root());
        tree.blocks.resize(ktHemispherePlan::blockCount(leaf));
        tree.root = emitter.emitLeaf(leaf, 0);
        return tree;
    }
    const ktHemispherePlan plan(binary.root());
    if (!progress.goOn(firstShare))
        return {};
    const ktHemisphereSize size = ktHemispherePlan::size(binary.root());
    tree.nodes.resize(size.nodes);
    tree.blocks.resize(size.blocks);
    tree.levels = plan.levels();
    tree.root = reinterpret_cast<std::uintptr_t>(tree.nodes.data());
    emitter.emit({binary.root(), 0, 1, 0});
    return tree;
}
