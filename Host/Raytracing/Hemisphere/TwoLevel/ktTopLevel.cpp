// SPDX-License-Identifier: LGPL-2.1-or-later
// The upper level of a two-level BVH: opens large instances, and builds the tree over all.
#include "ktTopLevel.h"

#include "ktBvhReinsertion.h"
#include "ktLeafWriter.h"
#include "ktWideNode.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <queue>
#include <stdexcept>

namespace {

using Limits = ktWideBvhLayout;

const ktWideBvhNode& nodeAt(const ktBvhView& view, ktWideBvhRef ref) {
    return *reinterpret_cast<const ktWideBvhNode*>(view.memory + (ref & ktTwoLevelLayout::offsetMask));
}

bool isLeaf(ktWideBvhRef ref) {
    return ref & Limits::leafFlag;
}

void join(ktBvhBox& box, const ktBvhBox& other) {
    for (int axis = 0; axis < 3; ++axis) {
        box.lower[axis] = std::min(box.lower[axis], other.lower[axis]);
        box.upper[axis] = std::max(box.upper[axis], other.upper[axis]);
    }
}

float halfArea(const ktBvhBox& box) {
    const float x = box.upper[0] - box.lower[0], y = box.upper[1] - box.lower[1], z = box.upper[2] - box.lower[2];
    return x * y + y * z + z * x;
}

ktBvhBox childBox(const ktWideBvhNode& node, std::uint32_t child) {
    ktBvhBox box;
    for (int axis = 0; axis < 3; ++axis) {
        box.lower[axis] = node.lower[axis][child];
        box.upper[axis] = node.upper[axis][child];
    }
    return box;
}

// The world-space box around a box of a part.
ktBvhBox transformed(const ktBvhInstance& instance, const ktBvhBox& box) {
    ktBvhBox world;
    for (int row = 0; row < 3; ++row) {
        double center = instance.center[row][3], half = instance.extent[row][3];
        for (int axis = 0; axis < 3; ++axis) {
            center += double(instance.center[row][axis]) * (double(box.lower[axis]) + box.upper[axis]);
            half += double(instance.extent[row][axis]) * (double(box.upper[axis]) - box.lower[axis]);
        }
        world.lower[row] = static_cast<float>(center - half);
        world.upper[row] = static_cast<float>(center + half);
    }
    return world;
}

/// Calls `visit(child, box)` for each child of a node.
template <class Visit>
void forEachChild(const ktBvhView& view, ktWideBvhRef ref, const Visit& visit) {
    const ktWideBvhNode& node = nodeAt(view, ref);
    for (std::uint32_t child = 0; child < Limits::children; ++child)
        if (node.child[child])
            visit(node.child[child] | (ref & ktTwoLevelLayout::instanceMask), childBox(node, child));
}

/// Leaves of the upper level: nodes whose children are subtrees, or one subtree.
class SubtreeLeafWriter : public ktLeafWriter {
public:
    explicit SubtreeLeafWriter(const std::vector<ktSubtree>& subtrees_) : subtrees(subtrees_) {}

    std::uint32_t cacheLineCount(const ktBinaryBvhLeaf& leaf) const override {
        return leaf.count == 1 ? 0 : sizeof(ktWideBvhNode) / sizeof(ktCacheLine);
    }

