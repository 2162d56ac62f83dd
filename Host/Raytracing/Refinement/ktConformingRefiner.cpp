// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktConformingRefiner.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

using Index = ktConformingRefiner::Index;
using Point = ktConformingRefiner::Point;

std::uint64_t cellKey(std::int64_t x, std::int64_t y, std::int64_t z) {
    std::uint64_t key = 0x9E3779B97F4A7C15ull;
    for (std::int64_t value : {x, y, z})
        key = (key ^ static_cast<std::uint64_t>(value)) * 0xBF58476D1CE4E5B9ull, key ^= key >> 29;
    return key;
}

double squaredDistance(const Point& a, const Point& b) {
    const double x = a[0] - b[0], y = a[1] - b[1], z = a[2] - b[2];
    return x * x + y * y + z * z;
}

} // namespace

ktConformingRefiner::ktConformingRefiner(double newWeldDistance)
    // A cell of the search grid needs a size even where only equal points are to meet.
    : weldDistance(std::max(newWeldDistance, 1e-12)), cellSize(8.0 * weldDistance), leastSize(8.0 * weldDistance) {}

ktConformingRefiner::Edge ktConformingRefiner::edgeBetween(Index placeA, Index placeB) {
    const Edge low = std::min(placeA, placeB);
    const Edge high = std::max(placeA, placeB);
    return low << 32 | high;
}

ktConformingRefiner::Edge ktConformingRefiner::edge(Index triangle, int corner) const {
    const Triangle& t = triangleList[triangle];
    return edgeBetween(vertexList[t.vertices[corner]].place, vertexList[t.vertices[(corner + 1) % 3]].place);
}

double ktConformingRefiner::squaredLength(Edge edge) const {
    return squaredDistance(places[edge >> 32], places[edge & 0xFFFFFFFFu]);
}

ktConformingRefiner::Cell ktConformingRefiner::cellOf(const Point& point, double offset) const {
    Cell cell;
    for (std::size_t i = 0; i < 3; ++i)
        cell[i] = static_cast<std::int64_t>(std::floor((point[i] + offset) / cellSize));
    return cell;
}

Index ktConformingRefiner::findPlace(const Point& point) const {
    const Cell low = cellOf(point, -weldDistance), high = cellOf(point, weldDistance);
    Index best = none;
    double bestDistance = weldDistance * weldDistance;
    for (std::int64_t x = low[0]; x <= high[0]; ++x)
        for (std::int64_t y = low[1]; y <= high[1]; ++y)
            for (std::int64_t z = low[2]; z <= high[2]; ++z) {
                const Index* first = firstPlace.find(cellKey(x, y, z));
                for (Index place = first ? *first : none; place != none; place = nextPlace[place]) {
                    const double distance = squaredDistance(places[place], point);
                    if (distance < bestDistance || (distance == bestDistance && place < best)) {
                        best = place;
                        bestDistance = distance;
                    }
                }
            }
    return best;
}

Index ktConformingRefiner::addPlace(const Point& point) {
    const Index place = static_cast<Index>(places.size());
    const Cell cell = cellOf(point, 0.0);
    places.push_back(point);
    const auto [first, isNew] = firstPlace.insert(cellKey(cell[0], cell[1], cell[2]), place);
    nextPlace.push_back(isNew ? none : std::exchange(*first, place));
    return place;
}

Index ktConformingRefiner::placeOf(const Point& point) {
    const Index known = findPlace(point);
    return known != none ? known : addPlace(point);
}

Index ktConformingRefiner::addMesh(const std::vector<Point>& positions, const std::vector<Index>& indices) {
    const Index mesh = static_cast<Index>(meshFirstVertex.size());
    const Index first = static_cast<Index>(vertexList.size());
    meshFirstVertex.push_back(first);
    for (const Point& position : positions)
        vertexList.push_back({placeOf(position), {none, none}, mesh});
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        const Index triangle = static_cast<Index>(triangleList.size());
        triangleList.push_back({{first + indices[i], first + indices[i + 1], first + indices[i + 2]}, mesh, false});
        triangleList[triangle].isFlat = !isCollapsed(triangle) && isTooLow(triangle, longestCorner(triangle));
        nextSide.resize(3 * triangleList.size(), none);
        link(triangle);
    }
    firstNewVertex = vertexList.size();
    return mesh;
}

void ktConformingRefiner::lockEdge(const Point& a, const Point& b) {
    const Index placeA = findPlace(a);
    const Index placeB = findPlace(b);
    if (placeA != none && placeB != none && placeA != placeB)
        locked.insert(edgeBetween(placeA, placeB));
}

void ktConformingRefiner::lockMesh(Index mesh) {
    for (Index t = 0; t < triangleList.size(); ++t)
        for (int corner = 0; triangleList[t].mesh == mesh && corner < 3; ++corner)
            locked.insert(edge(t, corner));
}

Index ktConformingRefiner::firstSide(Edge edge) const {
    const Index* side = edgeSides.find(edge);
    return side ? *side : none;
}

void ktConformingRefiner::link(Index triangle) {
    if (isCollapsed(triangle))
        return; // no area: it can neither be split nor leave a gap
    for (int corner = 0; corner < 3; ++corner) {
        const Index side = 3 * triangle + corner;
        const auto [first, isNew] = edgeSides.insert(edge(triangle, corner), side);
        nextSide[side] = isNew ? none : std::exchange(*first, side);
    }
}

