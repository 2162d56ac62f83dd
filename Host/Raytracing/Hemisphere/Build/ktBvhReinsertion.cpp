// SPDX-License-Identifier: LGPL-2.1-or-later
// One step of reinsertion moves a node N beside a target T. X' is X after the step, X + N the box around both,
// and area() half the surface area.
//
//          pivot                        pivot
//         /     \                      /     \        the pivot keeps its box: N is below it before and after
//        A       C                    A'      C'
//       / \     / \                  / \     / \      A shrinks without N, C grows by N
//      P   .   T   .                S   .   P'  .
//     / \                                  / \        P is removed, P' is new
//    N   S                                T   N
//
//    gain =   area(P)                   P is removed: its sibling S takes its position
//           + area(A) - area(A')        for each A between pivot and P
//           - (area(C + N) - area(C))   for each C between pivot and T
//           - area(T + N)               P' is inserted as parent of T and N
//
// `saved` is the sum of the first three terms up to where the search is. The search goes up from P, so that each
// ancestor is the pivot once, and from there down into the other subtree. As area(T + N) >= area(N), it leaves out
// subtrees with saved - area(N) below the best gain. If T is below S, S + N is the box of P: `saved` starts with
// area(S).
#include "ktBvhReinsertion.h"

#include "ktBinaryBvh.h"
#include "ktParallel.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

// How much is tried. Engine of 121,000 triangles: an eighth of the nodes adds nothing measurable to 0.31 s for the
// build; all nodes add 0.07 s, and rays do not get faster. Assembly of 5 million triangles: 50,000 nodes take 0.2 s and
// save one or two of 28 microseconds per vertex of 1,024 rays; 200,000 take more than 1 s and do not save more.
constexpr std::size_t candidateShare = 8, minCandidates = 4000, maxCandidates = 50000;
constexpr int maxPasses = 8;
constexpr double minPassGain = 0.002;    // as a share of the total surface area
constexpr std::uint32_t maxVisits = 100; // nodes per search, without the ancestors; most searches need three
constexpr double minRelativeGain = 1e-6; // as a share of the parent's surface area; less may be rounding

// Subtrees down to this level may go to other threads.
constexpr std::uint32_t sharedDepth = 12;
constexpr std::size_t searchesPerProgressCall = 256; // a few milliseconds at most

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

/// An edge of the tree: a node and one of its two sides, where a child is attached.
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

/// The edge to a node that is not the root.
Edge edgeAbove(const ktBinaryBvhNode& node) {
    ktBinaryBvhNode& parent = ktBinaryBvh::node(node.links.parent);
    return Edge(parent, parent.child[1] == reinterpret_cast<std::uintptr_t>(&node));
}

void attach(Edge edge, std::uintptr_t child) {
    edge.child() = child;
    if (!ktBinaryBvh::isLeaf(child))
        ktBinaryBvh::node(child).links.parent = reinterpret_cast<std::uintptr_t>(&edge.node());
}

// Updates heights and boxes from a node up, after a change below it.
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

// Moves the child at `from`, with its parent P, beside the child at `to`.
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
        double surface = 0; // half of the surface area
        std::size_t nodes = 0;
    };
    struct Target {
        Edge edge;
        double gain = 0;
    };
    struct SearchNode {
        ktBinaryBvhNode* node;
        double saved;
        std::uint32_t level; // of the node; the root has 1
    };

    // Sets parents, heights and exact boxes: Embree's may be too large for split triangles.
    // @return the sum over the inner nodes, including `node`
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

    // Selects the nodes of largest surface area, from the top down: no child is larger than its parent.
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
            if (&edge.node() != &root) // the root stays, so its children cannot move
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
            // The child that is here now; earlier moves may have changed it.
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

    // Finds where the child at `from` gains most; gain 0 if it should stay.
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

        ktBvhBox shrunk = from.sibling().box();                       // A' of the current ancestor
        searchBelow(from.sibling().child(), halfArea(shrunk), level); // S is at the level of P then
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

    // Considers the child at `edge` as target T; the new parent would have this level.
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

    // Searches below a node at this level, the better side first.
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

    // The new parent is at least as large as the node.
    bool canGain(double saved) const { return saved - nodeArea > best.gain; }

    ktBinaryBvhNode& root;
    ktBuildProgress& progress;
    const float share;
    std::size_t candidateCount = 0;
    std::vector<Edge> candidates;
    std::vector<Candidate> heap;         // of selectCandidates()
    std::vector<SearchNode> searchStack; // subtrees left to search

    // Of the node N that findTarget() searches for.
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