    ktWideBvhRef write(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const override {
        if (leaf.count == 1)
            return refTo(leaf.ids[0]);
        std::vector<std::uint32_t> ids(leaf.ids, leaf.ids + leaf.count);
        std::sort(ids.begin(), ids.end()); // the builder's order depends on its threads
        ktWideBvhNode* const node = new (to) ktWideBvhNode;
        ktClearWideNode(*node);
        for (std::uint32_t i = 0; i < ids.size(); ++i)
            ktSetWideChild(*node, i, subtrees[ids[i]].box, refTo(ids[i]));
        return reinterpret_cast<std::uintptr_t>(node) | Limits::nodeFlags;
    }

private:
    static ktWideBvhRef refTo(std::uint32_t subtree) {
        return ktTopLevelLeaf | ktWideBvhRef(subtree) << Limits::addressShift;
    }

    const std::vector<ktSubtree>& subtrees;
};

} // namespace

ktBvhBox ktWorldBox(const ktBvhView& view, ktWideBvhRef ref, const ktBvhBox& objectBox, int levels) {
    const ktWideBvhRef instance = ref >> ktTwoLevelLayout::instanceShift;
    if (!instance)
        return objectBox;
    if (isLeaf(ref) || levels == 0)
        return transformed(view.instances[instance - 1], objectBox);
    const float huge = std::numeric_limits<float>::max();
    ktBvhBox world{{huge, huge, huge}, {-huge, -huge, -huge}};
    forEachChild(view, ref, [&](ktWideBvhRef child, const ktBvhBox& box) {
        join(world, ktWorldBox(view, child, box, levels - 1));
    });
    return world;
}

void ktOpenSubtrees(const ktBvhView& view, std::size_t targetCount, std::vector<ktSubtree>& subtrees) {
    struct Candidate {
        float area;
        std::size_t index;
        bool operator<(const Candidate& other) const {
            return area < other.area || (area == other.area && index > other.index);
        }
    };
    std::priority_queue<Candidate> largest;
    const auto consider = [&](std::size_t index) {
        const float area = halfArea(subtrees[index].box);
        if (!isLeaf(subtrees[index].ref) && std::isfinite(area))
            largest.push({area, index});
    };
    for (std::size_t i = 0; i < subtrees.size(); ++i)
        consider(i);
    while (!largest.empty() && subtrees.size() < targetCount) {
        const std::size_t index = largest.top().index;
        largest.pop();
        bool isFirst = true;
        forEachChild(view, subtrees[index].ref, [&](ktWideBvhRef child, const ktBvhBox& box) {
            const std::size_t to = isFirst ? index : subtrees.size();
            if (!isFirst)
                subtrees.emplace_back();
            isFirst = false;
            subtrees[to] = {child, ktWorldBox(view, child, box, 1)};
            consider(to);
        });
    }
}

ktWideBvhArrays ktBuildTopLevel(const std::vector<ktSubtree>& subtrees, std::uint32_t maxLevels,
                                ktBuildProgress& progress) {
    const SubtreeLeafWriter leafWriter(subtrees);
    const auto goOn = [&](float) { return progress.goOn(1.0f); };
    for (const ktBinaryBvh::Kind kind : {ktBinaryBvh::Kind::Sah, ktBinaryBvh::Kind::Median}) {
        ktBvhPrimitives primitives;
        for (std::size_t i = 0; i < subtrees.size(); ++i) {
            ktBvhPrimitive primitive{};
            std::copy_n(subtrees[i].box.lower, 3, primitive.lower);
            std::copy_n(subtrees[i].box.upper, 3, primitive.upper);
            primitive.id = static_cast<std::uint32_t>(i);
            primitives.push_back(primitive);
        }
        ktBinaryBvh binary;
        try {
            if (!binary.build(kind, primitives, {}, goOn) || !binary.root())
                return {};
        } catch (const std::runtime_error&) { // too deep
            if (kind == ktBinaryBvh::Kind::Median)
                throw;
            continue;
        }
        if (kind == ktBinaryBvh::Kind::Sah) // it may make the tree deeper
            ktReinsertNodes(binary.root(), progress, 1.0f);
        if (progress.isStopped())
            return {};
        ktWideBvhArrays arrays = ktWriteWideBvh(binary, leafWriter, progress, 1.0f);
        ++arrays.levels; // its leaves are nodes
        if (progress.isStopped())
            return {};
        if (arrays.levels <= maxLevels)
            return arrays;
    }
    return {};
}
