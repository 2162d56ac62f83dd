// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBvhReinsertion.h"

#include "ktBinaryBvh.h"
#include "ktParallel.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

// How much is tried. An eighth of the nodes adds nothing noticeable to the 0.31 s that the structure of an engine of
// 121,000 triangles takes; all of them add 0.07 s for rays no faster. Of an assembly of 5 million triangles, 50,000
// take 0.2 s and save a vertex of 1,024 rays one or two of 28 microseconds; 200,000 take more than 1 s and save no
// more.
constexpr std::size_t candidateShare = 8, minCandidates = 4000, maxCandidates = 50000;
constexpr int maxPasses = 8;
constexpr double minPassGain = 0.002;    // of all surface
constexpr std::uint32_t maxVisits = 100; // of nodes beside the path upwards, in one search; most need three
constexpr double minRelativeGain = 1e-6; // of the surface of a node's parent: what rounding gains is none

// Branches down to this level are left to other threads.
constexpr std::uint32_t sharedDepth = 12;
constexpr std::size_t searchesPerProgressCall = 256; // below a few milliseconds

double halfArea(const ktBvhBox& box) {
    const double x = double(box.upper[0]) - box.lower[0], y = double(box.upper[1]) - box.lower[1],
                 z = double(box.upper[2]) - box.lower[2];
    return x * y + y * z + z * x;
}

ktBvhBox joined(const ktBvhBox& a, const ktBvhBox& b) {
    ktBvhBox box;
    for (int axis = 0; axis < 3; ++axis) {
        box.lower[axis] = std::min(a.lower[axis], b.lower[axis]);
        box.upper[axis] = std::max(a.upper[axis], b.upper[axis]);
    }
    return box;
}

bool isSame(const ktBvhBox& a, const ktBvhBox& b) {
    return std::equal(a.lower, a.lower + 3, b.lower) && std::equal(a.upper, a.upper + 3, b.upper);
}

std::uint32_t heightOf(std::uintptr_t at) {
    return ktBinaryBvh::isLeaf(at) ? 1 : ktBinaryBvh::node(at).links.height;
}

void measureHeight(ktBinaryBvhNode& node) {
    node.links.height = 1 + std::max(heightOf(node.child[0]), heightOf(node.child[1]));
}

/// Where a child hangs: a node and one of its sides.
class Edge {
public:
    Edge() = default;
    Edge(ktBinaryBvhNode& node, std::size_t side) : bits(reinterpret_cast<std::uintptr_t>(&node) | side) {}
    ktBinaryBvhNode& node() const { return ktBinaryBvh::node(bits & ~std::uintptr_t(1)); }
    std::size_t side() const { return bits & 1; }
    std::uintptr_t& child() const { return node().child[side()]; }
    ktBvhBox& box() const { return node().box[side()]; }
    Edge sibling() const { return Edge(node(), 1 - side()); }

private:
    std::uintptr_t bits = 0;
};

/// Of a node that is not the root.
Edge edgeAbove(const ktBinaryBvhNode& node) {
    ktBinaryBvhNode& parent = ktBinaryBvh::node(node.links.parent);
    return Edge(parent, parent.child[1] == reinterpret_cast<std::uintptr_t>(&node));
}

void attach(Edge edge, std::uintptr_t child) {
    edge.child() = child;
    if (!ktBinaryBvh::isLeaf(child))
        ktBinaryBvh::node(child).links.parent = reinterpret_cast<std::uintptr_t>(&edge.node());
}

// The heights of a node and of those above it, and all their boxes, once something below the node has changed.
void refit(ktBinaryBvhNode* node) {
    for (;;) {
        const std::uint32_t height = node->links.height;
        measureHeight(*node);
        if (!node->links.parent)
            return;
        const Edge edge = edgeAbove(*node);
        const ktBvhBox box = joined(node->box[0], node->box[1]);
        if (height == node->links.height && isSame(box, edge.box()))
            return;
        edge.box() = box;
        node = &edge.node();
    }
}

