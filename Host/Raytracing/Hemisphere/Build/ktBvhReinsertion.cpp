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
constexpr double leastPassGain = 0.002;  // of all surface
constexpr std::uint32_t maxVisits = 100; // of nodes beside the path upwards, in one search; most need three
constexpr double leastGain = 1e-6;       // of the surface of a node's parent: what rounding gains is none

// Branches down to this level are left to other threads.
constexpr std::uint32_t sharedDepth = 12;
constexpr std::size_t searchesToAsk = 256; // below a few milliseconds

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
    return ktBinaryBvh::isLeaf(at) ? 1 : ktBinaryBvh::node(at).place.height;
}

void measureHeight(ktBinaryBvhNode& node) {
    node.place.height = 1 + std::max(heightOf(node.child[0]), heightOf(node.child[1]));
}

/// Where a child hangs: a node and one of its sides.
class Slot {
public:
    Slot() = default;
    Slot(ktBinaryBvhNode& node, std::size_t side) : bits(reinterpret_cast<std::uintptr_t>(&node) | side) {}
    ktBinaryBvhNode& node() const { return ktBinaryBvh::node(bits & ~std::uintptr_t(1)); }
    std::size_t side() const { return bits & 1; }
    std::uintptr_t& child() const { return node().child[side()]; }
    ktBvhBox& box() const { return node().box[side()]; }
    Slot sibling() const { return Slot(node(), 1 - side()); }

private:
    std::uintptr_t bits = 0;
};

/// Of a node that is not the root.
Slot slotOf(const ktBinaryBvhNode& node) {
    ktBinaryBvhNode& parent = ktBinaryBvh::node(node.place.parent);
    return Slot(parent, parent.child[1] == reinterpret_cast<std::uintptr_t>(&node));
}

void hang(Slot slot, std::uintptr_t child) {
    slot.child() = child;
    if (!ktBinaryBvh::isLeaf(child))
        ktBinaryBvh::node(child).place.parent = reinterpret_cast<std::uintptr_t>(&slot.node());
}

// The heights of a node and of those above it, and all their boxes, once something below the node has changed.
void refit(ktBinaryBvhNode* node) {
    for (;;) {
        const std::uint32_t height = node->place.height;
        measureHeight(*node);
        if (!node->place.parent)
            return;
        const Slot slot = slotOf(*node);
        const ktBvhBox box = joined(node->box[0], node->box[1]);
        if (height == node->place.height && isSame(box, slot.box()))
            return;
        slot.box() = box;
        node = &slot.node();
    }
}

// The child and its parent go together; the sibling takes the parent's place.
void move(Slot from, Slot to) {
    ktBinaryBvhNode& parent = from.node();
    const Slot place = slotOf(parent), rest = from.sibling();
    place.box() = rest.box();
    hang(place, rest.child());
    refit(&place.node());

    rest.box() = to.box();
    hang(rest, to.child());
    hang(to, reinterpret_cast<std::uintptr_t>(&parent));
    to.box() = joined(parent.box[0], parent.box[1]);
    measureHeight(parent);
    refit(&to.node());
}

class Reinsertion {
public:
    Reinsertion(std::uintptr_t root, ktBuildProgress& progress, float share)
        : root(ktBinaryBvh::node(root)), progress(progress), share(share) {}

    void run() {
        root.place.parent = 0;
        const Sum sum = prepare(root, 0);
        candidateCount = std::clamp(2 * sum.nodes / candidateShare, minCandidates, maxCandidates);
        double surface = sum.surface;
        for (int pass = 0; pass < maxPasses && !progress.isStopped(); ++pass) {
            choose();
            const double gain = improve();
            if (!(gain > leastPassGain * surface))
                break;
            surface -= gain;
        }
    }

private:
    struct Candidate {
        float area;
        std::uint32_t order;
        Slot slot;
        bool operator<(const Candidate& other) const {
            return area < other.area || (area == other.area && order > other.order);
        }
    };
    struct Sum {
        double surface = 0; // half of it
        std::size_t nodes = 0;
    };
    struct Place {
        Slot slot;
        double gain = 0;
    };
    struct Branch {
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
            child.place.parent = reinterpret_cast<std::uintptr_t>(&node);
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
    void choose() {
        candidates.clear();
        heap.clear();
        std::uint32_t order = 0;
        const auto push = [&](ktBinaryBvhNode& node) {
            for (std::size_t side = 0; side < 2; ++side) {
                heap.push_back({static_cast<float>(halfArea(node.box[side])), order++, Slot(node, side)});
                std::push_heap(heap.begin(), heap.end());
            }
        };
        push(root);
        while (!heap.empty() && candidates.size() < candidateCount) {
            std::pop_heap(heap.begin(), heap.end());
            const Slot slot = heap.back().slot;
            heap.pop_back();
            if (&slot.node() != &root) // which cannot be taken out together with its child
                candidates.push_back(slot);
            if (!ktBinaryBvh::isLeaf(slot.child()))
                push(ktBinaryBvh::node(slot.child()));
        }
    }

