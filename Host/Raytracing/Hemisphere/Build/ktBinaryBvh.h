// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLargeArray.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

/// Axis-aligned box; same unit as the positions it was made from.
struct ktBvhBox {
    float lower[3];
    float upper[3];
};

/// What a tree is built over: a box and the number of what is inside. Layout as the library wants it.
struct alignas(32) ktBvhPrimitive {
    float lower[3];
    std::uint32_t group; ///< 0; the library counts its splits in the upper bits
    float upper[3];
    std::uint32_t id;
};

/// The elements that resize() adds are not initialized.
using ktBvhPrimitives = ktLargeArray<ktBvhPrimitive>;

struct ktBinaryBvhLeaf {
    static constexpr std::uint32_t maxCount = 8;
    std::uint32_t count;
    std::uint32_t ids[maxCount];
    std::uint32_t cacheLines; ///< room for ktBvhCollapse: its cache lines, written
};

/// Inner node of a binary tree. A child is a node or a leaf; see ktBinaryBvh.
struct ktBinaryBvhNode {
    ktBvhBox box[2];
    std::uintptr_t child[2];
    /// Room for those who work on a finished tree, one after the other.
    union {
        struct {
            std::uintptr_t parent; ///< 0 for the root
            std::uint32_t height;  ///< levels from this node to its deepest leaf, both counted
        } links;                   ///< of ktReinsertNodes
        float cost[8];             ///< of ktBvhCollapse: [places in the node above], while these are calculated
        std::size_t size[2];       ///< afterwards: nodes of eight and cache lines of leaves of the subtree, of a node
                                   ///< that becomes one
    };
    std::uint8_t leftSlots[9]; ///< [places]: how many of them the first child gets; 0: opening does not pay
};

/// A binary bounding volume hierarchy, as a rule built by Embree (surface-area heuristic). Lives as long as this
/// object.
class ktBinaryBvh {
public:
    /// Cuts a primitive at `position` on `axis` into the boxes of both parts; called from many threads.
    using Split = std::function<void(std::uint32_t id, int axis, float position, const ktBvhBox& box, ktBvhBox& left,
                                     ktBvhBox& right)>;
    /// Called now and then, from any thread, with the share done (0 to 1); false stops the build.
    using Progress = std::function<bool(float)>;

    /// Levels of the deepest tree.
    static constexpr unsigned maxDepth = 96;

    ktBinaryBvh();
    ~ktBinaryBvh();
    ktBinaryBvh(const ktBinaryBvh&) = delete;
    ktBinaryBvh& operator=(const ktBinaryBvh&) = delete;

    enum class Kind {
        Sah,    ///< quick to trace: split where it costs least; may get too deep where sizes differ by 2^90 and more
        Median, ///< halved by count: at most 30 levels; cuts nothing, asks the library for nothing
    };

    /// @param primitives are reordered and, with `split`, cut; with `split` primitives may be referenced by several
    /// leaves, and room for as
    ///                   many again is taken
    /// @return false when `progress` stopped it, the tree is then empty
    /// @throws std::runtime_error when the library fails or the tree gets deeper than maxDepth
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
    std::deque<ktBinaryBvhNode> medianNodes; // of a shallow tree
    std::deque<ktBinaryBvhLeaf> medianLeaves;
    std::uintptr_t rootNode = 0;
};
