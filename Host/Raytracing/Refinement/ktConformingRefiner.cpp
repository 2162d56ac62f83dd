// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits edges of triangles, also across meshes, so that refinement causes no cracks, and takes splits back.
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

constexpr double leastShape = 0.2;   // of a part of a triangle that is cut: twice the area by the longest edge squared
constexpr double cutSteps = 1 << 20; // places where an edge can be cut

double squaredDistance(const Point& a, const Point& b) {
    const double x = a[0] - b[0], y = a[1] - b[1], z = a[2] - b[2];
    return x * x + y * y + z * z;
}

double doubledArea(const Point& a, const Point& b, const Point& c) {
    const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const double x = u[1] * v[2] - u[2] * v[1], y = u[2] * v[0] - u[0] * v[2], z = u[0] * v[1] - u[1] * v[0];
    return std::sqrt(x * x + y * y + z * z);
}

double shape(const Point& a, const Point& b, const Point& c) {
    const double longest = std::max({squaredDistance(a, b), squaredDistance(b, c), squaredDistance(c, a)});
    return longest > 0 ? doubledArea(a, b, c) / longest : 0;
}

Point between(const Point& a, const Point& b, double at) {
    return {(1 - at) * a[0] + at * b[0], (1 - at) * a[1] + at * b[1], (1 - at) * a[2] + at * b[2]};
}

double roundCut(double at) {
    return std::round(at * cutSteps) / cutSteps;
}

} // namespace

ktConformingRefiner::ktConformingRefiner(double newWeldDistance)
    // A cell of the search grid needs a size, even if only equal points are welded.
    : weldDistance(std::max(newWeldDistance, 1e-12)), cellSize(8.0 * weldDistance), minSize(8.0 * weldDistance) {}

ktConformingRefiner::Edge ktConformingRefiner::edgeBetween(Index positionA, Index positionB) {
    const Edge low = std::min(positionA, positionB);
    const Edge high = std::max(positionA, positionB);
    return low << 32 | high;
}

ktConformingRefiner::Edge ktConformingRefiner::edge(Index triangle, int corner) const {
    const Triangle& t = triangleList[triangle];
    return edgeBetween(vertexList[t.vertices[corner]].position, vertexList[t.vertices[(corner + 1) % 3]].position);
}

double ktConformingRefiner::squaredLength(Edge edge) const {
    return squaredDistance(weldedPositions[edge >> 32], weldedPositions[edge & 0xFFFFFFFFu]);
}

ktConformingRefiner::Cell ktConformingRefiner::cellOf(const Point& point, double offset) const {
    Cell cell;
    for (std::size_t i = 0; i < 3; ++i)
        cell[i] = static_cast<std::int64_t>(std::floor((point[i] + offset) / cellSize));
    return cell;
}

Index ktConformingRefiner::findPosition(const Point& point) const {
    const Cell low = cellOf(point, -weldDistance), high = cellOf(point, weldDistance);
    Index best = none;
    double bestDistance = weldDistance * weldDistance;
    for (std::int64_t x = low[0]; x <= high[0]; ++x)
        for (std::int64_t y = low[1]; y <= high[1]; ++y)
            for (std::int64_t z = low[2]; z <= high[2]; ++z) {
                const Index* first = firstInCell.find(cellKey(x, y, z));
                for (Index welded = first ? *first : none; welded != none; welded = nextInCell[welded]) {
                    const double distance = squaredDistance(weldedPositions[welded], point);
                    if (distance < bestDistance || (distance == bestDistance && welded < best)) {
                        best = welded;
                        bestDistance = distance;
                    }
                }
            }
    return best;
}

Index ktConformingRefiner::addPosition(const Point& point) {
    const Index welded = static_cast<Index>(weldedPositions.size());
    const Cell cell = cellOf(point, 0.0);
    weldedPositions.push_back(point);
    cornerCount.push_back(0);
    const auto [first, isNew] = firstInCell.insert(cellKey(cell[0], cell[1], cell[2]), welded);
    nextInCell.push_back(isNew ? none : std::exchange(*first, welded));
    return welded;
}