    double improve() {
        double gain = 0;
        std::size_t searches = 0;
        for (const Slot slot : candidates) {
            if (searches++ % searchesToAsk == 0 && !progress.goOn(share))
                break;
            // Of what hangs here now: moves before it may have changed that.
            const Place place = search(slot);
            if (place.gain > 0) {
                move(slot, place.slot);
                gain += place.gain;
            }
        }
        return gain;
    }

    std::uint32_t levelOf(const ktBinaryBvhNode& node) const {
        std::uint32_t level = 1;
        for (std::uintptr_t at = node.place.parent; at; at = ktBinaryBvh::node(at).place.parent)
            ++level;
        return level;
    }

    // The place where what hangs in a slot saves most; gain 0 where it had better stay. `saved` is the surface that
    // goes when the node is taken out and its parent with it, less that by which the nodes on the way down grow.
    Place search(Slot from) {
        box = from.box();
        area = halfArea(box);
        height = heightOf(from.child());
        visitsLeft = maxVisits;
        ktBinaryBvhNode* parent = &from.node();
        std::uint32_t level = levelOf(*parent);
        double saved = halfArea(slotOf(*parent).box());
        const double least = leastGain * saved;
        best = {Slot(), least};

        ktBvhBox without = from.sibling().box();                       // what the nodes above shrink to
        searchBelow(from.sibling().child(), halfArea(without), level); // which rises to the parent's level
        while (parent->place.parent) {
            const Slot slot = slotOf(*parent), other = slot.sibling();
            searchAt(other, saved, level);
            parent = &slot.node();
            --level;
            without = joined(without, other.box());
            saved += halfArea(joined(slot.box(), other.box())) - halfArea(without);
        }
        return best.gain > least ? best : Place{Slot(), 0};
    }

    // Puts the node beside what hangs in `slot` at that level.
    void consider(Slot slot, double gain, std::uint32_t level) {
        if (gain > best.gain && level + std::max(height, heightOf(slot.child())) <= ktBinaryBvh::maxDepth)
            best = {slot, gain};
    }

    void searchAt(Slot slot, double saved, std::uint32_t level) {
        if (!canGain(saved))
            return;
        const double both = halfArea(joined(slot.box(), box));
        consider(slot, saved - both, level);
        searchBelow(slot.child(), saved - (both - halfArea(slot.box())), level);
    }

    // Below a node at that level; the better branches first.
    void searchBelow(std::uintptr_t at, double saved, std::uint32_t level) {
        branches.clear();
        push(at, saved, level);
        for (; !branches.empty() && visitsLeft > 0; --visitsLeft) {
            const Branch branch = branches.back();
            branches.pop_back();
            if (!canGain(branch.saved))
                continue;
            double below[2];
            for (std::size_t side = 0; side < 2; ++side) {
                const ktBvhBox& sideBox = branch.node->box[side];
                const double both = halfArea(joined(sideBox, box));
                consider(Slot(*branch.node, side), branch.saved - both, branch.level + 1);
                below[side] = branch.saved - (both - halfArea(sideBox));
            }
            const std::size_t better = below[1] > below[0];
            for (const std::size_t side : {1 - better, better})
                push(branch.node->child[side], below[side], branch.level + 1);
        }
    }

    void push(std::uintptr_t at, double saved, std::uint32_t level) {
        if (!ktBinaryBvh::isLeaf(at) && canGain(saved))
            branches.push_back({&ktBinaryBvh::node(at), saved, level});
    }

    // The new parent is no smaller than the node.
    bool canGain(double saved) const { return saved - area > best.gain; }

    ktBinaryBvhNode& root;
    ktBuildProgress& progress;
    const float share;
    std::size_t candidateCount = 0;
    std::vector<Slot> candidates;
    std::vector<Candidate> heap;  // of choose
    std::vector<Branch> branches; // still to search

    // Of the node whose place is sought.
    ktBvhBox box{};
    double area = 0;
    std::uint32_t height = 0, visitsLeft = 0;
    Place best;
};

} // namespace

void ktReinsertNodes(std::uintptr_t root, ktBuildProgress& progress, float share) {
    if (!ktBinaryBvh::isLeaf(root))
        Reinsertion(root, progress, share).run();
}
