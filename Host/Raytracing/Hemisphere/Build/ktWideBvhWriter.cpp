// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes each subtree to its final position, which follows from the sizes that ktBvhCollapse counted.
#include "ktWideBvhWriter.h"

#include "ktBvhCollapse.h"
#include "ktParallel.h"
#include "ktWideNode.h"

#include <algorithm>
#include <atomic>

namespace {

using Limits = ktWideBvhLayout;

// A subtree of this size is worth several threads: some milliseconds of one thread.
constexpr std::size_t parallelCacheLines = 10240;

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
        ktClearWideNode(node);
        for (std::uint32_t i = 0; i < count; ++i) {
            ktWideBvhRef ref = 0;
            if (ktBinaryBvh::isLeaf(child[i].node)) {
                const ktBinaryBvhLeaf& leaf = ktBinaryBvh::leaf(child[i].node);
                ref = leafWriter.write(leaf, arrays.cacheLines.data() + nextCacheLine);
                nextCacheLine += leaf.cacheLines;
            } else {
                ref = refTo(arrays.nodes[nextNode]);
                inner[innerCount++] = {child[i].node, nextNode++, 0, 0};
            }
            ktSetWideChild(node, i, child[i].box, ref);
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

ktWideBvhArrays ktWriteWideBvh(const ktBinaryBvh& binary, const ktLeafWriter& leafWriter, ktBuildProgress& progress,
                               float startShare) {
    static_assert(ktBinaryBvh::maxDepth <= Limits::maxDepth, "stacks are large enough");
    ktWideBvhArrays arrays;
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
