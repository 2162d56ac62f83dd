// SPDX-License-Identifier: LGPL-2.1-or-later
// Reinsertion makes a tree cheaper, keeps its leaves and can be stopped.
#include "ktBvhReinsertion.h"
#include "ktBinaryBvh.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <gtest/gtest.h>
#include <random>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <vector>

namespace {

ktBvhBox boxAt(float x, float y, float z, float size) {
    return {{x, y, z}, {x + size, y + size, z + size}};
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

double halfArea(const ktBvhBox& box) {
    const double x = double(box.upper[0]) - box.lower[0], y = double(box.upper[1]) - box.lower[1],
                 z = double(box.upper[2]) - box.lower[2];
    return x * y + y * z + z * x;
}

/// A tree that halves the list of leaves and ignores their boxes.
struct Tree {
    std::vector<ktBvhBox> boxes;
    std::deque<ktBinaryBvhLeaf> leaves;
    std::deque<ktBinaryBvhNode> nodes;
    std::uintptr_t root;

    explicit Tree(const std::vector<ktBvhBox>& boxes_) : boxes(boxes_) {
        ktBvhBox box;
        root = make(0, boxes.size(), box);
    }
    Tree(const Tree&) = delete;

    std::uintptr_t make(std::size_t first, std::size_t last, ktBvhBox& box) {
        if (last - first == 1) {
            ktBinaryBvhLeaf leaf{};
            leaf.count = 1;
            leaf.ids[0] = static_cast<std::uint32_t>(first);
            leaves.push_back(leaf);
            box = boxes[first];
            return reinterpret_cast<std::uintptr_t>(&leaves.back()) | 1;
        }
        ktBinaryBvhNode& node = nodes.emplace_back();
        const std::size_t middle = (first + last) / 2;
        node.child[0] = make(first, middle, node.box[0]);
        node.child[1] = make(middle, last, node.box[1]);
        box = joined(node.box[0], node.box[1]);
        return reinterpret_cast<std::uintptr_t>(&node);
    }

    void reinsert() {
        const ktTracer::Progress none;
        ktBuildProgress progress(none);
        ktReinsertNodes(root, progress, 0.5f);
    }
};

/// The nodes and leaves below a root.
struct Walk {
    double surface = 0; // half the surface area of the inner nodes
    unsigned levels = 0;
    std::vector<std::uint32_t> ids; // of the leaves, depth first
    std::vector<unsigned> depths;   // likewise

    explicit Walk(const Tree& tree_) : tree(tree_) { visit(tree.root, 1); }

    ktBvhBox visit(std::uintptr_t at, unsigned level) {
        levels = std::max(levels, level);
        if (ktBinaryBvh::isLeaf(at)) {
            const std::uint32_t id = ktBinaryBvh::leaf(at).ids[0];
            ids.push_back(id);
            depths.push_back(level);
            return tree.boxes[id];
        }
        const ktBinaryBvhNode& node = ktBinaryBvh::node(at);
        for (int side = 0; side < 2; ++side)
            EXPECT_TRUE(isSame(visit(node.child[side], level + 1), node.box[side]));
        const ktBvhBox box = joined(node.box[0], node.box[1]);
        surface += halfArea(box);
        return box;
    }

    void expectEveryLeafOnce() const {
        std::vector<std::uint32_t> sorted = ids;
        std::sort(sorted.begin(), sorted.end());
        ASSERT_EQ(sorted.size(), tree.boxes.size());
        for (std::uint32_t id = 0; id < sorted.size(); ++id)
            ASSERT_EQ(sorted[id], id);
    }

private:
    const Tree& tree;
};

/// Tries every possible move except those of the root's children. Calculates the whole tree again for each move.
class EveryMove {
public:
    explicit EveryMove(const Tree& tree_) : tree(tree_) {}

    double leastSurface() {
        std::vector<std::uintptr_t> all;
        collect(tree.root, all);
        double least = Walk(tree).surface;
        const std::uintptr_t* const fixed = ktBinaryBvh::node(tree.root).child;
        for (const std::uintptr_t taken : all) {
            if (taken == fixed[0] || taken == fixed[1])
                continue;
            node = target = 0;
            surface = 0;
            nodeBox = measure(taken);
            const double inside = surface;
            for (const std::uintptr_t place : all) {
                node = taken;
                target = place;
                surface = inside;
                isPlaced = false;
                measure(tree.root);
                if (isPlaced) // false if the target is below the moved node
                    least = std::min(least, surface);
            }
        }
        return least;
    }

private:
    static void collect(std::uintptr_t at, std::vector<std::uintptr_t>& all) {
        if (!ktBinaryBvh::isLeaf(at)) {
            for (const std::uintptr_t child : ktBinaryBvh::node(at).child) {
                all.push_back(child);
                collect(child, all);
            }
        }
    }
    ktBvhBox measure(std::uintptr_t at) {
        if (ktBinaryBvh::isLeaf(at))
            return place(at, tree.boxes[ktBinaryBvh::leaf(at).ids[0]]);
        const std::uintptr_t* const child = ktBinaryBvh::node(at).child;
        if (child[0] == node || child[1] == node)
            return measure(child[child[0] == node]); // the sibling replaces the parent
        const ktBvhBox left = measure(child[0]), box = joined(left, measure(child[1]));
        surface += halfArea(box);
        return place(at, box);
    }
    ktBvhBox place(std::uintptr_t at, const ktBvhBox& box) {
        if (at != target)
            return box;
        isPlaced = true;
        const ktBvhBox both = joined(box, nodeBox);
        surface += halfArea(both);
        return both;
    }

    const Tree& tree;
    std::uintptr_t node = 0, target = 0;
    ktBvhBox nodeBox{};
    double surface = 0;
    bool isPlaced = false;
};

std::vector<ktBvhBox> shuffledGrid(int side) {
    std::vector<ktBvhBox> boxes;
    for (int i = 0; i < side * side * side; ++i)
        boxes.push_back(boxAt(static_cast<float>(i % side), static_cast<float>(i / side % side),
                              static_cast<float>(i / side / side), 0.9f));
    std::shuffle(boxes.begin(), boxes.end(), std::mt19937(5));
    return boxes;
}

std::vector<ktBvhBox> randomBoxes(std::size_t count, float range, float size, unsigned seed) {
    std::mt19937 random(seed);
    const auto number = [&](float most) { return most * (static_cast<float>(random() % 65536) / 65536.0f); };
    std::vector<ktBvhBox> boxes;
    for (std::size_t i = 0; i < count; ++i) {
        ktBvhBox box = boxAt(number(range), number(range), number(range), 0);
        for (float& upper : box.upper)
            upper += number(size);
        boxes.push_back(box);
    }
    return boxes;
}

} // namespace

TEST(BvhReinsertion, GivenBadTree_MakesItCheaperAndKeepsEveryLeaf) {
    Tree tree(shuffledGrid(12));
    const Walk before(tree);
    tree.reinsert();
    const Walk after(tree);
    EXPECT_LT(after.surface, 0.25 * before.surface);
    after.expectEveryLeafOnce();
}

TEST(BvhReinsertion, GivenSeparatedPairs_BringsThemTogether) {
    const ktBvhBox a = boxAt(0, 0, 0, 1), b = boxAt(1, 0, 0, 1), c = boxAt(50, 0, 0, 1), d = boxAt(51, 0, 0, 1);
    Tree tree({a, c, b, d});
    tree.reinsert();
    const Walk walk(tree);
    EXPECT_EQ(walk.surface, halfArea(joined(a, d)) + halfArea(joined(a, b)) + halfArea(joined(c, d)));
    walk.expectEveryLeafOnce();
}

TEST(BvhReinsertion, GivenSmallTrees_LeavesNoMoveThatHelps) {
    int left = 0;
    for (unsigned seed = 0; seed < 100; ++seed) {
        Tree tree(randomBoxes(24, 1, 0.2f, seed));
        EXPECT_LT(EveryMove(tree).leastSurface(), 0.99 * Walk(tree).surface);
        tree.reinsert();
        const double share = EveryMove(tree).leastSurface() / Walk(tree).surface;
        EXPECT_GT(share, 0.99) << seed;
        left += share < 0.9999; // the last pass may leave small gains
    }
    EXPECT_LE(left, 5);
}

TEST(BvhReinsertion, GivenAnyTree_NeverIncreasesItsCost) {
    unsigned seed = 0;
    for (const float scale : {1e-18f, 1.0f, 1.8e18f}) {
        for (const float size : {0.0f, 0.01f, 0.3f, 1.0f}) {
            for (const std::size_t count : {3u, 4u, 7u, 100u, 3000u}) {
                Tree tree(randomBoxes(count, scale, size * scale, ++seed));
                const Walk before(tree);
                tree.reinsert();
                const Walk after(tree);
                EXPECT_LE(after.surface, before.surface * (1 + 1e-12)) << seed;
                EXPECT_LE(after.levels, ktBinaryBvh::maxDepth);
                after.expectEveryLeafOnce();
            }
        }
    }
}

TEST(BvhReinsertion, GivenBoxesLargerThanWhatIsInside_ShrinksThem) {
    Tree tree(randomBoxes(10000, 1, 0.02f, 3)); // more nodes than reinsertion tries
    for (ktBinaryBvhNode& node : tree.nodes)
        for (int side = 0; side < 2; ++side)
            if (!ktBinaryBvh::isLeaf(node.child[side]))
                node.box[side] = joined(node.box[side], boxAt(2, 2, 2, 1));
    tree.reinsert();
    Walk(tree).expectEveryLeafOnce(); // also checks that every box encloses its children tightly
}

TEST(BvhReinsertion, GivenMoreNodesThanItTries_KeepsEveryLeaf) {
    Tree tree(randomBoxes(30000, 1, 0.02f, 4));
    const Walk before(tree);
    tree.reinsert();
    const Walk after(tree);
    EXPECT_LT(after.surface, 0.8 * before.surface);
    after.expectEveryLeafOnce();
}

TEST(BvhReinsertion, GivenOneThreadOrFour_DoesTheSame) {
    const std::vector<ktBvhBox> boxes = shuffledGrid(18); // with many equal surfaces
    Tree one(boxes), four(boxes);
    one.reinsert();
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 4);
    tbb::task_arena(4).execute([&] { four.reinsert(); });
    const Walk left(one), right(four);
    EXPECT_EQ(left.ids, right.ids);
    EXPECT_EQ(left.depths, right.depths);
    EXPECT_EQ(left.surface, right.surface);
}

