// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the lines where other surfaces of a scene meet a triangle.
#include "ktContactLines.h"

#include <algorithm>
#include <cmath>

namespace {

using Point = ktContactLines::Point;

constexpr double toleranceShare = 2e-5; // of the scene's diagonal
constexpr double flattest = 0.14;       // sine of the angle between surfaces that meet

Point minus(const Point& a, const Point& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Point cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Point between(const Point& a, const Point& b, double at) {
    return {a[0] + at * (b[0] - a[0]), a[1] + at * (b[1] - a[1]), a[2] + at * (b[2] - a[2])};
}

// The triangle that lines are looked for in.
class Face {
public:
    Face(const Point* corners_, const Point& front) : corners(corners_) {
        normal = cross(minus(corners[1], corners[0]), minus(corners[2], corners[0]));
        const double length = std::sqrt(dot(normal, normal));
        isFlat = !(length > 0);
        const double scale = (dot(normal, front) < 0 ? -1 : 1) / (isFlat ? 1 : length);
        for (double& x : normal)
            x *= scale;
    }

    // Where another triangle meets the plane of this one: two points.
    bool meet(const Point* other, double tolerance, Point* ends) const {
        double height[3], highest = 0;
        std::size_t count = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            height[i] = dot(minus(other[i], corners[0]), normal);
            if (std::fabs(height[i]) <= tolerance)
                height[i] = 0;
            highest = std::max(highest, height[i]);
        }
        if (!(highest > 0))
            return false;
        for (std::size_t i = 0; i < 3; ++i) {
            const std::size_t next = (i + 1) % 3;
            if (height[i] == 0 && count < 2)
                ends[count++] = other[i];
            if (height[i] * height[next] < 0 && count < 2)
                ends[count++] = between(other[i], other[next], height[i] / (height[i] - height[next]));
        }
        if (count < 2)
            return false;
        const Point othersNormal = cross(minus(other[1], other[0]), minus(other[2], other[0]));
        const Point along = cross(normal, othersNormal);
        return dot(along, along) > flattest * flattest * dot(othersNormal, othersNormal);
    }

    // Clips a segment in the plane to the triangle (M. Cyrus, J. Beck, 1978). False if nothing is left.
    bool clip(Point* ends, double tolerance) const {
        const Point direction = minus(ends[1], ends[0]);
        const double length = std::sqrt(dot(direction, direction));
        double first = 0, last = 1;
        const Point winding = cross(minus(corners[1], corners[0]), minus(corners[2], corners[0]));
        for (std::size_t i = 0; i < 3; ++i) {
            const Point inward = cross(winding, minus(corners[(i + 1) % 3], corners[i]));
            const double scale = 1 / std::sqrt(std::max(dot(inward, inward), 1e-300));
            const double start = scale * dot(minus(ends[0], corners[i]), inward) + tolerance;
            const double change = scale * dot(direction, inward);
            if (change > 0)
                first = std::max(first, -start / change);
            else if (change < 0)
                last = std::min(last, -start / change);
            else if (start < 0)
                return false;
        }
        if (!((last - first) * length > 4 * tolerance))
            return false;
        const Point from = between(ends[0], ends[1], first), to = between(ends[0], ends[1], last);
        ends[0] = from;
        ends[1] = to;
        return true;
    }

    bool isFlat;
    Point normal; // towards the front, of unit length

private:
    const Point* corners;
};

} // namespace

ktContactLines::ktContactLines(const ktTracedScene& scene) : tree(scene), tolerance(toleranceShare * scene.diagonal) {}

std::vector<ktContactSegment> ktContactLines::find(const Point* corners, const Point& front) const {
    std::vector<ktContactSegment> found;
    const Face face(corners, front);
    if (face.isFlat)
        return found;
    Point low = corners[0], high = corners[0];
    for (std::size_t corner = 1; corner < 3; ++corner)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], corners[corner][axis]);
            high[axis] = std::max(high[axis], corners[corner][axis]);
        }
    tree.forEachNear(low, high, {corners[0], face.normal}, tolerance, [&](const Point* other) {
        Point ends[2];
        if (!face.meet(other, tolerance, ends) || !face.clip(ends, tolerance))
            return;
        if (ends[1] < ends[0])
            std::swap(ends[0], ends[1]);
        found.push_back({ends[0], ends[1]});
    });
    const auto squaredLength = [](const ktContactSegment& s) { return dot(minus(s.to, s.from), minus(s.to, s.from)); };
    std::sort(found.begin(), found.end(), [&](const ktContactSegment& a, const ktContactSegment& b) {
        const double lengthA = squaredLength(a), lengthB = squaredLength(b);
        if (lengthA != lengthB)
            return lengthA > lengthB;
        return a.from != b.from ? a.from < b.from : a.to < b.to;
    });
    // Several triangles may have the same edge.
    found.erase(std::unique(found.begin(), found.end(),
                            [](const ktContactSegment& a, const ktContactSegment& b) {
                                return a.from == b.from && a.to == b.to;
                            }),
                found.end());
    return found;
}
