// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls Embree's builder, or splits at the median.
#include "ktBinaryBvh.h"

#include "ktLoopOrder.h"
#include "ktMemoryShortage.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

static_assert(sizeof(ktBvhPrimitive) == sizeof(RTCBuildPrimitive), "Embree gets our primitives without a copy");
static_assert(sizeof(std::size_t) == 8, "leaf pointers carry a tag");

struct ktBinaryBvh::Embree {
    RTCDevice device = nullptr;
    RTCBVH bvh = nullptr;
    ~Embree() {
        if (bvh)
            rtcReleaseBVH(bvh);
        if (device)
            rtcReleaseDevice(device);
    }
};

namespace {

// What Embree's builder calls on its threads, and what it needs for that.
struct Callbacks {
    ktLoopOrder order;
    const ktBinaryBvh::Split* split;
    const ktBinaryBvh::Progress* progress;
    std::atomic<bool> stopped{false};
    std::atomic<bool> isOutOfMemory{false};
};

ktLoopOrder::Part beginPart(void* user) {
    return ktLoopOrder::Part(static_cast<Callbacks*>(user)->order);
}

void* allocate(RTCThreadLocalAllocator allocator, std::size_t size, void* user) {
    if (void* const memory = rtcThreadLocalAlloc(allocator, size, 16))
        return memory;
    ktMemoryShortage::report();
    static_cast<Callbacks*>(user)->isOutOfMemory = true; // Embree's builder catches the exception and fails
    throw std::bad_alloc();
}

void* createNode(RTCThreadLocalAllocator allocator, unsigned, void* user) {
    const ktLoopOrder::Part part = beginPart(user);
    return new (allocate(allocator, sizeof(ktBinaryBvhNode), user)) ktBinaryBvhNode{};
}

void setChildren(void* node, void** children, unsigned count, void* user) {
    const ktLoopOrder::Part part = beginPart(user);
    for (unsigned i = 0; i < count; ++i)
        static_cast<ktBinaryBvhNode*>(node)->child[i] = reinterpret_cast<std::uintptr_t>(children[i]);
}

// Called before the node's children exist. So the boxes are in the parent.
void setBounds(void* node, const RTCBounds** bounds, unsigned count, void* user) {
    const ktLoopOrder::Part part = beginPart(user);
    for (unsigned i = 0; i < count; ++i)
        static_cast<ktBinaryBvhNode*>(node)->box[i] = {{bounds[i]->lower_x, bounds[i]->lower_y, bounds[i]->lower_z},
                                                       {bounds[i]->upper_x, bounds[i]->upper_y, bounds[i]->upper_z}};
}

void* createLeaf(RTCThreadLocalAllocator allocator, const RTCBuildPrimitive* primitives, std::size_t count,
                 void* user) {
    const ktLoopOrder::Part part = beginPart(user);
    ktBinaryBvhLeaf* leaf = new (allocate(allocator, sizeof(ktBinaryBvhLeaf), user)) ktBinaryBvhLeaf;
    leaf->count = static_cast<std::uint32_t>(count);
    for (std::size_t i = 0; i < count; ++i)
        leaf->ids[i] = primitives[i].primID;
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(leaf) | 1);
}

void splitPrimitive(const RTCBuildPrimitive* p, unsigned axis, float position, RTCBounds* left, RTCBounds* right,
                    void* user) {
    const ktLoopOrder::Part part = beginPart(user);
    const ktBvhBox box{{p->lower_x, p->lower_y, p->lower_z}, {p->upper_x, p->upper_y, p->upper_z}};
    ktBvhBox l, r;
    (*static_cast<Callbacks*>(user)->split)(p->primID, static_cast<int>(axis), position, box, l, r);
    *left = {l.lower[0], l.lower[1], l.lower[2], 0, l.upper[0], l.upper[1], l.upper[2], 0};
    *right = {r.lower[0], r.lower[1], r.lower[2], 0, r.upper[0], r.upper[1], r.upper[2], 0};
}

bool reportProgress(void* user, double share) {
    const ktLoopOrder::Part part = beginPart(user);
    Callbacks& callbacks = *static_cast<Callbacks*>(user);
    if (*callbacks.progress && !(*callbacks.progress)(static_cast<float>(share)))
        callbacks.stopped = true;
    // Embree's builder ignores the result, but it catches exceptions and ends soon.
    if (callbacks.stopped)
        throw std::runtime_error("stopped");
    return true;
}

} // namespace

ktBinaryBvh::ktBinaryBvh() = default;
ktBinaryBvh::~ktBinaryBvh() = default;

