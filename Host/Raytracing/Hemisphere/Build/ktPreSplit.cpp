// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktPreSplit.h"

#include "ktParallel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

/// What is left of a triangle after cuts.
struct Polygon {
    static constexpr std::uint32_t most = 32; // every cut adds one corner at most
    std::array<double, 3> corner[most];
    std::uint32_t count = 0;
    void add(const std::array<double, 3>& point) { corner[count++] = point; }
};

constexpr std::uint32_t mostCuts = Polygon::most - 3; // one after the other

ktBvhBox boxOf(const Polygon& polygon) {
    const float big = std::numeric_limits<float>::max();
    ktBvhBox box{{big, big, big}, {-big, -big, -big}};
    for (std::uint32_t i = 0; i < polygon.count; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const float value = static_cast<float>(polygon.corner[i][axis]);
            box.lower[axis] = std::min(box.lower[axis], value);
            box.upper[axis] = std::max(box.upper[axis], value);
        }
    }
    return box;
}

// Half the surface of the box, less what any number of boxes around parts of the polygon must have together: its
// shadows along the axes.
double wasteOf(const Polygon& polygon, const ktBvhBox& box) {
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

/// The coarsest multiple of a power of two between two numbers; the middle where there is none.
double planeBetween(double low, double high) {
    int exponent;
    std::frexp(high - low, &exponent);
    for (int finer = 0; finer < 3; ++finer) {
        const double step = std::ldexp(1.0, exponent - finer), plane = (std::floor(low / step) + 1) * step;
        if (plane > low && plane < high)
            return plane;
    }
    return 0.5 * (low + high);
}

void cut(const Polygon& polygon, std::size_t axis, double plane, Polygon& below, Polygon& above) {
    for (std::uint32_t i = 0; i < polygon.count; ++i) {
        const auto &a = polygon.corner[i], &b = polygon.corner[(i + 1) % polygon.count];
        if (a[axis] <= plane)
            below.add(a);
        if (a[axis] >= plane)
            above.add(a);
        if ((a[axis] < plane && b[axis] > plane) || (a[axis] > plane && b[axis] < plane)) {
            const double share = (plane - a[axis]) / (b[axis] - a[axis]);
            std::array<double, 3> crossing;
            for (std::size_t k = 0; k < 3; ++k)
                crossing[k] = a[k] + share * (b[k] - a[k]);
            crossing[axis] = plane;
            below.add(crossing);
            above.add(crossing);
        }
    }
}

struct Cutter {
    double mostWaste;
    std::uint32_t id;
    std::vector<ktBvhPrimitive>& parts;

    void divide(const Polygon& polygon, std::uint32_t cuts) {
        const ktBvhBox box = boxOf(polygon);
        if (cuts < mostCuts && wasteOf(polygon, box) > mostWaste) {
            std::size_t axis = 0;
            for (std::size_t k = 1; k < 3; ++k)
                if (box.upper[k] - box.lower[k] > box.upper[axis] - box.lower[axis])
                    axis = k;
            const double plane = planeBetween(box.lower[axis], box.upper[axis]);
            Polygon below, above;
            cut(polygon, axis, plane, below, above);
            if (below.count > 2 && above.count > 2) {
                divide(below, cuts + 1);
                divide(above, cuts + 1);
                return;
            }
        }
        parts.push_back(
            {{box.lower[0], box.lower[1], box.lower[2]}, 0, {box.upper[0], box.upper[1], box.upper[2]}, id});
    }
};

constexpr int wasteClasses = 512; // half powers of two

int classOf(double waste) {
    return std::clamp(static_cast<int>(2 * std::log2(waste)) + wasteClasses / 2, 0, wasteClasses - 1);
}

double upperEnd(int wasteClass) {
    return std::exp2((wasteClass - wasteClasses / 2 + 1) / 2.0);
}

} // namespace

void ktPreSplitTriangles(ktBvhPrimitives& primitives, double share,
                         const std::function<void(std::uint32_t id, const float* corner[3])>& corners) {
    const auto whole = [&](const ktBvhPrimitive& primitive) {
        const float* corner[3];
        corners(primitive.id, corner);
        Polygon polygon;
        for (const float* p : corner)
            polygon.add({p[0], p[1], p[2]});
        return polygon;
    };
    constexpr std::size_t grain = 4096;
    const std::size_t pieces = (primitives.size() + grain - 1) / grain;
    std::vector<float> waste(primitives.size());
    ktParallel::forRange(pieces, 1, [&](std::size_t first, std::size_t last) {
        for (std::size_t i = first * grain; i < std::min(last * grain, primitives.size()); ++i) {
            const Polygon polygon = whole(primitives[i]);
            waste[i] = static_cast<float>(wasteOf(polygon, boxOf(polygon)));
        }
    });

    // The least waste to allow so that there are not too many parts: a triangle gives about as many as its waste holds
    // the least. From classes of equal waste, so that the sums do not depend on the order.
    std::vector<std::size_t> count(wasteClasses);
    for (float w : waste)
        if (w > 0)
            ++count[static_cast<std::size_t>(classOf(w))];
    int least = wasteClasses - 1;
    for (; least > 0; --least) {
        double parts = 0;
        for (int c = least; c < wasteClasses; ++c)
            parts += static_cast<double>(count[static_cast<std::size_t>(c)]) * upperEnd(c) / upperEnd(least - 1);
        if (parts > share * static_cast<double>(primitives.size()))
            break;
    }
    const double mostWaste = upperEnd(least);

    std::vector<std::vector<ktBvhPrimitive>> parts(pieces);
    ktParallel::forRange(pieces, 1, [&](std::size_t first, std::size_t last) {
        for (std::size_t piece = first; piece < last; ++piece) {
            for (std::size_t i = piece * grain; i < std::min((piece + 1) * grain, primitives.size()); ++i) {
                if (!(waste[i] > mostWaste))
                    continue;
                Cutter{mostWaste, primitives[i].id, parts[piece]}.divide(whole(primitives[i]), 0);
                primitives[i] = parts[piece].back(); // one of them takes the triangle's place
                parts[piece].pop_back();
            }
        }
    });
    for (const std::vector<ktBvhPrimitive>& more : parts)
        primitives.insert(primitives.end(), more.begin(), more.end());
}
