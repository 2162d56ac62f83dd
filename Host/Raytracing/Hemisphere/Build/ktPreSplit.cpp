// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits a triangle while its excess area is above a threshold. A histogram gives the threshold.
#include "ktPreSplit.h"

#include "ktParallel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

/// A part of a triangle.
struct Polygon {
    static constexpr std::uint32_t maxCorners = 32; // each split adds at most one corner
    std::array<double, 3> corner[maxCorners];
    std::uint32_t count = 0;
    void add(const std::array<double, 3>& point) { corner[count++] = point; }
};

constexpr std::uint32_t maxSplits = Polygon::maxCorners - 3; // per triangle and path

ktBvhBox boxOf(const Polygon& polygon) {
    const float huge = std::numeric_limits<float>::max();
    ktBvhBox box{{huge, huge, huge}, {-huge, -huge, -huge}};
    for (std::uint32_t i = 0; i < polygon.count; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const float value = static_cast<float>(polygon.corner[i][axis]);
            box.lower[axis] = std::min(box.lower[axis], value);
            box.upper[axis] = std::max(box.upper[axis], value);
        }
    }
    return box;
}

// Half the surface area of the box, less the least that boxes around any parts of the polygon can have in total: the
// areas of its projections along the axes.
double excessAreaOf(const Polygon& polygon, const ktBvhBox& box) {
    const double x = double(box.upper[0]) - box.lower[0], y = double(box.upper[1]) - box.lower[1],
                 z = double(box.upper[2]) - box.lower[2];
    std::array<double, 3> area{};
    const auto& o = polygon.corner[0];
    for (std::uint32_t i = 1; i + 1 < polygon.count; ++i) {
        const auto &a = polygon.corner[i], &b = polygon.corner[i + 1];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
            area[axis] += 0.5 * ((a[u] - o[u]) * (b[v] - o[v]) - (a[v] - o[v]) * (b[u] - o[u]));
        }
    }
    return x * y + y * z + z * x - std::fabs(area[0]) - std::fabs(area[1]) - std::fabs(area[2]);
}

/// The plane of the coarsest power-of-two grid between two coordinates; the middle if there is none.
double gridPlane(double low, double high) {
    int exponent = 0;
    std::frexp(high - low, &exponent);
    for (int finer = 0; finer < 3; ++finer) {
        const double step = std::ldexp(1.0, exponent - finer), plane = (std::floor(low / step) + 1) * step;
        if (plane > low && plane < high)
            return plane;
    }
    return 0.5 * (low + high);
}

void splitPolygon(const Polygon& polygon, std::size_t axis, double plane, Polygon& below, Polygon& above) {
    for (std::uint32_t i = 0; i < polygon.count; ++i) {
        const auto &a = polygon.corner[i], &b = polygon.corner[(i + 1) % polygon.count];
        if (a[axis] <= plane)
            below.add(a);
        if (a[axis] >= plane)
            above.add(a);
        if ((a[axis] < plane && b[axis] > plane) || (a[axis] > plane && b[axis] < plane)) {
            const double t = (plane - a[axis]) / (b[axis] - a[axis]);
            std::array<double, 3> crossing;
            for (std::size_t k = 0; k < 3; ++k)
                crossing[k] = a[k] + t * (b[k] - a[k]);
            crossing[axis] = plane;
            below.add(crossing);
            above.add(crossing);
        }
    }
}

struct Splitter {
    double maxExcess;
    std::uint32_t id;
    std::vector<ktBvhPrimitive>& parts;

    void split(const Polygon& polygon, std::uint32_t splitCount) {
        const ktBvhBox box = boxOf(polygon);
        if (splitCount < maxSplits && excessAreaOf(polygon, box) > maxExcess) {
            std::size_t axis = 0;
            for (std::size_t k = 1; k < 3; ++k)
                if (box.upper[k] - box.lower[k] > box.upper[axis] - box.lower[axis])
                    axis = k;
            const double plane = gridPlane(box.lower[axis], box.upper[axis]);
            Polygon below, above;
            splitPolygon(polygon, axis, plane, below, above);
            if (below.count > 2 && above.count > 2) {
                split(below, splitCount + 1);
                split(above, splitCount + 1);
                return;
            }
        }
        parts.push_back(
            {{box.lower[0], box.lower[1], box.lower[2]}, 0, {box.upper[0], box.upper[1], box.upper[2]}, id});
    }
};

constexpr int binCount = 512; // two bins per power of two
constexpr int middleBin = binCount / 2;

int binOf(double excess) {
    return std::clamp(static_cast<int>(2 * std::log2(excess)) + middleBin, 0, binCount - 1);
}

double binUpperBound(int bin) {
    return std::exp2((bin - middleBin + 1) / 2.0);
}

} // namespace

void ktPreSplitTriangles(ktBvhPrimitives& primitives, double extraShare,
                         const std::function<void(std::uint32_t id, const float* corner[3])>& corners) {
    const auto polygonOf = [&](const ktBvhPrimitive& primitive) {
        const float* corner[3];
        corners(primitive.id, corner);
        Polygon polygon;
        for (const float* p : corner)
            polygon.add({p[0], p[1], p[2]});
        return polygon;
    };
    constexpr std::size_t chunkSize = 4096;
    const std::size_t chunks = (primitives.size() + chunkSize - 1) / chunkSize;
    std::vector<float> excess(primitives.size());
    ktParallel::forRange(chunks, 1, [&](std::size_t first, std::size_t last) {
        for (std::size_t i = first * chunkSize; i < std::min(last * chunkSize, primitives.size()); ++i) {
            const Polygon polygon = polygonOf(primitives[i]);
            excess[i] = static_cast<float>(excessAreaOf(polygon, boxOf(polygon)));
        }
    });

    // Finds the lowest threshold that does not give too many parts: a triangle gives about excess / threshold parts.
    // Counts in bins, so that sums do not depend on their order.
    std::vector<std::size_t> count(binCount);
    for (float w : excess)
        if (w > 0)
            ++count[static_cast<std::size_t>(binOf(w))];
    int thresholdBin = binCount - 1;
    for (; thresholdBin > 0; --thresholdBin) {
        double parts = 0;
        for (int c = thresholdBin; c < binCount; ++c)
            parts += static_cast<double>(count[static_cast<std::size_t>(c)]) * binUpperBound(c) /
                     binUpperBound(thresholdBin - 1);
        if (parts > extraShare * static_cast<double>(primitives.size()))
            break;
    }
    const double maxExcess = binUpperBound(thresholdBin);

    std::vector<std::vector<ktBvhPrimitive>> parts(chunks);
    ktParallel::forRange(chunks, 1, [&](std::size_t first, std::size_t last) {
        for (std::size_t chunk = first; chunk < last; ++chunk) {
            for (std::size_t i = chunk * chunkSize; i < std::min((chunk + 1) * chunkSize, primitives.size()); ++i) {
                if (!(excess[i] > maxExcess))
                    continue;
                Splitter{maxExcess, primitives[i].id, parts[chunk]}.split(polygonOf(primitives[i]), 0);
                primitives[i] = parts[chunk].back(); // one part replaces the triangle
                parts[chunk].pop_back();
            }
        }
    });
    for (const std::vector<ktBvhPrimitive>& more : parts)
        primitives.insert(primitives.end(), more.begin(), more.end());
}
