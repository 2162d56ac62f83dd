// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes leaves, unindexed or as patches.
#include "ktLeafWriter.h"

#include "ktTriangleCorners.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using Limits = ktWideBvhLayout;

// Above this, tracing mostly waits for memory, so smaller leaves are faster.
constexpr std::uint32_t maxUnindexedTriangles = 1000000;

std::size_t pointBytes(std::uint32_t count) {
    return 3 * sizeof(float) * count;
}

std::size_t cacheLinesOf(std::uint32_t pointCount) {
    const std::size_t bytes = pointBytes(pointCount) + sizeof(ktPatchFooter);
    return (bytes + sizeof(ktCacheLine) - 1) / sizeof(ktCacheLine);
}

ktBinaryBvhLeaf sorted(ktBinaryBvhLeaf leaf) { // the builder's order depends on its threads
    std::sort(leaf.ids, leaf.ids + leaf.count);
    return leaf;
}

/// Triangles that share points: corners with equal bits are one point.
struct Patch {
    std::uint32_t pointCount = 0;
    float point[Limits::patchPoints][3];
    ktPatchFooter footer{};
};

/// The patches of a leaf.
struct Patches {
    static constexpr std::uint32_t maxPatches = 2; // eight triangles have up to 24 points
    Patch patch[maxPatches];
    std::uint32_t count = 1;

    Patches(const ktBinaryBvhLeaf& leaf, const std::vector<ktTracerMesh>& meshes, const ktTriangleNumbers& numbers) {
        static_assert(ktBinaryBvhLeaf::maxCount <= Limits::leafTriangles &&
                          ktBinaryBvhLeaf::maxCount <= maxPatches * (Limits::patchPoints / 3),
                      "the patches hold any leaf");
        const ktBinaryBvhLeaf ids = sorted(leaf);
        for (std::uint32_t i = 0; i < ids.count; ++i)
            add(ktTriangleCorners(meshes, numbers, ids.ids[i]), ids.ids[i]);
    }

private:
    void add(const ktTriangleCorners& corners, std::uint32_t id) {
        Patch* to = &patch[count - 1];
        std::uint32_t pointIndex[3], points = to->pointCount;
        for (int c = 0; c < 3; ++c) {
            const float* corner = corners.p[c];
            std::uint32_t i = 0;
            // Points are equal if their bits are. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
            while (i < points && std::memcmp(to->point[i], corner, sizeof to->point[i]) != 0)
                ++i;
            if (i == Limits::patchPoints) {
                ++count;
                add(corners, id);
                return;
            }
            if (i == points)
                std::memcpy(to->point[points++], corner, sizeof to->point[i]);
            pointIndex[c] = i;
        }
        to->pointCount = points;
        const std::uint32_t lane = to->footer.count++;
        for (int c = 0; c < 3; ++c)
            to->footer.corner[c][lane] = static_cast<std::uint8_t>(pointIndex[c]);
        to->footer.id[lane] = id;
    }
};

} // namespace

ktLeafKind ktLeafKindFor(std::uint64_t triangles) {
    return triangles > maxUnindexedTriangles ? ktLeafKind::Patches : ktLeafKind::Unindexed;
}

ktTriangleLeafWriter::ktTriangleLeafWriter(const std::vector<ktTracerMesh>& meshes_, const ktTriangleNumbers& numbers_,
                                           ktLeafKind kind_, std::vector<std::uint32_t> idOffsets_)
    : meshes(meshes_), numbers(numbers_), kind(kind_ == ktLeafKind::ByCount ? ktLeafKindFor(numbers.total()) : kind_),
      idOffsets(std::move(idOffsets_)) {}

std::uint32_t ktTriangleLeafWriter::cacheLineCount(const ktBinaryBvhLeaf& leaf) const {
    if (kind == ktLeafKind::Unindexed)
        return sizeof(ktUnindexedLeaf) / sizeof(ktCacheLine);
    const Patches patches(leaf, meshes, numbers);
    std::size_t cacheLines = 0;
    for (std::uint32_t i = 0; i < patches.count; ++i)
        cacheLines += cacheLinesOf(patches.patch[i].pointCount);
    return static_cast<std::uint32_t>(cacheLines);
}

ktWideBvhRef ktTriangleLeafWriter::write(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const {
    if (kind == ktLeafKind::Unindexed)
        return writeUnindexed(leaf, to);
    const Patches patches(leaf, meshes, numbers);
    const ktWideBvhRef ref = reinterpret_cast<std::uintptr_t>(to) |
                             (patches.patch[0].pointCount - 1) << Limits::pointShift | Limits::leafFlag;
    for (std::uint32_t i = 0; i < patches.count; ++i) {
        const Patch& from = patches.patch[i];
        char bytes[sizeof(ktCacheLine) * 4] = {};
        for (std::uint32_t p = 0; p < from.pointCount; ++p)
            for (std::uint32_t axis = 0; axis < 3; ++axis)
                std::memcpy(bytes + sizeof(float) * (axis * from.pointCount + p), &from.point[p][axis], sizeof(float));
        ktPatchFooter footer = from.footer;
        for (std::uint32_t lane = 0; lane < footer.count; ++lane)
            footer.id[lane] = idOf(footer.id[lane]);
        footer.nextPointCount = i + 1 < patches.count ? patches.patch[i + 1].pointCount : 0;
        std::memcpy(bytes + pointBytes(from.pointCount), &footer, sizeof footer);
        const std::size_t cacheLines = cacheLinesOf(from.pointCount);
        std::memcpy(to, bytes, cacheLines * sizeof(ktCacheLine));
        to += cacheLines;
    }
    return ref;
}

ktWideBvhRef ktTriangleLeafWriter::writeUnindexed(const ktBinaryBvhLeaf& leaf, ktCacheLine* to) const {
    const ktBinaryBvhLeaf ids = sorted(leaf);
    ktUnindexedLeaf leafData{};
    for (std::uint32_t i = 0; i < ids.count; ++i) {
        const ktTriangleCorners corners(meshes, numbers, ids.ids[i]);
        for (std::uint32_t c = 0; c < 3; ++c)
            for (std::uint32_t axis = 0; axis < 3; ++axis)
                leafData.corner[c][axis][i] = corners.p[c][axis];
        leafData.id[i] = idOf(ids.ids[i]);
    }
    std::memcpy(to, &leafData, sizeof leafData);
    return reinterpret_cast<std::uintptr_t>(to) | Limits::leafFlag | Limits::unindexedFlag | Limits::nodeFlags;
}