// The child and its parent go together; the sibling takes the parent's place.
void reinsert(Edge from, Edge to) {
    ktBinaryBvhNode& parent = from.node();
    const Edge above = edgeAbove(parent), rest = from.sibling();
    above.box() = rest.box();
    attach(above, rest.child());
    refit(&above.node());

    rest.box() = to.box();
    attach(rest, to.child());
    attach(to, reinterpret_cast<std::uintptr_t>(&parent));
    to.box() = joined(parent.box[0], parent.box[1]);
    measureHeight(parent);
    refit(&to.node());
}

class Reinsertion {
public:
    Reinsertion(std::uintptr_t root_, ktBuildProgress& progress_, float share_)
        : root(ktBinaryBvh::node(root_)), progress(progress_), share(share_) {}

    void run() {
        root.links.parent = 0;
        const Sum sum = prepare(root, 0);
        candidateCount = std::clamp(2 * sum.nodes / candidateShare, minCandidates, maxCandidates);
        double surface = sum.surface;
        for (int pass = 0; pass < maxPasses && !progress.isStopped(); ++pass) {
            selectCandidates();
            const double gain = reinsertCandidates();
            if (!(gain > minPassGain * surface))
                break;
            surface -= gain;
        }
    }

private:
    struct Candidate {
        float area;
        std::uint32_t sequence;
        Edge edge;
        bool operator<(const Candidate& other) const {
            return area < other.area || (area == other.area && sequence > other.sequence);
        }
    };
    struct Sum {
        double surface = 0; // half of it
        std::size_t nodes = 0;
    };
    struct Target {
        Edge edge;
        double gain = 0;
    };
    struct SearchNode {
        ktBinaryBvhNode* node;
        double saved;
        std::uint32_t level; // of the node; the root's is 1
    };

    // Parents, heights and exact boxes (those of cut triangles' parts may be smaller than the builder knew).
    // @return the sum over the inner nodes, `node` included
    Sum prepare(ktBinaryBvhNode& node, std::uint32_t depth) {
        Sum below[2];
        if (depth == sharedDepth && !progress.goOn(share))
            return {};
        const auto prepareSide = [&](std::size_t side) {
            if (ktBinaryBvh::isLeaf(node.child[side]))
                return;
            ktBinaryBvhNode& child = ktBinaryBvh::node(node.child[side]);
            child.links.parent = reinterpret_cast<std::uintptr_t>(&node);
            below[side] = prepare(child, depth + 1);
            node.box[side] = joined(child.box[0], child.box[1]);
        };
        if (depth < sharedDepth) {
            ktParallel::forEach(2, prepareSide);
        } else {
            prepareSide(0);
            prepareSide(1);
        }
        measureHeight(node);
        return {below[0].surface + below[1].surface + halfArea(joined(node.box[0], node.box[1])),
                below[0].nodes + below[1].nodes + 1};
    }

    // A node is no smaller than what is below it: from the top down, the largest first.
    void selectCandidates() {
        candidates.clear();
        heap.clear();
        std::uint32_t sequence = 0;
        const auto push = [&](ktBinaryBvhNode& node) {
            for (std::size_t side = 0; side < 2; ++side) {
                heap.push_back({static_cast<float>(halfArea(node.box[side])), sequence++, Edge(node, side)});
                std::push_heap(heap.begin(), heap.end());
            }
        };
        push(root);
        while (!heap.empty() && candidates.size() < candidateCount) {
            std::pop_heap(heap.begin(), heap.end());
            const Edge edge = heap.back().edge;
            heap.pop_back();
            if (&edge.node() != &root) // which cannot be taken out together with its child
                candidates.push_back(edge);
            if (!ktBinaryBvh::isLeaf(edge.child()))
                push(ktBinaryBvh::node(edge.child()));
        }
    }

    double reinsertCandidates() {
        double gain = 0;
        std::size_t searches = 0;
        for (const Edge edge : candidates) {
            if (searches++ % searchesPerProgressCall == 0 && !progress.goOn(share))
                break;
            // Of what hangs here now: moves before it may have changed that.
            const Target target = findTarget(edge);
            if (target.gain > 0) {
                reinsert(edge, target.edge);
                gain += target.gain;
            }
        }
        return gain;
    }

