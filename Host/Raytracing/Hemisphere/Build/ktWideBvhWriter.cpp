// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes each subtree to its final position, which follows from the sizes that ktBvhCollapse counted.
#include "ktWideBvhWriter.h"

#include "ktBvhCollapse.h"
#include "ktParallel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

namespace {

using Limits = ktWideBvhLayout;

// Above this, tracing mostly waits for memory, so smaller leaves are faster.
constexpr std::uint32_t maxUnindexedTriangles = 1000000;

// A subtree of this size is worth several threads: some milliseconds of one thread.
constexpr std::size_t parallelCacheLines = 10240;

// Enlarges a box by a few units in the last place of its largest coordinate: rays along a face must not miss it.
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
    std::fill(&node.lower[0][0], &node.lower[0][0] + std::size_t(3) * Limits::children, none);
    std::fill(&node.upper[0][0], &node.upper[0][0] + std::size_t(3) * Limits::children, none);
    std::fill(node.child, node.child + Limits::children, ktWideBvhRef(0));
}

/// A wide node to write, and where it and its subtree go.
struct Destination {
    std::uintptr_t node;                   ///< of the binary tree
    std::size_t index;                     ///< of the node, in the array of nodes
    std::size_t firstNode, firstCacheLine; ///< where its subtree starts
};

class Writer {
public:
    static ktWideBvhRef refTo(const ktWideBvhNode& node) {
        return reinterpret_cast<std::uintptr_t>(&node) | Limits::nodeFlags;
    }

    Writer(ktWideBvhArrays& arrays_, const ktLeafWriter& leafWriter_, ktBuildProgress& progress_, float startShare_)
        : arrays(arrays_), leafWriter(leafWriter_), progress(progress_), startShare(startShare_) {}

    void write(const Destination& destination) {
        ktWideBvhChild child[Limits::children];
        const std::uint32_t count = ktBvhCollapse::children(destination.node, child);
        Destination inner[Limits::children];
        std::uint32_t innerCount = 0;
        std::size_t nextNode = destination.firstNode, nextCacheLine = destination.firstCacheLine;

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
                node.child[i] = leafWriter.write(leaf, &arrays.cacheLines[nextCacheLine]);
                nextCacheLine += leaf.cacheLines;
            } else {
                node.child[i] = refTo(arrays.nodes[nextNode]);
                inner[innerCount++] = {child[i].node, nextNode++, 0, 0};
            }
        }
        arrays.nodes[destination.index] = node;

        for (std::uint32_t i = innerCount; i-- > 0;) {
            inner[i].firstNode = nextNode;
            inner[i].firstCacheLine = nextCacheLine;
            const ktWideBvhSize size = ktBvhCollapse::size(inner[i].node);
            nextNode += size.nodes - 1;
            nextCacheLine += size.cacheLines;
        }
        if (nextCacheLine - destination.firstCacheLine < parallelCacheLines)
            for (std::uint32_t i = innerCount; i-- > 0;)
                write(inner[i]);
        else
            ktParallel::forEach(innerCount, [&](std::size_t i) { writeBranch(inner[i]); });
    }

private:
    // Writes a child of a large node. The child's subtree may be small.
    void writeBranch(const Destination& destination) {
        const float share = static_cast<float>(done) / static_cast<float>(arrays.cacheLines.size());
        if (!progress.goOn(startShare + (1 - startShare) * share))
            return;
        write(destination);
        if (const std::size_t cacheLines = ktBvhCollapse::size(destination.node).cacheLines;
            cacheLines < parallelCacheLines)
            done += cacheLines;
    }

    ktWideBvhArrays& arrays;
    const ktLeafWriter& leafWriter;
    ktBuildProgress& progress;
    const float startShare;
    std::atomic<std::size_t> done{0}; // cache lines
};

} // namespace

ktWideBvhArrays ktWriteWideBvh(const ktBinaryBvh& binary, const std::vector<ktTracerMesh>& meshes,
                               const ktTriangleNumbers& numbers, ktLeafKind kind, ktBuildProgress& progress,
                               float startShare) {
    static_assert(ktBinaryBvh::maxDepth <= Limits::maxDepth, "stacks are large enough");
    if (kind == ktLeafKind::ByCount)
        kind = numbers.total() > maxUnindexedTriangles ? ktLeafKind::Patches : ktLeafKind::Unindexed;
    ktWideBvhArrays arrays;
    const ktLeafWriter leafWriter(meshes, numbers, kind);
    if (ktBinaryBvh::isLeaf(binary.root())) {
        const ktBinaryBvhLeaf& leaf = ktBinaryBvh::leaf(binary.root());
        arrays.cacheLines.resize(leafWriter.cacheLineCount(leaf));
        arrays.root = leafWriter.write(leaf, arrays.cacheLines.data());
        return arrays;
    }
    const ktBvhCollapse collapse(binary.root(), leafWriter);
    if (!progress.goOn(startShare))
        return {};
    const ktWideBvhSize size = ktBvhCollapse::size(binary.root());
    arrays.nodes.resize(size.nodes);
    arrays.cacheLines.resize(size.cacheLines);
    arrays.levels = collapse.levels();
    arrays.root = Writer::refTo(arrays.nodes[0]);
    Writer(arrays, leafWriter, progress, startShare).write({binary.root(), 0, 1, 0});
    return arrays;
}
