// SPDX-License-Identifier: LGPL-2.1-or-later
// Divides a mesh into connected parts and measures which way their triangles face.
#include "ktMeshParts.h"

#include "ktVertexPlaces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

ktMeshPoint difference(const float* a, const float* b) {
    return {double(a[0]) - b[0], double(a[1]) - b[1], double(a[2]) - b[2]};
}

ktMeshPoint cross(const ktMeshPoint& a, const ktMeshPoint& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const ktMeshPoint& a, const ktMeshPoint& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Whether a ray meets a triangle (T. Möller, B. Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection", 1997).
bool meets(const ktMeshPoint& origin, const ktMeshPoint& direction, const float* a, const float* b, const float* c) {
    const ktMeshPoint s = difference(b, a), t = difference(c, a), p = cross(direction, t);
    const double determinant = dot(s, p);
    if (determinant == 0)
        return false;
    const ktMeshPoint from = {origin[0] - a[0], origin[1] - a[1], origin[2] - a[2]};
    const double u = dot(from, p) / determinant;
    const ktMeshPoint q = cross(from, s);
    const double v = dot(direction, q) / determinant;
    return u >= 0 && v >= 0 && u + v <= 1 && dot(t, q) / determinant > 0;
}

} // namespace

double ktMeshPart::diagonal() const {
    return std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

bool ktMeshPart::hasVolume() const {
    const double roundingShare = 1e-6;
    return std::fabs(volume) > roundingShare * area * diagonal();
}

bool ktMeshPart::boundsContain(const ktMeshPoint& point) const {
    const double margin = 1e-5 * diagonal();
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!(point[axis] >= low[axis] - margin && point[axis] <= high[axis] + margin))
            return false;
    return true;
}

ktMeshParts::ktMeshParts(std::vector<float> positions_, std::vector<std::uint32_t> triangles_,
                         const std::vector<float>& normals)
    : positions(std::move(positions_)), triangles(std::move(triangles_)),
      places(ktFindVertexPlaces(positions.data(), positions.size() / 3)) {
    const std::size_t count = triangles.size() / 3;
    ktVertexSets sets(places.size());
    for (std::size_t i = 0; i < count; ++i) {
        sets.join(places[triangles[3 * i]], places[triangles[3 * i + 1]]);
        sets.join(places[triangles[3 * i]], places[triangles[3 * i + 2]]);
    }
    const std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
    std::vector<std::uint32_t> numbers(places.size(), none);
    partOf.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t& number = numbers[sets.find(places[triangles[3 * i]])];
        if (number == none) {
            number = static_cast<std::uint32_t>(parts.size());
            parts.emplace_back();
        }
        partOf[i] = number;
        ++parts[number].triangles;
    }
    starts.assign(parts.size() + 1, 0);
    for (std::size_t part = 0; part < parts.size(); ++part)
        starts[part + 1] = starts[part] + parts[part].triangles;
    std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
    members.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        members[next[partOf[i]]++] = static_cast<std::uint32_t>(i);
    for (std::size_t i = 0; i < count; ++i)
        measure(i, normals);
}

void ktMeshParts::measure(std::size_t triangle, const std::vector<float>& normals) {
    ktMeshPart& part = parts[partOf[triangle]];
    const float* const first = corner(members[starts[partOf[triangle]]], 0);
    const float *a = corner(triangle, 0), *b = corner(triangle, 1), *c = corner(triangle, 2);
    if (members[starts[partOf[triangle]]] == triangle)
        part.low = part.high = {first[0], first[1], first[2]};
    for (const float* point : {a, b, c})
        for (std::size_t axis = 0; axis < 3; ++axis) {
            part.low[axis] = std::min<double>(part.low[axis], point[axis]);
            part.high[axis] = std::max<double>(part.high[axis], point[axis]);
        }
    const ktMeshPoint twiceArea = cross(difference(b, a), difference(c, a));
    const double area = std::sqrt(dot(twiceArea, twiceArea)) / 2;
    part.area += area;
    part.volume += dot(difference(a, first), twiceArea) / 6;
    if (normals.empty())
        return;
    ktMeshPoint sum = {};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            sum[axis] += normals[3 * std::size_t(triangles[3 * triangle + i]) + axis];
    if (dot(sum, twiceArea) < 0)
        part.opposed += area;
}

void ktMeshParts::findClosed(const std::vector<bool>& asked) {
    struct Edge {
        std::uint32_t low, high, part;
        std::int32_t direction;
    };
    std::vector<Edge> edges;
    for (std::size_t i = 0; i < partOf.size(); ++i)
        for (std::size_t k = 0; asked[partOf[i]] && k < 3; ++k) {
            const std::uint32_t from = places[triangles[3 * i + k]], to = places[triangles[3 * i + (k + 1) % 3]];
            if (from != to)
                edges.push_back({std::min(from, to), std::max(from, to), partOf[i], from < to ? 1 : -1});
        }
    std::sort(edges.begin(), edges.end(),
              [](const Edge& a, const Edge& b) { return a.low != b.low ? a.low < b.low : a.high < b.high; });
    for (std::size_t part = 0; part < parts.size(); ++part)
        parts[part].isClosed = asked[part];
    for (std::size_t i = 0; i < edges.size();) {
        const Edge& edge = edges[i];
        std::int64_t sum = 0;
        for (; i < edges.size() && edges[i].low == edge.low && edges[i].high == edge.high; ++i)
            sum += edges[i].direction;
        if (sum != 0)
            parts[edge.part].isClosed = false;
    }
}

bool ktMeshParts::isInside(std::uint32_t part, const ktMeshPoint& point) const {
    const ktMeshPoint direction = {0.5731, 0.3187, 0.7549}; // along no edge that people draw
    bool isInside = false;
    for (std::size_t i = starts[part]; i < starts[part + 1]; ++i)
        if (meets(point, direction, corner(members[i], 0), corner(members[i], 1), corner(members[i], 2)))
            isInside = !isInside;
    return isInside;
}

std::vector<ktMeshPoint> ktMeshParts::samplePoints(std::uint32_t part, std::size_t most) const {
    const std::size_t count = starts[part + 1] - starts[part], wanted = std::min(count, most);
    std::vector<ktMeshPoint> points;
    for (std::size_t i = 0; i < wanted; ++i) {
        const std::size_t triangle = members[starts[part] + i * count / wanted];
        ktMeshPoint middle = {};
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t axis = 0; axis < 3; ++axis)
                middle[axis] += corner(triangle, k)[axis] / 3.0;
        points.push_back(middle);
    }
    return points;
}
