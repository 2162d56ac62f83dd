// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses the line along which a triangle is cut, from the lines where other surfaces meet it.
#include "ktContactCut.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Lengths are in units of the longest edge.
constexpr double straight = 0.01;        // segments this near to a line lie on it
constexpr double shortest = 0.2;         // of what lies on the line
constexpr double covered = 0.6;          // share of the cut on which segments lie
constexpr double nearCorner = 0.03;      // share of an edge: a line this near to a corner goes through it
constexpr double sliver = 0.12;          // share of an edge: between these two, there is no cut
constexpr std::size_t mostSegments = 48; // that are looked at, the longest ones
constexpr std::size_t mostChords = 6;    // ends at edges that are connected

using Point = ktContactLines::Point;

struct Point2 {
    double x, y;
};
struct Segment2 {
    Point2 from, to;
    double length() const { return std::hypot(to.x - from.x, to.y - from.y); }
};
// The line of the points p with normal * p = offset.
struct Line {
    Point2 normal;
    double offset;
    double distance(const Point2& p) const { return normal.x * p.x + normal.y * p.y - offset; }
};

// Coordinates in the plane of a triangle, in units of its longest edge.
class Plane {
public:
    explicit Plane(const Point* corners) : origin(corners[0]) {
        double longest = 0;
        for (std::size_t i = 0; i < 3; ++i)
            longest = std::max(longest, length(corners[i], corners[(i + 1) % 3]));
        const Point u = minus(corners[1]), v = minus(corners[2]);
        const Point n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        const Point w = {n[1] * u[2] - n[2] * u[1], n[2] * u[0] - n[0] * u[2], n[0] * u[1] - n[1] * u[0]};
        x = scaled(u, longest);
        y = scaled(w, longest);
        for (std::size_t i = 0; i < 3; ++i)
            triangle[i] = project(corners[i]);
    }

    Point2 project(const Point& p) const {
        const Point d = minus(p);
        return {d[0] * x[0] + d[1] * x[1] + d[2] * x[2], d[0] * y[0] + d[1] * y[1] + d[2] * y[2]};
    }

    Point2 triangle[3];

private:
    static double length(const Point& a, const Point& b) {
        return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
    }
    Point minus(const Point& p) const { return {p[0] - origin[0], p[1] - origin[1], p[2] - origin[2]}; }
    // A vector of the length 1 / longest.
    static Point scaled(const Point& v, double longest) {
        const double scale = 1 / std::max(longest * length(v, {0, 0, 0}), 1e-300);
        return {v[0] * scale, v[1] * scale, v[2] * scale};
    }

    Point origin, x, y;
};

Line through(const Point2& a, const Point2& b) {
    const double size = std::max(std::hypot(b.x - a.x, b.y - a.y), 1e-300);
    const Point2 normal = {(a.y - b.y) / size, (b.x - a.x) / size};
    return {normal, normal.x * a.x + normal.y * a.y};
}

bool liesOn(const Segment2& segment, const Line& line, double distance) {
    return std::fabs(line.distance(segment.from)) <= distance && std::fabs(line.distance(segment.to)) <= distance;
}

// Where a line cuts a triangle.
ktContactCut cutAlong(const Line& line, const Point2* triangle, double& length) {
    double distance[3];
    for (std::size_t i = 0; i < 3; ++i)
        distance[i] = line.distance(triangle[i]);
    // The corner that is alone on its side.
    int alone = -1;
    for (int i = 0; i < 3; ++i) {
        const double own = distance[i], next = distance[(i + 1) % 3], last = distance[(i + 2) % 3];
        if ((own > 0) != (next > 0) && (own > 0) != (last > 0))
            alone = i;
    }
    ktContactCut cut;
    length = 0;
    if (alone < 0)
        return cut;
    const int next = (alone + 1) % 3, last = (alone + 2) % 3;
    const double toNext = distance[alone] / (distance[alone] - distance[next]),
                 toLast = distance[alone] / (distance[alone] - distance[last]);
    for (double at : {toNext, toLast})
        if (!(at >= sliver) || (at > 1 - sliver && at < 1 - nearCorner))
            return cut;
    std::copy_n(distance, 3, cut.sides);
    if (toNext < 1 - nearCorner)
        cut.places[cut.count++] = {alone, toNext};
    if (toLast < 1 - nearCorner)
        cut.places[cut.count++] = {last, 1 - toLast};
    const auto point = [&](int to, double at) -> Point2 {
        return {triangle[alone].x + at * (triangle[to].x - triangle[alone].x),
                triangle[alone].y + at * (triangle[to].y - triangle[alone].y)};
    };
    length = Segment2{point(next, toNext), point(last, toLast)}.length();
    return cut; // none: along the edge across
}

} // namespace

ktContactCut ktChooseContactCut(const Point* corners, const std::vector<ktContactSegment>& segments) {
    if (segments.empty())
        return {};
    const Plane plane(corners);
    const Line edges[3] = {through(plane.triangle[0], plane.triangle[1]), through(plane.triangle[1], plane.triangle[2]),
                           through(plane.triangle[2], plane.triangle[0])};
    std::vector<Segment2> inside;
    std::vector<Point2> ends; // at edges
    for (const ktContactSegment& segment : segments) {
        const Segment2 s = {plane.project(segment.from), plane.project(segment.to)};
        if (std::any_of(edges, edges + 3, [&](const Line& edge) { return liesOn(s, edge, nearCorner); }))
            continue;
        inside.push_back(s);
        for (const Point2& end : {s.from, s.to})
            if (ends.size() < mostChords && std::any_of(edges, edges + 3, [&](const Line& edge) {
                    return std::fabs(edge.distance(end)) < 0.1 * straight;
                }))
                ends.push_back(end);
        if (inside.size() == mostSegments)
            break;
    }
    std::vector<Line> lines;
    lines.reserve(inside.size());
    for (const Segment2& segment : inside)
        lines.push_back(through(segment.from, segment.to));
    for (std::size_t i = 0; i < ends.size(); ++i)
        for (std::size_t j = i + 1; j < ends.size(); ++j)
            if (Segment2{ends[i], ends[j]}.length() > shortest)
                lines.push_back(through(ends[i], ends[j]));
    double most = shortest;
    ktContactCut best;
    for (const Line& line : lines) {
        double sum = 0;
        for (const Segment2& segment : inside)
            sum += liesOn(segment, line, straight) ? segment.length() : 0;
        if (!(sum > most))
            continue;
        double length = 0;
        const ktContactCut cut = cutAlong(line, plane.triangle, length);
        if (cut.count == 0 || sum < covered * length)
            continue;
        most = sum;
        best = cut;
    }
    return best;
}
