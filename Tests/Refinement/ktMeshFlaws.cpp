// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds flaws of a refined mesh, such as hanging vertices and flipped triangles, by world positions.
#include "ktMeshFlaws.h"

#include "ktWorldTransform.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <set>
#include <unordered_map>

namespace {

using Point = std::array<double, 3>;
using Edge = std::pair<Point, Point>;

Point minus(const Point& a, const Point& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double dot(const Point& a, const Point& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
double length(const Point& a) {
    return std::sqrt(dot(a, a));
}
Point cross(const Point& a, const Point& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// The unit normal times twice the area.
Point areaOf(const std::array<Point, 3>& t) {
    return cross(minus(t[1], t[0]), minus(t[2], t[0]));
}

// Twice the area divided by the square of the longest side: 0 is flat, 0.87 equilateral.
double shapeOf(const std::array<Point, 3>& t) {
    double longest = 0;
    for (std::size_t c = 0; c < 3; ++c)
        longest = std::max(longest, dot(minus(t[c], t[(c + 1) % 3]), minus(t[c], t[(c + 1) % 3])));
    return longest > 0 ? length(areaOf(t)) / longest : 0;
}

constexpr double flatShape = 1e-5;

// Numbers of points or triangles, sorted into the cells of a regular grid.
class Cells {
public:
    explicit Cells(double size_) : size(size_) {}

    void add(const Point& low, const Point& high, std::size_t thing) {
        std::int64_t from[3], to[3];
        double count = 1;
        for (std::size_t i = 0; i < 3; ++i) {
            from[i] = cell(low[i]);
            to[i] = cell(high[i]);
            count *= static_cast<double>(to[i] - from[i] + 1);
        }
        if (count > 4096) {
            everywhere.push_back(thing);
            return;
        }
        for (std::int64_t x = from[0]; x <= to[0]; ++x)
            for (std::int64_t y = from[1]; y <= to[1]; ++y)
                for (std::int64_t z = from[2]; z <= to[2]; ++z)
                    things[key(x, y, z)].push_back(thing);
    }

    /// Visits everything that overlaps the point's cell, and perhaps more.
    void visit(const Point& at, const std::function<void(std::size_t)>& see) const {
        const auto found = things.find(key(cell(at[0]), cell(at[1]), cell(at[2])));
        if (found != things.end())
            for (std::size_t thing : found->second)
                see(thing);
        for (std::size_t thing : everywhere)
            see(thing);
    }

    const double size;

private:
    std::int64_t cell(double value) const { return static_cast<std::int64_t>(std::floor(value / size)); }
    static std::uint64_t key(std::int64_t x, std::int64_t y, std::int64_t z) {
        std::uint64_t hash = 0;
        for (std::int64_t value : {x, y, z})
            hash = (hash ^ static_cast<std::uint64_t>(value)) * 0x9E3779B97F4A7C15ull, hash ^= hash >> 31;
        return hash;
    }

    std::unordered_map<std::uint64_t, std::vector<std::size_t>> things;
    std::vector<std::size_t> everywhere;
};

double diagonalOf(const ktWorldTriangles& mesh) {
    Point low = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, high = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const auto& t : mesh.corners)
        for (const Point& p : t)
            for (std::size_t i = 0; i < 3; ++i) {
                low[i] = std::min(low[i], p[i]);
                high[i] = std::max(high[i], p[i]);
            }
    return length(minus(high, low));
}

double meanEdge(const ktWorldTriangles& mesh) {
    double sum = 0;
    for (const auto& t : mesh.corners)
        for (std::size_t c = 0; c < 3; ++c)
            sum += length(minus(t[c], t[(c + 1) % 3]));
    return sum / (3.0 * static_cast<double>(mesh.corners.size()));
}

// Whether a point is on a segment; with `strictly` not at its ends.
bool isOn(const Point& p, const Edge& edge, double tolerance, bool strictly) {
    const Point along = minus(edge.second, edge.first);
    const double size = length(along);
    if (!(size > 2 * tolerance))
        return false;
    const double share = dot(minus(p, edge.first), along) / (size * size);
    const double margin = (strictly ? 2 : -2) * tolerance / size;
    if (!(share >= margin && share <= 1 - margin))
        return false;
    return length(cross(minus(p, edge.first), along)) <= tolerance * size;
}

// Whether two triangles share an edge that contains the segment from `a` to `b`.
bool meetAt(const std::array<Point, 3>& left, const std::array<Point, 3>& right, const Point& a, const Point& b,
            double tolerance) {
    for (std::size_t c = 0; c < 3; ++c) {
        const Edge edge = {left[c], left[(c + 1) % 3]};
        if (!isOn(a, edge, tolerance, false) || !isOn(b, edge, tolerance, false))
            continue;
        const auto has = [&](const Point& p) {
            return std::any_of(right.begin(), right.end(),
                               [&](const Point& q) { return length(minus(p, q)) <= tolerance; });
        };
        if (has(edge.first) && has(edge.second))
            return true;
    }
    return false;
}

// For each new triangle the old triangles that may contain it: several where the old mesh overlaps.
using Parents = std::vector<std::vector<std::size_t>>;

// A new point inside an edge is a gap only if both belong to one old triangle, or to two that shared the edge. Gaps
// between parts that only touch, or that the file has, are not counted.
std::size_t countHanging(const ktWorldTriangles& before, const ktWorldTriangles& after, const Parents& parents,
                         double tolerance) {
    std::set<Point> old;
    for (const auto& t : before.corners)
        old.insert(t.begin(), t.end());
    std::map<Point, std::vector<std::size_t>> places; // new points, with the triangles at them
    for (std::size_t i = 0; i < after.corners.size(); ++i)
        for (const Point& p : after.corners[i])
            if (!parents[i].empty() && old.count(p) == 0)
                places[p].push_back(i);
    std::vector<std::map<Point, std::vector<std::size_t>>::const_iterator> points;
    Cells cells(std::max(2 * meanEdge(after), 100 * tolerance));
    for (auto place = places.cbegin(); place != places.cend(); ++place) {
        Point low = place->first, high = place->first;
        for (std::size_t k = 0; k < 3; ++k) {
            low[k] -= 0.1 * cells.size;
            high[k] += 0.1 * cells.size;
        }
        cells.add(low, high, points.size());
        points.push_back(place);
    }
    std::size_t hanging = 0;
    for (std::size_t i = 0; i < after.corners.size(); ++i)
        for (std::size_t c = 0; c < 3 && !parents[i].empty(); ++c) {
            const Point &a = after.corners[i][c], &b = after.corners[i][(c + 1) % 3];
            // The points in the cells that the edge crosses. Each point is enlarged by a tenth of a cell.
            const int steps = 1 + static_cast<int>(10 * length(minus(a, b)) / cells.size);
            std::set<std::size_t> near;
            for (int k = 0; k <= steps; ++k) {
                Point at;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    at[axis] = a[axis] + k * (b[axis] - a[axis]) / steps;
                cells.visit(at, [&](std::size_t point) { near.insert(point); });
            }
            const auto belongs = [&](std::size_t other) {
                return std::all_of(parents[i].begin(), parents[i].end(), [&](std::size_t own) {
                    return std::all_of(parents[other].begin(), parents[other].end(), [&](std::size_t its) {
                        return own == its || meetAt(before.corners[own], before.corners[its], a, b, tolerance);
                    });
                });
            };
            for (std::size_t point : near)
                hanging += isOn(points[point]->first, {a, b}, tolerance, true) &&
                           std::any_of(points[point]->second.begin(), points[point]->second.end(), belongs);
        }
    return hanging;
}

// Whether a triangle lies inside another.
bool isPart(const std::array<Point, 3>& part, const std::array<Point, 3>& whole, double tolerance) {
    const Point area = areaOf(whole);
    const double size = length(area);
    if (!(size > 0))
        return false;
    for (const Point& p : part) {
        if (std::fabs(dot(minus(p, whole[0]), area)) > tolerance * size)
            return false;
        for (std::size_t c = 0; c < 3; ++c) {
            const Point side = minus(whole[(c + 1) % 3], whole[c]);
            if (dot(cross(side, minus(p, whole[c])), area) < -tolerance * length(side) * size)
                return false;
        }
    }
    return true;
}

} // namespace

ktWorldTriangles ktReadWorldTriangles(const std::vector<osg::NodePtr>& nodes) {
    ktWorldTriangles mesh;
    for (std::size_t node = 0; node < nodes.size(); ++node) {
        const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(nodes[node]->getCore());
        const ktWorldTransform toWorld(nodes[node]->getToWorld());
        for (osg::TriangleIterator t = geometry->beginTriangles(); t != geometry->endTriangles(); ++t) {
            std::array<Point, 3> corners;
            for (int corner = 0; corner < 3; ++corner) {
                float p[3];
                toWorld.position(t.getPosition(corner).getValues(), p);
                corners[static_cast<std::size_t>(corner)] = {p[0], p[1], p[2]};
            }
            if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0])
                continue;
            mesh.corners.push_back(corners);
            mesh.nodes.push_back(node);
        }
    }
    return mesh;
}

