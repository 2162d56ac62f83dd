// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLargeArray.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

/// Axis-aligned box, in the unit of the positions that it is around.
struct ktBvhBox {
    float lower[3];
    float upper[3];
};

/// What a tree is built over: the box of a triangle, or of a part of it. Embree requires this layout.
struct alignas(32) ktBvhPrimitive {
    float lower[3];
    std::uint32_t group; ///< 0; Embree counts splits in the upper bits
    float upper[3];
    std::uint32_t id;
};

/// New elements of resize() are uninitialized.
using ktBvhPrimitives = ktLargeArray<ktBvhPrimitive>;

struct ktBinaryBvhLeaf {
    static constexpr std::uint32_t maxCount = 8;
    std::uint32_t count;
    std::uint32_t ids[maxCount];
    std::uint32_t cacheLines; ///< for ktBvhCollapse: what the leaf takes when written
};

/// Inner node of a binary tree. A child is a node or a leaf; see ktBinaryBvh::isLeaf().
struct ktBinaryBvhNode {
    ktBvhBox box[2];
    std::uintptr_t child[2];
    /// The steps after the build use this memory one after the other.
    union {
        struct {
            std::uintptr_t parent; ///< 0 for the root
            std::uint32_t height;  ///< levels from this node to its deepest leaf, both included
        } links;                   ///< for ktReinsertNodes
        float cost[8];             ///< for ktBvhCollapse, first: least cost with [that many] child slots
        std::size_t size[2];       ///< for ktBvhCollapse, then: wide nodes and cache lines of the subtree
    };
    std::uint8_t leftSlots[9]; ///< [child slots]: how many of them the first child gets; 0: the node is not opened
};

/// A binary bounding volume hierarchy (BVH). Embree builds it as a rule. This object owns nodes and leaves.
class ktBinaryBvh {
public:
    /// Splits a primitive at `position` on `axis` and returns the boxes of both parts. Called from many threads.
    using Split = std::function<void(std::uint32_t id, int axis, float position, const ktBvhBox& box, ktBvhBox& left,
                                     ktBvhBox& right)>;
    /// Called now and then, from any thread, with the share done (0 to 1). Returning false stops the build.
    using Progress = std::function<bool(float)>;

    /// Levels of the deepest tree.
    static constexpr unsigned maxDepth = 96;

    ktBinaryBvh();
    ~ktBinaryBvh();
    ktBinaryBvh(const ktBinaryBvh&) = delete;
    ktBinaryBvh& operator=(const ktBinaryBvh&) = delete;

    enum class Kind {
        Sah,    ///< surface area heuristic; may get too deep if triangle sizes differ by 2^90 or more
        Median, ///< split at the median: at most 30 levels; no spatial splits, no Embree
    };

    /// @param primitives reordered. With `split`, they are split too: several leaves may refer to one primitive, and
    ///                   the array grows by a quarter
    /// @return false if `progress` stopped it; the tree is then empty
    /// @throws std::runtime_error if Embree fails or the tree gets deeper than maxDepth
    bool build(Kind kind, ktBvhPrimitives& primitives, const Split& split, const Progress& progress);

    /// 0 for an empty tree.
    std::uintptr_t root() const { return rootNode; }
    static bool isLeaf(std::uintptr_t node) { return node & 1; }
    static ktBinaryBvhLeaf& leaf(std::uintptr_t node) {
        return *reinterpret_cast<ktBinaryBvhLeaf*>(node & ~std::uintptr_t(1));
    }
    static ktBinaryBvhNode& node(std::uintptr_t node) { return *reinterpret_cast<ktBinaryBvhNode*>(node); }

private:
    std::uintptr_t splitAtMedian(ktBvhPrimitive* first, ktBvhPrimitive* last, ktBvhBox& box);

    struct Embree;
    std::unique_ptr<Embree> embree;
    std::deque<ktBinaryBvhNode> medianNodes; // of Kind::Median
    std::deque<ktBinaryBvhLeaf> medianLeaves;
    std::uintptr_t rootNode = 0;
};
