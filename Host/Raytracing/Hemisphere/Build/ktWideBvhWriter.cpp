// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktWideBvhWriter.h"

#include "ktBvhCollapse.h"
#include "ktParallel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

namespace {

using Limits = ktWideBvhLayout;

// Beyond this tracing waits for memory more than it works, and short leaves are the quicker ones.
constexpr std::uint32_t maxTrianglesWide = 1000000;

// A subtree with so many lines is worth several threads; some milliseconds of one.
constexpr std::size_t manyLines = 10240;

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

void clear(ktWideBvhNode& node) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    std::fill(&node.lower[0][0], &node.lower[0][0] + 3 * Limits::children, none);
    std::fill(&node.upper[0][0], &node.upper[0][0] + 3 * Limits::children, none);
    std::fill(node.child, node.child + Limits::children, ktWideBvhRef(0));
}

/// Where a node of eight and what is below it go.
struct Place {
    std::uintptr_t node;              ///< of the binary tree
    std::size_t index;                ///< its own, among the nodes
    std::size_t firstNode, firstLine; ///< below it
};

class Emitter {
public:
    static ktWideBvhRef refTo(const ktWideBvhNode& node) {
        return reinterpret_cast<std::uintptr_t>(&node) | Limits::nodeFlags;
    }

    Emitter(ktWideBvhArrays& tree, const ktLeafWriter& writer, ktBuildProgress& progress, float firstShare)
        : tree(tree), writer(writer), progress(progress), firstShare(firstShare) {}

    void emit(const Place& place) {
        ktWideBvhChild child[Limits::children];
        const std::uint32_t count = ktBvhCollapse::children(place.node, child);
        Place inner[Limits::children];
        std::uint32_t innerCount = 0;
        std::size_t nextNode = place.firstNode, nextLine = place.firstLine;

        ktWideBvhNode node;
        clear(node);
        for (std::uint32_t i = 0; i < count; ++i) {
            const ktBvhBox box = widened(child[i].box);
            for (int axis = 0; axis < 3; ++axis) {
                node.lower[axis][i] = box.lower[axis];
                node.upper[axis][i] = box.upper[axis];
            }
            if (ktBinaryBvh::isLeaf(child[i].node)) {
                const ktBinaryBvhLeaf& leaf = ktBinaryBvh::leaf(child[i].node);
                node.child[i] = writer.write(leaf, &tree.lines[nextLine]);
                nextLine += leaf.lines;
            } else {
                node.child[i] = refTo(tree.nodes[nextNode]);
                inner[innerCount++] = {child[i].node, nextNode++, 0, 0};
            }
        }
        tree.nodes[place.index] = node;

        for (std::uint32_t i = innerCount; i-- > 0;) {
            inner[i].firstNode = nextNode;
            inner[i].firstLine = nextLine;
            const ktWideBvhSize size = ktBvhCollapse::size(inner[i].node);
            nextNode += size.nodes - 1;
            nextLine += size.lines;
        }
        if (nextLine - place.firstLine < manyLines)
            for (std::uint32_t i = innerCount; i-- > 0;)
                emit(inner[i]);
        else
            ktParallel::forEach(innerCount, [&](std::size_t i) { emitBranch(inner[i]); });
    }

private:
    // Of a node that has many lines below it; its branches may have few.
    void emitBranch(const Place& place) {
        const float share = static_cast<float>(done) / static_cast<float>(tree.lines.size());
        if (!progress.goOn(firstShare + (1 - firstShare) * share))
            return;
        emit(place);
        if (const std::size_t lines = ktBvhCollapse::size(place.node).lines; lines < manyLines)
            done += lines;
    }

    ktWideBvhArrays& tree;
    const ktLeafWriter& writer;
    ktBuildProgress& progress;
    const float firstShare;
    std::atomic<std::size_t> done{0}; // lines
};

} // namespace

ktWideBvhArrays ktWriteWideBvh(const ktBinaryBvh& binary, const std::vector<ktTracerMesh>& meshes,
                               const ktTriangleNumbers& numbers, ktLeafKind kind, ktBuildProgress& progress,
                               float firstShare) {
    static_assert(ktBinaryBvh::maxDepth <= Limits::depth, "stacks are large enough");
    if (kind == ktLeafKind::ByCount)
        kind = numbers.total() > maxTrianglesWide ? ktLeafKind::Patches : ktLeafKind::Wide;
    ktWideBvhArrays tree;
    const ktLeafWriter writer(meshes, numbers, kind);
    if (ktBinaryBvh::isLeaf(binary.root())) {
        const ktBinaryBvhLeaf& leaf = ktBinaryBvh::leaf(binary.root());
        tree.lines.resize(writer.lineCount(leaf));
        tree.root = writer.write(leaf, tree.lines.data());
        return tree;
    }
    const ktBvhCollapse plan(binary.root(), writer);
    if (!progress.goOn(firstShare))
        return {};
    const ktWideBvhSize size = ktBvhCollapse::size(binary.root());
    tree.nodes.resize(size.nodes);
    tree.lines.resize(size.lines);
    tree.levels = plan.levels();
    tree.root = Emitter::refTo(tree.nodes[0]);
    Emitter(tree, writer, progress, firstShare).emit({binary.root(), 0, 1, 0});
    return tree;
}