TEST(BvhReinsertion, GivenBoxesWithinEachOther_KeepsTheDepthLimit) {
    // The cheapest tree for these boxes is a chain of a thousand levels.
    std::vector<ktBvhBox> boxes;
    for (int i = 0; i < 1000; ++i) {
        const float reach = std::pow(1.02f, static_cast<float>(i));
        boxes.push_back(boxAt(-reach, -reach, -reach, 2 * reach));
    }
    std::shuffle(boxes.begin(), boxes.end(), std::mt19937(6));
    Tree tree(boxes);
    const Walk before(tree);
    tree.reinsert();
    const Walk after(tree);
    after.expectEveryLeafOnce();
    EXPECT_LT(after.surface, before.surface);
    EXPECT_LE(after.levels, ktBinaryBvh::maxDepth);
    EXPECT_GT(after.levels, ktBinaryBvh::maxDepth - 10) << "the tree is too flat to test the limit";
}

TEST(BvhReinsertion, GivenTooLittleToMove_LeavesItAsItIs) {
    for (const std::size_t count : {1u, 2u}) {
        Tree tree(randomBoxes(count, 1, 1, 7));
        tree.reinsert();
        Walk(tree).expectEveryLeafOnce();
    }
}

TEST(BvhReinsertion, GivenAllInOnePlace_LeavesItAsItIs) {
    for (const float size : {0.0f, 1.0f}) {
        Tree tree(std::vector<ktBvhBox>(5000, boxAt(1, 2, 3, size)));
        const Walk before(tree);
        tree.reinsert();
        const Walk after(tree);
        EXPECT_EQ(after.ids, before.ids) << size;
        EXPECT_EQ(after.levels, before.levels) << size;
    }
}