Index ktConformingRefiner::weld(const Point& point) {
    const Index known = findPosition(point);
    return known != none ? known : addPosition(point);
}

Index ktConformingRefiner::addMesh(const std::vector<Point>& positions, const std::vector<Index>& indices) {
    const Index mesh = static_cast<Index>(meshFirstVertex.size());
    const Index first = static_cast<Index>(vertexList.size());
    meshFirstVertex.push_back(first);
    for (const Point& position : positions)
        vertexList.push_back({weld(position), {none, none}, mesh, 0.0});
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        const Index triangle = static_cast<Index>(triangleList.size());
        triangleList.push_back({{first + indices[i], first + indices[i + 1], first + indices[i + 2]}, mesh, false});
        triangleList[triangle].isDegenerate = !isCollapsed(triangle) && isTooThin(triangle, longestCorner(triangle));
        nextHalfEdge.resize(3 * triangleList.size(), none);
        link(triangle);
    }
    lastSplitOf.resize(triangleList.size(), none);
    firstNewVertex = vertexList.size();
    return mesh;
}

void ktConformingRefiner::lockEdge(const Point& a, const Point& b) {
    const Index positionA = findPosition(a);
    const Index positionB = findPosition(b);
    if (positionA != none && positionB != none && positionA != positionB)
        locked.insert(edgeBetween(positionA, positionB));
}

void ktConformingRefiner::lockMesh(Index mesh) {
    for (Index t = 0; t < triangleList.size(); ++t)
        for (int corner = 0; triangleList[t].mesh == mesh && corner < 3; ++corner)
            locked.insert(edge(t, corner));
}

Index ktConformingRefiner::firstHalfEdge(Edge edge) const {
    const Index* halfEdge = firstHalfEdges.find(edge);
    return halfEdge ? *halfEdge : none;
}

void ktConformingRefiner::link(Index triangle) {
    if (isCollapsed(triangle))
        return; // without area it is not split and leaves no gap
    for (int corner = 0; corner < 3; ++corner) {
        const Index halfEdge = 3 * triangle + corner;
        ++cornerCount[vertexList[triangleList[triangle].vertices[corner]].position];
        const auto [first, isNew] = firstHalfEdges.insert(edge(triangle, corner), halfEdge);
        nextHalfEdge[halfEdge] = isNew ? none : std::exchange(*first, halfEdge);
    }
}

void ktConformingRefiner::unlink(Index triangle) {
    for (int corner = 0; corner < 3; ++corner) {
        const Index halfEdge = 3 * triangle + corner;
        --cornerCount[vertexList[triangleList[triangle].vertices[corner]].position];
        Index* at = firstHalfEdges.find(edge(triangle, corner));
        while (*at != halfEdge)
            at = &nextHalfEdge[*at];
        *at = nextHalfEdge[halfEdge];
    }
}

bool ktConformingRefiner::longer(Edge a, Edge b) const {
    const double lengthA = squaredLength(a);
    const double lengthB = squaredLength(b);
    if (lengthA != lengthB)
        return lengthA > lengthB;
    // Edges of equal length are ordered by position: the indices depend on earlier splits.
    const auto ends = [this](Edge edge) {
        return std::minmax(weldedPositions[edge >> 32], weldedPositions[edge & 0xFFFFFFFFu]);
    };
    return ends(b) < ends(a);
}

bool ktConformingRefiner::isCollapsed(Index triangle) const {
    const Triangle& t = triangleList[triangle];
    const Index a = vertexList[t.vertices[0]].position, b = vertexList[t.vertices[1]].position,
                c = vertexList[t.vertices[2]].position;
    return a == b || b == c || c == a;
}

int ktConformingRefiner::longestCorner(Index triangle) const {
    int best = 0;
    for (int corner = 1; corner < 3; ++corner)
        if (longer(edge(triangle, corner), edge(triangle, best)))
            best = corner;
    return best;
}