void ktConformingRefiner::unlink(Index triangle) {
    for (int corner = 0; corner < 3; ++corner) {
        const Index side = 3 * triangle + corner;
        Index* at = edgeSides.find(edge(triangle, corner));
        while (*at != side)
            at = &nextSide[*at];
        *at = nextSide[side];
    }
}

bool ktConformingRefiner::longer(Edge a, Edge b) const {
    const double lengthA = squaredLength(a);
    const double lengthB = squaredLength(b);
    if (lengthA != lengthB)
        return lengthA > lengthB;
    // Ties are broken by where the edges lie: the numbers of places depend on what was split before.
    const auto ends = [this](Edge edge) { return std::minmax(places[edge >> 32], places[edge & 0xFFFFFFFFu]); };
    return ends(b) < ends(a);
}

bool ktConformingRefiner::isCollapsed(Index triangle) const {
    const Triangle& t = triangleList[triangle];
    const Index a = vertexList[t.vertices[0]].place, b = vertexList[t.vertices[1]].place,
                c = vertexList[t.vertices[2]].place;
    return a == b || b == c || c == a;
}

int ktConformingRefiner::longestCorner(Index triangle) const {
    int best = 0;
    for (int corner = 1; corner < 3; ++corner)
        if (longer(edge(triangle, corner), edge(triangle, best)))
            best = corner;
    return best;
}

bool ktConformingRefiner::isTooLow(Index triangle, int corner) const {
    const Triangle& t = triangleList[triangle];
    if (t.isFlat)
        return false;
    const Point &a = places[vertexList[t.vertices[corner]].place],
                &b = places[vertexList[t.vertices[(corner + 1) % 3]].place],
                &c = places[vertexList[t.vertices[(corner + 2) % 3]].place];
    const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const double x = u[1] * v[2] - u[2] * v[1], y = u[2] * v[0] - u[0] * v[2], z = u[0] * v[1] - u[1] * v[0];
    return x * x + y * y + z * z < leastSize * leastSize * squaredDistance(a, b);
}

Index ktConformingRefiner::middleVertex(Index a, Index b, Index place) {
    const auto [middle, isNew] = middleOfVertices.insert(edgeBetween(a, b), static_cast<Index>(vertexList.size()));
    if (isNew)
        vertexList.push_back({place, {std::min(a, b), std::max(a, b)}, vertexList[a].mesh});
    return *middle;
}

// All triangles around `edge` have it as their longest one.
void ktConformingRefiner::bisect(Edge edge) {
    std::vector<Index> sides;
    for (Index side = firstSide(edge); side != none; side = nextSide[side])
        sides.push_back(side);
    std::sort(sides.begin(), sides.end()); // the chain's order depends on history

    Point middle;
    for (int i = 0; i < 3; ++i)
        middle[i] = 0.5 * (places[edge >> 32][i] + places[edge & 0xFFFFFFFFu][i]);
    // Where a neighbour has a vertex at that place already, this closes the gap.
    Index place = placeOf(middle);
    if (place == edge >> 32 || place == (edge & 0xFFFFFFFFu))
        place = addPlace(middle);

    for (Index side : sides) {
        const Index triangle = side / 3;
        const int corner = static_cast<int>(side % 3);
        const Triangle old = triangleList[triangle];
        const Index a = old.vertices[corner], b = old.vertices[(corner + 1) % 3], c = old.vertices[(corner + 2) % 3];
        const Index m = middleVertex(a, b, place);
        unlink(triangle);
        triangleList[triangle] = {{a, m, c}, old.mesh, old.isFlat};
        triangleList.push_back({{m, b, c}, old.mesh, old.isFlat});
        nextSide.resize(3 * triangleList.size(), none);
        link(triangle);
        link(static_cast<Index>(triangleList.size() - 1));
        bisections.push_back({triangle, static_cast<Index>(triangleList.size() - 1), corner});
    }
}

bool ktConformingRefiner::split(Edge wanted) {
    if (isLocked(wanted) || firstSide(wanted) == none || vertexList.size() - firstNewVertex >= vertexLimit)
        return false;
    // Halves must stay well apart, or welding would fold the mesh.
    if (squaredLength(wanted) < leastSize * leastSize)
        return false;
    // The path goes from an edge to the longest one of a triangle beside it, always to a longer one, so it ends; then
    // the edges on it are bisected from the last back to the first. Each bisection may uncover a further path.
    std::vector<Edge> path = {wanted};
    while (!path.empty()) {
        const Edge edge = path.back();
        const Index first = firstSide(edge);
        if (first == none) {
            path.pop_back(); // bisected on the way
            continue;
        }
        Edge next = edge;
        for (Index side = first; side != none && next == edge; side = nextSide[side]) {
            const int corner = longestCorner(side / 3);
            next = this->edge(side / 3, corner);
            if (isLocked(next) || isTooLow(side / 3, corner))
                return false;
        }
        if (next == edge) {
            bisect(edge);
            path.pop_back();
        } else {
            path.push_back(next);
        }
    }
    return true;
}