ktMeshFlaws ktFindFlaws(const ktWorldTriangles& before, const ktWorldTriangles& after) {
    ktMeshFlaws flaws;
    const double tolerance = 2e-7 * diagonalOf(before); // a little above the rounding of positions
    Cells cells(std::max(2 * meanEdge(before), 100 * tolerance)),
        flatCells(std::max(2 * meanEdge(before), 100 * tolerance));
    Parents parents(after.corners.size());
    double areaBefore = 0, areaAfter = 0;
    for (std::size_t i = 0; i < before.corners.size(); ++i) {
        const auto& t = before.corners[i];
        Point low = t[0], high = t[0];
        for (const Point& p : t)
            for (std::size_t k = 0; k < 3; ++k) {
                low[k] = std::min(low[k], p[k] - tolerance);
                high[k] = std::max(high[k], p[k] + tolerance);
            }
        areaBefore += length(areaOf(t));
        // Triangles without height are kept apart: their parts have no height either.
        (shapeOf(t) > flatShape ? cells : flatCells).add(low, high, i);
    }
    for (std::size_t i = 0; i < after.corners.size(); ++i) {
        const auto& t = after.corners[i];
        const Point middle = {(t[0][0] + t[1][0] + t[2][0]) / 3, (t[0][1] + t[1][1] + t[2][1]) / 3,
                              (t[0][2] + t[1][2] + t[2][2]) / 3};
        areaAfter += length(areaOf(t));
        bool isFound = false, looksAlike = false, isWell = false;
        cells.visit(middle, [&](std::size_t whole) {
            if (before.nodes[whole] != after.nodes[i] || !isPart(t, before.corners[whole], 4 * tolerance))
                return;
            isFound = true;
            parents[i].push_back(whole);
            looksAlike = looksAlike || dot(areaOf(t), areaOf(before.corners[whole])) >= 0;
            // Repeated halving of the longest side keeps at least half of the smallest angle.
            isWell = isWell || shapeOf(t) >= 0.2 * shapeOf(before.corners[whole]);
        });
        flaws.lost += !isFound && shapeOf(t) > flatShape;
        flaws.flipped += isFound && !looksAlike;
        // A triangle that was flat before and lies on an edge of another was found as a part of that one.
        bool wasFlat = false;
        if (isFound && !isWell)
            flatCells.visit(middle, [&](std::size_t whole) {
                wasFlat = wasFlat || (before.nodes[whole] == after.nodes[i] && before.corners[whole] == t);
            });
        flaws.flat += isFound && !isWell && !wasFlat;
    }
    flaws.hanging = countHanging(before, after, parents, tolerance);
    flaws.areaChange = areaAfter / areaBefore - 1;
    return flaws;
}