bool ktConformingRefiner::isTooThin(Index triangle, int corner) const {
    const Triangle& t = triangleList[triangle];
    if (t.isDegenerate)
        return false;
    const Point &a = weldedPositions[vertexList[t.vertices[corner]].position],
                &b = weldedPositions[vertexList[t.vertices[(corner + 1) % 3]].position],
                &c = weldedPositions[vertexList[t.vertices[(corner + 2) % 3]].position];
    const double area = doubledArea(a, b, c);
    return area * area < minSize * minSize * squaredDistance(a, b);
}

Index ktConformingRefiner::vertexBetween(Index a, Index b, double at, Index welded) {
    const auto [known, isNew] = vertexBetweenVertices.insert(edgeBetween(a, b), none);
    if (*known == none) {
        *known = static_cast<Index>(vertexList.size());
        vertexList.push_back({welded, {std::min(a, b), std::max(a, b)}, vertexList[a].mesh, a < b ? at : 1 - at});
    }
    return *known;
}

// `at` is measured from the end with the smaller index. Where it is a half, `edge` is the longest edge of all triangles
// around it.
void ktConformingRefiner::bisect(Edge edge, double at, bool isCut) {
    std::vector<Index> halfEdges;
    for (Index halfEdge = firstHalfEdge(edge); halfEdge != none; halfEdge = nextHalfEdge[halfEdge])
        halfEdges.push_back(halfEdge);
    std::sort(halfEdges.begin(), halfEdges.end()); // the order of the list depends on earlier splits

    const Point point = between(weldedPositions[edge >> 32], weldedPositions[edge & 0xFFFFFFFFu], at);
    // If a neighbour already has a vertex there, this closes the gap.
    Index welded = weld(point);
    if (welded == edge >> 32 || welded == (edge & 0xFFFFFFFFu))
        welded = addPosition(point);

    splits.push_back({welded, static_cast<Index>(bisections.size()), static_cast<Index>(halfEdges.size())});
    for (Index halfEdge : halfEdges) {
        const Index triangle = halfEdge / 3;
        const int corner = static_cast<int>(halfEdge % 3);
        const Triangle old = triangleList[triangle];
        const Index a = old.vertices[corner], b = old.vertices[(corner + 1) % 3], c = old.vertices[(corner + 2) % 3];
        const double fromA = vertexList[a].position == edge >> 32 ? at : 1 - at;
        const Index m = vertexBetween(a, b, fromA, welded);
        const Index newTriangle = static_cast<Index>(triangleList.size());
        unlink(triangle);
        triangleList[triangle] = {{a, m, c}, old.mesh, old.isDegenerate};
        triangleList.push_back({{m, b, c}, old.mesh, old.isDegenerate});
        nextHalfEdge.resize(3 * triangleList.size(), none);
        link(triangle);
        link(newTriangle);
        bisections.push_back({triangle, newTriangle, corner, fromA, isCut});
        earlierSplitOf.push_back(lastSplitOf[triangle]);
        lastSplitOf[triangle] = static_cast<Index>(splits.size() - 1);
        lastSplitOf.push_back(lastSplitOf[triangle]);
    }
}

bool ktConformingRefiner::canCut(Edge edge, double at) const {
    at = roundCut(at);
    const Index first = firstHalfEdge(edge);
    if (first == none || isLocked(edge) || vertexList.size() - firstNewVertex >= vertexLimit)
        return false;
    const double shorter = std::min(at, 1 - at);
    if (!(shorter > 0) || shorter * shorter * squaredLength(edge) < minSize * minSize)
        return false;
    for (Index halfEdge = first; halfEdge != none; halfEdge = nextHalfEdge[halfEdge]) {
        const Triangle& t = triangleList[halfEdge / 3];
        const int corner = static_cast<int>(halfEdge % 3);
        const Point &a = weldedPositions[vertexList[t.vertices[corner]].position],
                    &b = weldedPositions[vertexList[t.vertices[(corner + 1) % 3]].position],
                    &c = weldedPositions[vertexList[t.vertices[(corner + 2) % 3]].position];
        const Point m = between(weldedPositions[edge >> 32], weldedPositions[edge & 0xFFFFFFFFu], at);
        if (t.isDegenerate || shape(a, m, c) < leastShape || shape(m, b, c) < leastShape)
            return false;
        // The parts are split later only if they are higher than `minSize`.
        if (isTooThin(halfEdge / 3, longestCorner(halfEdge / 3)))
            return false;
    }
    return true;
}

