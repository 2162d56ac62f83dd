// SPDX-License-Identifier: LGPL-2.1-or-later
// Groups vertices with equal position and normal for tracing, and sorts the groups along a space-filling curve.
#include "ktVertexGroups.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktParallelSort.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr std::size_t grain = 16384;
constexpr std::uint64_t unusableCode = ~0ull; // larger than all codes, which have 63 bits

struct Entry {
    std::uint64_t code;
    std::uint32_t vertex;
};

struct Bounds {
    float low[3], high[3];
};

bool isUsable(const float* position, const float* normal) {
    const float largest = 1.0e18f; // the limit of all tracers
    for (int i = 0; i < 3; ++i)
        if (!(std::fabs(position[i]) <= largest) || !std::isfinite(normal[i]))
            return false;
    return normal[0] != 0.0f || normal[1] != 0.0f || normal[2] != 0.0f;
}

// Inserts two zero bits between the lower 21 bits.
std::uint64_t spread(std::uint64_t x) {
    x &= 0x1FFFFF;
    x = (x | x << 32) & 0x001F00000000FFFF;
    x = (x | x << 16) & 0x001F0000FF0000FF;
    x = (x | x << 8) & 0x100F00F00F00F00F;
    x = (x | x << 4) & 0x10C30C30C30C30C3;
    return (x | x << 2) & 0x1249249249249249;
}

Bounds boundsOf(const float* positions, const float* normals, std::uint32_t count) {
    Bounds bounds{{0, 0, 0}, {0, 0, 0}};
    bool any = false;
    for (std::size_t i = 0; i < count; ++i) {
        if (i % grain == 0)
            ktThrowIfCanceled();
        const float* p = positions + 3 * i;
        if (!isUsable(p, normals + 3 * i))
            continue;
        for (int axis = 0; axis < 3; ++axis) {
            bounds.low[axis] = any ? std::min(bounds.low[axis], p[axis]) : p[axis];
            bounds.high[axis] = any ? std::max(bounds.high[axis], p[axis]) : p[axis];
        }
        any = true;
    }
    return bounds;
}

// The bits of a float, the same for 0 and -0. Ordering by bits works with denormals-are-zero, too.
std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits == 0x80000000u ? 0u : bits;
}

// Compares the bits of three floats: -1, 0 or 1.
int compare(const float* a, const float* b) {
    for (int i = 0; i < 3; ++i) {
        const std::uint32_t left = bitsOf(a[i]), right = bitsOf(b[i]);
        if (left != right)
            return left < right ? -1 : 1;
    }
    return 0;
}

} // namespace

ktOneRing ktVertexGroups::oneRingOf(std::size_t group, const ktOneRing* oneRings) const {
    ktOneRing sum;
    for (std::uint32_t i = starts[group]; oneRings && i < starts[group + 1]; ++i)
        sum.add(oneRings[order[i]]);
    return sum;
}

ktVertexGroups ktGroupVertices(const float* positions, const float* normals, std::uint32_t count) {
    const Bounds bounds = boundsOf(positions, normals, count);
    double size = 0;
    for (int axis = 0; axis < 3; ++axis)
        size = std::max(size, double(bounds.high[axis]) - bounds.low[axis]);
    const double cells = size > 0 ? 2097151.0 / size : 0.0; // 21 bits per axis

    std::vector<Entry> entries(count);
    ktParallel::forRange(count, grain, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i) {
            const float* p = positions + 3 * i;
            std::uint64_t code = unusableCode;
            if (isUsable(p, normals + 3 * i)) {
                code = 0;
                for (int axis = 0; axis < 3; ++axis)
                    code |= spread(static_cast<std::uint64_t>((double(p[axis]) - bounds.low[axis]) * cells)) << axis;
            }
            entries[i] = {code, static_cast<std::uint32_t>(i)};
        }
    });

    const auto compareVertices = [&](std::uint32_t a, std::uint32_t b) {
        const int byPosition = compare(positions + 3 * std::size_t(a), positions + 3 * std::size_t(b));
        return byPosition != 0 ? byPosition : compare(normals + 3 * std::size_t(a), normals + 3 * std::size_t(b));
    };
    ktParallel::sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
        ktThrowIfCanceled(); // sorting millions takes longer than a cancel may take
        if (a.code != b.code)
            return a.code < b.code;
        const int order = a.code == unusableCode ? 0 : compareVertices(a.vertex, b.vertex);
        return order != 0 ? order < 0 : a.vertex < b.vertex;
    });

    ktVertexGroups groups;
    groups.order.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (i % grain == 0)
            ktThrowIfCanceled();
        const std::uint32_t vertex = entries[i].vertex;
        if (entries[i].code == unusableCode) {
            groups.unusable.push_back(vertex);
            continue;
        }
        if (groups.order.empty() || entries[i].code != entries[i - 1].code ||
            compareVertices(groups.order.back(), vertex) != 0)
            groups.starts.push_back(static_cast<std::uint32_t>(groups.order.size()));
        groups.order.push_back(vertex);
    }
    groups.starts.push_back(static_cast<std::uint32_t>(groups.order.size()));
    return groups;
}
