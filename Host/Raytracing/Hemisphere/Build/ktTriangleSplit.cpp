// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits a triangle by a plane, for Embree's builder.
#include "ktTriangleSplit.h"

#include "ktBinaryBvh.h"

#include <algorithm>
#include <limits>

namespace {

void extend(ktBvhBox& box, const float* point) {
    for (int k = 0; k < 3; ++k) {
        box.lower[k] = std::min(box.lower[k], point[k]);
        box.upper[k] = std::max(box.upper[k], point[k]);
    }
}

void intersect(ktBvhBox& box, const ktBvhBox& with) {
    for (int k = 0; k < 3; ++k) {
        box.lower[k] = std::max(box.lower[k], with.lower[k]);
        box.upper[k] = std::min(box.upper[k], with.upper[k]);
    }
}

} // namespace

// A spatial split: "Spatial Splits in Bounding Volume Hierarchies", Martin Stich, Heiko Friedrich, Andreas Dietrich,
// 2009.
void ktSplitTriangle(const float* const corner[3], int axis, float position, const ktBvhBox& box, ktBvhBox& left,
                     ktBvhBox& right) {
    const float huge = std::numeric_limits<float>::max();
    left = right = {{huge, huge, huge}, {-huge, -huge, -huge}};
    for (int i = 0; i < 3; ++i) {
        const float *a = corner[i], *b = corner[(i + 1) % 3];
        if (a[axis] <= position)
            extend(left, a);
        if (a[axis] >= position)
            extend(right, a);
        if ((a[axis] < position) == (b[axis] < position) || a[axis] == position || b[axis] == position)
            continue;
        const double t = (double(position) - a[axis]) / (double(b[axis]) - a[axis]);
        float crossing[3];
        for (int k = 0; k < 3; ++k)
            crossing[k] = static_cast<float>(a[k] + t * (double(b[k]) - a[k]));
        crossing[axis] = position;
        extend(left, crossing);
        extend(right, crossing);
    }
    intersect(left, box);
    intersect(right, box);
}
