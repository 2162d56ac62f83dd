// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktWideBvh.h"

#include "ktBinaryBvh.h"
#include "ktBvhReinsertion.h"
#include "ktPreSplit.h"
#include "ktTriangleBoxes.h"
#include "ktTriangleCorners.h"
#include "ktTriangleSplit.h"

#include <algorithm>
#include <stdexcept>

namespace {

// Where the sizes of triangles differ widely, they are cut where their boxes overlap others: on assemblies of large
// thin triangles that makes tracing a sixth faster. On scans it gains nothing.
constexpr double minSizeSpread = 2.0;

// Up to this many triangles the builder chooses the cuts, which takes it five times as long; beyond, the triangles that
// gain most by it are cut beforehand, which is nearly as good and takes no time.
constexpr std::size_t maxSplitBuildTriangles = 1000000;
constexpr double maxExtraParts = 0.1; // of the number of triangles

// How far a build is when its steps end.
constexpr float collected = 0.05f, binaryBuilt = 0.75f, reinserted = 0.8f;

struct Stopped {};

} // namespace

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
    ktBinaryBvh binary;
    if (buildBinary(binary, meshes, progress)) {
        if (binary.root())
            ktReinsertNodes(binary.root(), progress, binaryBuilt);
        if (binary.root() && !progress.isStopped())
            arrays = ktWriteWideBvh(binary, meshes, numbers, kind, progress, reinserted);
        if (!progress.isStopped())
            return true;
    }
    clear();
    return false;
} catch (...) {
    clear();
    throw;
}

/// Builds the binary tree.
/// @return false when it was stopped
bool ktWideBvh::buildBinary(ktBinaryBvh& binary, const std::vector<ktTracerMesh>& meshes,
                            ktBuildProgress& progress) const try {
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
        return binary.build(ktBinaryBvh::Kind::Sah, primitives.boxes, split, goOn);
    } catch (const std::runtime_error&) {
        // Too deep, as with triangles at a hundred scales within each other; what else can go wrong goes wrong again.
        primitives = {};
        primitives = ktCollectTriangleBoxes(meshes, numbers, 0, progress, collected);
        return !progress.isStopped() && binary.build(ktBinaryBvh::Kind::Median, primitives.boxes, {}, goOn);
    }
} catch (const Stopped&) {
    return false;
}