bool ktBinaryBvh::build(Kind kind, ktBvhPrimitives& primitives, const Split& split, const Progress& progress) {
    rootNode = 0;
    embree.reset();
    medianNodes.clear();
    medianLeaves.clear();
    if (primitives.empty())
        return true;
    if (kind == Kind::Median) {
        ktBvhBox box;
        rootNode = splitAtMedian(primitives.data(), primitives.data() + primitives.size(), box);
        return !progress || progress(1.0f);
    }
    embree = std::make_unique<Embree>();
    // A cache for subdivision surfaces, which we do not have: if the system has no memory for it, Embree keeps a lock
    // for ever.
    embree->device = rtcNewDevice("tessellation_cache_size=0");
    embree->bvh = embree->device ? rtcNewBVH(embree->device) : nullptr;
    if (!embree->bvh)
        throw std::runtime_error("the ray tracing embree cannot be started");

    Callbacks callbacks;
    callbacks.split = &split;
    callbacks.progress = &progress;
    const std::size_t count = primitives.size();
    if (split)
        primitives.resize(count + count / 4);

    RTCBuildArguments arguments = rtcDefaultBuildArguments();
    arguments.buildQuality = split ? RTC_BUILD_QUALITY_HIGH : RTC_BUILD_QUALITY_MEDIUM;
    arguments.maxBranchingFactor = 2;
    arguments.maxDepth = maxDepth;
    arguments.sahBlockSize = 8;
    arguments.minLeafSize = 1;
    arguments.maxLeafSize = ktBinaryBvhLeaf::maxCount;
    arguments.traversalCost = 1.0f;
    arguments.intersectionCost = 1.0f;
    arguments.bvh = embree->bvh;
    arguments.primitives = reinterpret_cast<RTCBuildPrimitive*>(primitives.data());
    arguments.primitiveCount = count;
    arguments.primitiveArrayCapacity = primitives.size();
    arguments.createNode = createNode;
    arguments.setNodeChildren = setChildren;
    arguments.setNodeBounds = setBounds;
    arguments.createLeaf = createLeaf;
    arguments.splitPrimitive = split ? splitPrimitive : nullptr;
    arguments.buildProgress = reportProgress;
    arguments.userPtr = &callbacks;
    rootNode = reinterpret_cast<std::uintptr_t>(rtcBuildBVH(&arguments));
    callbacks.order.end();
    if (rootNode)
        return true;
    embree->bvh = (rtcReleaseBVH(embree->bvh), nullptr);
    if (callbacks.stopped)
        return false;
    const RTCError error = rtcGetDeviceError(embree->device);
    if (callbacks.isOutOfMemory || error == RTC_ERROR_OUT_OF_MEMORY) {
        ktMemoryShortage::report();
        throw std::bad_alloc();
    }
    throw std::runtime_error("the ray tracing embree could not build the structure (error " +
                             std::to_string(static_cast<int>(error)) + ")");
}

// Splits at the median of the centroids, on the axis of their largest extent.
std::uintptr_t ktBinaryBvh::splitAtMedian(ktBvhPrimitive* first, ktBvhPrimitive* last, ktBvhBox& box) {
    const float huge = std::numeric_limits<float>::max();
    ktBvhBox centroids{{huge, huge, huge}, {-huge, -huge, -huge}};
    box = centroids;
    for (const ktBvhPrimitive* p = first; p != last; ++p) {
        for (int axis = 0; axis < 3; ++axis) {
            box.lower[axis] = std::min(box.lower[axis], p->lower[axis]);
            box.upper[axis] = std::max(box.upper[axis], p->upper[axis]);
            centroids.lower[axis] = std::min(centroids.lower[axis], p->lower[axis] + p->upper[axis]);
            centroids.upper[axis] = std::max(centroids.upper[axis], p->lower[axis] + p->upper[axis]);
        }
    }
    const std::ptrdiff_t count = last - first;
    if (count <= static_cast<std::ptrdiff_t>(ktBinaryBvhLeaf::maxCount)) {
        ktBinaryBvhLeaf& leaf = medianLeaves.emplace_back();
        for (leaf.count = 0; first != last; ++first)
            leaf.ids[leaf.count++] = first->id;
        return reinterpret_cast<std::uintptr_t>(&leaf) | 1;
    }
    int widest = 0;
    for (int axis = 1; axis < 3; ++axis)
        if (centroids.upper[axis] - centroids.lower[axis] > centroids.upper[widest] - centroids.lower[widest])
            widest = axis;
    std::nth_element(first, first + count / 2, last, [&](const ktBvhPrimitive& a, const ktBvhPrimitive& b) {
        const float x = a.lower[widest] + a.upper[widest], y = b.lower[widest] + b.upper[widest];
        return x < y || (x == y && a.id < b.id);
    });
    ktBinaryBvhNode& node = medianNodes.emplace_back();
    node.child[0] = splitAtMedian(first, first + count / 2, node.box[0]);
    node.child[1] = splitAtMedian(first + count / 2, last, node.box[1]);
    return reinterpret_cast<std::uintptr_t>(&node);
}
