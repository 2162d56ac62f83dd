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
constexpr std::uint32_t maxUnindexedTriangles = 1000000;

// A subtree with so many lines is worth several threads; some milliseconds of one.
constexpr std::size_t parallelCacheLines = 10240;

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
struct Destination {
    std::uintptr_t node;                   ///< of the binary tree
    std::size_t index;                     ///< its own, among the nodes
    std::size_t firstNode, firstCacheLine; ///< below it
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
    // Of a node that has many lines below it; its branches may have few.
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
    std::atomic<std::size_t> done{0}; // lines
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
