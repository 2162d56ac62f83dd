// SPDX-License-Identifier: LGPL-2.1-or-later
// The steps of a build: boxes, splits, binary tree, reinsertion, collapse.
#include "ktWideBvh.h"

#include "ktBinaryBvh.h"
#include "ktBvhReinsertion.h"
#include "ktParallel.h"
#include "ktPreSplit.h"
#include "ktTriangleBoxes.h"
#include "ktTriangleCorners.h"
#include "ktTriangleSplit.h"

#include <algorithm>
#include <stdexcept>

namespace {

// Triangles are split only if their sizes differ by this much. On assemblies with large thin triangles, splitting makes
// tracing a sixth faster; on scans it gains nothing.
constexpr double minSizeSpread = 2.0;

// Up to this many triangles, Embree's builder chooses the splits, which makes it five times slower. Above, triangles
// are split before the build: nearly as good, in almost no time.
constexpr std::size_t maxSplitBuildTriangles = 1000000;
constexpr double maxExtraParts = 0.1; // as a share of the triangles

// Share of the build that is done after each step.
constexpr float collected = 0.05f, binaryBuilt = 0.75f, reinserted = 0.8f;

struct Stopped {};

// Builds the binary tree. Returns false if it was stopped.
bool buildBinary(ktBinaryBvh& binary, bool atMedian, const std::vector<ktTracerMesh>& meshes,
                 const ktTriangleNumbers& numbers, ktBuildProgress& progress) try {
    ktTriangleBoxes primitives = ktCollectTriangleBoxes(meshes, numbers, maxExtraParts, progress, collected);
    if (progress.isStopped() || primitives.boxes.empty())
        return !progress.isStopped();
    ktBinaryBvh::Split split;
    const bool splits = primitives.sizeSpread >= minSizeSpread;
    if (splits && primitives.boxes.size() <= maxSplitBuildTriangles)
        split = [&](std::uint32_t id, int axis, float position, const ktBvhBox& box, ktBvhBox& left, ktBvhBox& right) {
            ktSplitTriangle(ktTriangleCorners(meshes, numbers, id).p, axis, position, box, left, right);
        };
    else if (splits)
        ktPreSplitTriangles(primitives.boxes, maxExtraParts, [&](std::uint32_t id, const float* corner[3]) {
            if (id % 4096 == 0 && !progress.goOn(collected))
                throw Stopped();
            const ktTriangleCorners corners(meshes, numbers, id);
            std::copy(corners.p, corners.p + 3, corner);
        });
    const auto goOn = [&](float share) { return progress.goOn(collected + (binaryBuilt - collected) * share); };
    try {
        if (!atMedian)
            return binary.build(ktBinaryBvh::Kind::Sah, primitives.boxes, split, goOn);
    } catch (const std::runtime_error&) {
        // Too deep, for instance a hundred scales of triangles inside each other. Any other error occurs again.
    }
    primitives = {};
    primitives = ktCollectTriangleBoxes(meshes, numbers, 0, progress, collected);
    return !progress.isStopped() && binary.build(ktBinaryBvh::Kind::Median, primitives.boxes, {}, goOn);
} catch (const Stopped&) {
    return false;
}

} // namespace

ktWideBvhArrays ktBuildTriangleBvh(const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers,
                                   const ktLeafWriter& leafWriter, ktBuildProgress& progress, std::uint32_t maxLevels) {
    for (const bool atMedian : {false, true}) {
        ktBinaryBvh binary;
        if (!buildBinary(binary, atMedian, meshes, numbers, progress) || !binary.root())
            return {};
        if (!atMedian) // it may make the tree deeper
            ktReinsertNodes(binary.root(), progress, binaryBuilt);
        if (progress.isStopped())
            return {};
        ktWideBvhArrays arrays = ktWriteWideBvh(binary, leafWriter, progress, reinserted);
        if (progress.isStopped())
            return {};
        if (arrays.levels <= maxLevels)
            return arrays;
    }
    return {};
}

void ktWideBvh::clear() {
    arrays = {};
    numbers.clear();
}

std::size_t ktWideBvh::memory() const {
    return arrays.nodes.capacity() * sizeof(ktWideBvhNode) + arrays.cacheLines.capacity() * sizeof(ktCacheLine) +
           numbers.memory();
}

bool ktWideBvh::build(const std::vector<ktTracerMesh>& meshes, const ktTracer::Progress& receiver,
                      ktLeafKind kind) try {
    ktBuildProgress progress(receiver);
    clear();
    if (!progress.goOn(0.0f))
        return false;
    numbers.assign(meshes);
    arrays = ktBuildTriangleBvh(meshes, numbers, ktTriangleLeafWriter(meshes, numbers, kind), progress);
    if (!progress.isStopped())
        return true;
    clear();
    return false;
} catch (...) {
    clear();
    throw;
}

ktBvhHead ktWideBvh::head() const {
    ktBvhHead head;
    head.root = arrays.root;
    head.levels = arrays.levels;
    head.count[0] = arrays.nodes.size();
    head.count[1] = arrays.cacheLines.size();
    head.address[0] = reinterpret_cast<std::uintptr_t>(arrays.nodes.data());
    head.address[1] = reinterpret_cast<std::uintptr_t>(arrays.cacheLines.data());
    return head;
}

std::vector<ktStructureImage::Part> ktWideBvh::parts() {
    return {{reinterpret_cast<char*>(arrays.nodes.data()), arrays.nodes.size() * sizeof(ktWideBvhNode)},
            {reinterpret_cast<char*>(arrays.cacheLines.data()), arrays.cacheLines.size() * sizeof(ktCacheLine)}};
}

void ktWideBvh::beginCopy(const std::vector<ktTracerMesh>& meshes, const ktBvhHead& original) {
    clear();
    numbers.assign(meshes);
    arrays.nodes.resize(original.count[0]);
    arrays.cacheLines.resize(original.count[1]);
}

// The nodes hold addresses of the original.
void ktWideBvh::endCopy(const ktBvhHead& original) {
    const ktBvhHead own = head();
    const std::uint64_t nodeBytes = original.count[0] * sizeof(ktWideBvhNode);
    const auto moved = [&](ktWideBvhRef ref) -> ktWideBvhRef {
        if (!ref)
            return 0;
        const std::size_t array = ref - original.address[0] < nodeBytes ? 0 : 1;
        return ref - original.address[array] + own.address[array];
    };
    ktParallel::forRange(arrays.nodes.size(), 1 << 12, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i)
            for (ktWideBvhRef& child : arrays.nodes[i].child)
                child = moved(child);
    });
    arrays.root = moved(original.root);
    arrays.levels = static_cast<std::uint32_t>(original.levels);
}