TEST(BvhReinsertion, GivenStop_EndsSoonWithoutAskingAgain) {
    const std::vector<ktBvhBox> boxes = shuffledGrid(15); // so small that preparation makes no progress call
    int all = 0;
    const ktTracer::Progress count = [&](float share) {
        EXPECT_EQ(share, 0.5f);
        ++all;
        return true;
    };
    Tree whole(boxes);
    const double before = Walk(whole).surface;
    ktBuildProgress progress(count);
    ktReinsertNodes(whole.root, progress, 0.5f);
    EXPECT_GT(all, 30) << "too few progress calls: a stop would take too long";
    for (const int last : {1, 2, all / 2, all}) {
        int asked = 0;
        const ktTracer::Progress stop = [&](float) { return ++asked < last; };
        Tree tree(boxes);
        ktBuildProgress stopped(stop);
        ktReinsertNodes(tree.root, stopped, 0.5f);
        EXPECT_EQ(asked, last);
        EXPECT_TRUE(stopped.isStopped());
        if (last == 1) {
            EXPECT_EQ(Walk(tree).surface, before);
        } else if (last == 2) {
            EXPECT_GT(Walk(tree).surface, 0.5 * before);
        }
    }
}

TEST(BvhReinsertion, GivenStopOfLargeTree_EndsWhileItIsPrepared) {
    Tree tree(shuffledGrid(24));
    const Walk before(tree);
    int asked = 0;
    const ktTracer::Progress stop = [&](float) { return ++asked < 1000; };
    ktBuildProgress progress(stop);
    ktReinsertNodes(tree.root, progress, 0.5f);
    EXPECT_EQ(asked, 1000);
    EXPECT_EQ(Walk(tree).ids, before.ids) << "preparation moves nothing";
}