    std::uint32_t levelOf(const ktBinaryBvhNode& node) const {
        std::uint32_t level = 1;
        for (std::uintptr_t at = node.links.parent; at; at = ktBinaryBvh::node(at).links.parent)
            ++level;
        return level;
    }

    // The place where what hangs in a slot saves most; gain 0 where it had better stay. `saved` is the surface that
    // goes when the node is taken out and its parent with it, less that by which the nodes on the way down grow.
    Target findTarget(Edge from) {
        nodeBox = from.box();
        nodeArea = halfArea(nodeBox);
        nodeHeight = heightOf(from.child());
        visitsLeft = maxVisits;
        ktBinaryBvhNode* parent = &from.node();
        std::uint32_t level = levelOf(*parent);
        double saved = halfArea(edgeAbove(*parent).box());
        const double minGain = minRelativeGain * saved;
        best = {Edge(), minGain};

        ktBvhBox shrunk = from.sibling().box();                       // what the nodes above shrink to
        searchBelow(from.sibling().child(), halfArea(shrunk), level); // which rises to the parent's level
        while (parent->links.parent) {
            const Edge edge = edgeAbove(*parent), other = edge.sibling();
            searchAt(other, saved, level);
            parent = &edge.node();
            --level;
            shrunk = joined(shrunk, other.box());
            saved += halfArea(joined(edge.box(), other.box())) - halfArea(shrunk);
        }
        return best.gain > minGain ? best : Target{Edge(), 0};
    }

    // Puts the node beside what hangs in `slot` at that level.
    void consider(Edge edge, double gain, std::uint32_t level) {
        if (gain > best.gain && level + std::max(nodeHeight, heightOf(edge.child())) <= ktBinaryBvh::maxDepth)
            best = {edge, gain};
    }

    void searchAt(Edge edge, double saved, std::uint32_t level) {
        if (!canGain(saved))
            return;
        const double enlargedArea = halfArea(joined(edge.box(), nodeBox));
        consider(edge, saved - enlargedArea, level);
        searchBelow(edge.child(), saved - (enlargedArea - halfArea(edge.box())), level);
    }

    // Below a node at that level; the better branches first.
    void searchBelow(std::uintptr_t at, double saved, std::uint32_t level) {
        searchStack.clear();
        push(at, saved, level);
        for (; !searchStack.empty() && visitsLeft > 0; --visitsLeft) {
            const SearchNode current = searchStack.back();
            searchStack.pop_back();
            if (!canGain(current.saved))
                continue;
            double below[2];
            for (std::size_t side = 0; side < 2; ++side) {
                const ktBvhBox& sideBox = current.node->box[side];
                const double enlargedArea = halfArea(joined(sideBox, nodeBox));
                consider(Edge(*current.node, side), current.saved - enlargedArea, current.level + 1);
                below[side] = current.saved - (enlargedArea - halfArea(sideBox));
            }
            const std::size_t better = below[1] > below[0];
            for (const std::size_t side : {1 - better, better})
                push(current.node->child[side], below[side], current.level + 1);
        }
    }

    void push(std::uintptr_t at, double saved, std::uint32_t level) {
        if (!ktBinaryBvh::isLeaf(at) && canGain(saved))
            searchStack.push_back({&ktBinaryBvh::node(at), saved, level});
    }

    // The new parent is no smaller than the node.
    bool canGain(double saved) const { return saved - nodeArea > best.gain; }

    ktBinaryBvhNode& root;
    ktBuildProgress& progress;
    const float share;
    std::size_t candidateCount = 0;
    std::vector<Edge> candidates;
    std::vector<Candidate> heap;         // of choose
    std::vector<SearchNode> searchStack; // still to search

    // Of the node whose place is sought.
    ktBvhBox nodeBox{};
    double nodeArea = 0;
    std::uint32_t nodeHeight = 0, visitsLeft = 0;
    Target best;
};

} // namespace

void ktReinsertNodes(std::uintptr_t root, ktBuildProgress& progress, float share) {
    if (!ktBinaryBvh::isLeaf(root))
        Reinsertion(root, progress, share).run();
}