std::size_t ktConformingRefiner::cutCost(Edge edge) const {
    std::size_t cost = 0;
    for (Index halfEdge = firstHalfEdge(edge); halfEdge != none; halfEdge = nextHalfEdge[halfEdge])
        ++cost;
    return cost;
}

bool ktConformingRefiner::cut(Edge edge, double at) {
    if (!canCut(edge, at))
        return false;
    bisect(edge, roundCut(at), true);
    return true;
}

bool ktConformingRefiner::canMerge(std::size_t split) const {
    const Split& s = splits[split];
    if (cornerCount[s.position] != 2 * s.bisectionCount)
        return false;
    for (Index i = s.firstBisection; i < s.firstBisection + s.bisectionCount; ++i)
        if (lastSplitOf[bisections[i].triangle] != split || lastSplitOf[bisections[i].newTriangle] != split)
            return false;
    return true;
}

void ktConformingRefiner::merge(std::size_t split) {
    const Split& s = splits[split];
    for (Index i = s.firstBisection; i < s.firstBisection + s.bisectionCount; ++i) {
        const Bisection& bisection = bisections[i];
        unlink(bisection.triangle);
        unlink(bisection.newTriangle);
        Triangle& first = triangleList[bisection.triangle];
        Triangle& second = triangleList[bisection.newTriangle];
        const Index a = first.vertices[0], b = second.vertices[1], c = first.vertices[2];
        first.vertices[bisection.corner] = a;
        first.vertices[(bisection.corner + 1) % 3] = b;
        first.vertices[(bisection.corner + 2) % 3] = c;
        second.vertices[0] = second.vertices[1] = second.vertices[2] = a;
        lastSplitOf[bisection.triangle] = earlierSplitOf[i];
        lastSplitOf[bisection.newTriangle] = none;
        *vertexBetweenVertices.find(edgeBetween(a, b)) = none;
        link(bisection.triangle);
    }
}

std::vector<ktConformingRefiner::Bisection> ktConformingRefiner::takeBisections() {
    const auto first = bisections.begin() + static_cast<std::ptrdiff_t>(takenBisections);
    takenBisections = bisections.size();
    return {first, bisections.end()};
}

// Follows the path of split(). Of two longer edges beside an edge, it counts one.
std::size_t ktConformingRefiner::splitCost(Edge edge) const {
    std::size_t cost = 0;
    for (bool isLongest = false; !isLongest;) {
        Edge next = edge;
        for (Index halfEdge = firstHalfEdge(edge); halfEdge != none; halfEdge = nextHalfEdge[halfEdge]) {
            ++cost;
            if (next == edge)
                next = longestEdge(halfEdge / 3);
        }
        isLongest = next == edge;
        edge = next;
    }
    return cost;
}

bool ktConformingRefiner::split(Edge wanted) {
    if (isLocked(wanted) || firstHalfEdge(wanted) == none || vertexList.size() - firstNewVertex >= vertexLimit)
        return false;
    // The ends of the halves must not be welded, or the mesh would fold.
    if (squaredLength(wanted) < minSize * minSize)
        return false;
    // The path goes from an edge to the longest edge of a triangle beside it. Each edge is longer than the one before,
    // so the path ends. Its edges are bisected from the last to the first. Each bisection may extend the path again.
    std::vector<Edge> path = {wanted};
    while (!path.empty()) {
        const Edge edge = path.back();
        const Index first = firstHalfEdge(edge);
        if (first == none) {
            path.pop_back(); // already bisected
            continue;
        }
        Edge next = edge;
        for (Index halfEdge = first; halfEdge != none && next == edge; halfEdge = nextHalfEdge[halfEdge]) {
            const int corner = longestCorner(halfEdge / 3);
            next = this->edge(halfEdge / 3, corner);
            if (isLocked(next) || isTooThin(halfEdge / 3, corner))
                return false;
        }
        if (next == edge) {
            bisect(edge, 0.5, false);
            path.pop_back();
        } else {
            path.push_back(next);
        }
    }
    return true;
}
