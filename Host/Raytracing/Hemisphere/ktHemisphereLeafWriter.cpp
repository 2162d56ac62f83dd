// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHemisphereLeafWriter.h"

#include <algorithm>
#include <cstring>

namespace {

using Limits = ktHemisphereLimits;

std::size_t bytesOfPoints(std::uint32_t count) {
    return 3 * sizeof(float) * count;
}

std::size_t linesOf(std::uint32_t pointCount) {
    const std::size_t bytes = bytesOfPoints(pointCount) + sizeof(ktHemispherePatch);
    return (bytes + sizeof(ktHemisphereLine) - 1) / sizeof(ktHemisphereLine);
}

} // namespace

ktHemisphereLeafWriter::ktHemisphereLeafWriter(const ktBvhLeaf& leaf, const std::vector<ktTracerMesh>& meshes,
                                               const ktTriangleNumbers& numbers, ktHemisphereLeafKind leafKind)
    : kind(leafKind) {
    static_assert(ktBvhLeaf::maxCount <= Limits::patchTriangles &&
                      ktBvhLeaf::maxCount <= most * (Limits::patchPoints / 3),
                  "the patches hold any leaf");
    ktBvhLeaf sorted = leaf;
    std::sort(sorted.ids, sorted.ids + sorted.count); // the builder's order depends on its threads
    for (std::uint32_t i = 0; i < sorted.count; ++i)
        add(ktTriangleCorners(meshes, numbers, sorted.ids[i]), sorted.ids[i]);
}

void ktHemisphereLeafWriter::add(const ktTriangleCorners& corners, std::uint32_t id) {
    Patch* to = &patch[count - 1];
    std::uint32_t number[3], points = to->pointCount;
    for (int c = 0; c < 3; ++c) {
        const float* corner = corners.p[c];
        std::uint32_t i = 0;
        while (i < points && std::memcmp(to->point[i], corner, sizeof to->point[i]) != 0)
            ++i;
        if (i == Limits::patchPoints) {
            ++count;
            add(corners, id);
            return;
        }
        if (i == points)
            std::memcpy(to->point[points++], corner, sizeof to->point[i]);
        number[c] = i;
    }
    to->pointCount = points;
    const std::uint32_t lane = to->end.count++;
    for (int c = 0; c < 3; ++c)
        to->end.corner[c][lane] = static_cast<std::uint8_t>(number[c]);
    to->end.id[lane] = id;
}

std::size_t ktHemisphereLeafWriter::lineCount() const {
    if (kind == ktHemisphereLeafKind::Wide)
        return sizeof(ktHemisphereWideLeaf) / sizeof(ktHemisphereLine);
    std::size_t lines = 0;
    for (std::uint32_t i = 0; i < count; ++i)
        lines += linesOf(patch[i].pointCount);
    return lines;
}

ktHemisphereRef ktHemisphereLeafWriter::write(ktHemisphereLine* to) const {
    if (kind == ktHemisphereLeafKind::Wide)
        return writeWide(to);
    const ktHemisphereRef ref =
        reinterpret_cast<std::uintptr_t>(to) | (patch[0].pointCount - 1) << Limits::pointShift | Limits::leafFlag;
    for (std::uint32_t i = 0; i < count; ++i) {
        const Patch& from = patch[i];
        char bytes[sizeof(ktHemisphereLine) * 4] = {};
        for (std::uint32_t p = 0; p < from.pointCount; ++p)
            for (std::uint32_t axis = 0; axis < 3; ++axis)
                std::memcpy(bytes + sizeof(float) * (axis * from.pointCount + p), &from.point[p][axis], sizeof(float));
        ktHemispherePatch end = from.end;
        end.nextPoints = i + 1 < count ? patch[i + 1].pointCount : 0;
        std::memcpy(bytes + bytesOfPoints(from.pointCount), &end, sizeof end);
        const std::size_t lines = linesOf(from.pointCount);
        std::memcpy(to, bytes, lines * sizeof(ktHemisphereLine));
        to += lines;
    }
    return ref;
}

ktHemisphereRef ktHemisphereLeafWriter::writeWide(ktHemisphereLine* to) const {
    ktHemisphereWideLeaf leaf{};
    std::uint32_t lane = 0;
    for (std::uint32_t p = 0; p < count; ++p) {
        for (std::uint32_t i = 0; i < patch[p].end.count; ++i, ++lane) {
            for (std::uint32_t c = 0; c < 3; ++c)
                for (std::uint32_t axis = 0; axis < 3; ++axis)
                    leaf.corner[c][axis][lane] = patch[p].point[patch[p].end.corner[c][i]][axis];
            leaf.id[lane] = patch[p].end.id[i];
        }
    }
    std::memcpy(to, &leaf, sizeof leaf);
    return reinterpret_cast<std::uintptr_t>(to) | Limits::leafFlag | Limits::wideFlag | Limits::nodeFlags;
}
