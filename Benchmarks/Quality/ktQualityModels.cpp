// SPDX-License-Identifier: LGPL-2.1-or-later
// Generates the scenes of the quality report: plates, shelf, parts, room.
#include "ktQualityModels.h"

#include <array>
#include <cmath>

namespace {

using Vector = std::array<double, 3>;
using Polygon = std::vector<std::array<double, 2>>;

// Where a part is: the images of the axes, and of the origin.
struct Placement {
    Vector x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1}, origin{0, 0, 0};

    Vector direction(const Vector& p) const {
        Vector out;
        for (std::size_t i = 0; i < 3; ++i)
            out[i] = p[0] * x[i] + p[1] * y[i] + p[2] * z[i];
        return out;
    }
    Vector point(const Vector& p) const {
        const Vector out = direction(p);
        return {out[0] + origin[0], out[1] + origin[1], out[2] + origin[2]};
    }
};

// Adds a vertex, with the spare float after the last one.
std::uint32_t addVertex(ktBenchmarkMesh& mesh, const Vector& position, const Vector& normal) {
    if (!mesh.positions.empty())
        mesh.positions.pop_back();
    for (const double value : position)
        mesh.positions.push_back(static_cast<float>(value));
    mesh.positions.push_back(0);
    for (const double value : normal)
        mesh.normals.push_back(static_cast<float>(value));
    return mesh.vertexCount() - 1;
}

void addTriangle(ktBenchmarkMesh& mesh, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    mesh.indices.insert(mesh.indices.end(), {a, b, c});
}

// A flat quadrilateral with vertices for itself. Corners counter-clockwise, seen from where the normal points to.
void addFlat(ktBenchmarkMesh& mesh, const std::array<Vector, 4>& corners, const Vector& normal) {
    std::uint32_t index[4];
    for (std::size_t i = 0; i < 4; ++i)
        index[i] = addVertex(mesh, corners[i], normal);
    addTriangle(mesh, index[0], index[1], index[2]);
    addTriangle(mesh, index[0], index[2], index[3]);
}

double turn(const Polygon& polygon, std::size_t a, std::size_t b, std::size_t c) {
    return (polygon[b][0] - polygon[a][0]) * (polygon[c][1] - polygon[a][1]) -
           (polygon[b][1] - polygon[a][1]) * (polygon[c][0] - polygon[a][0]);
}

// Triangles of a simple counter-clockwise polygon, by cutting off ears (Gary H. Meisters: Polygons Have Ears, 1975).
std::vector<std::uint32_t> triangulate(const Polygon& polygon) {
    std::vector<std::size_t> left;
    for (std::size_t i = 0; i < polygon.size(); ++i)
        left.push_back(i);
    std::vector<std::uint32_t> triangles;
    for (std::size_t k = 0, misses = 0; left.size() > 2 && misses <= left.size();) {
        k %= left.size();
        const std::size_t a = left[k], b = left[(k + 1) % left.size()], c = left[(k + 2) % left.size()];
        bool isEar = turn(polygon, a, b, c) > 0;
        for (const std::size_t p : left)
            if (p != a && p != b && p != c && turn(polygon, a, b, p) >= 0 && turn(polygon, b, c, p) >= 0 &&
                turn(polygon, c, a, p) >= 0)
                isEar = false;
        if (!isEar) {
            ++k;
            ++misses;
            continue;
        }
        misses = 0;
        for (const std::size_t corner : {a, b, c})
            triangles.push_back(static_cast<std::uint32_t>(corner));
        left.erase(left.begin() + static_cast<std::ptrdiff_t>((k + 1) % left.size()));
    }
    return triangles;
}

// A plate with this outline in x and y, from z = 0 to the thickness. Flat normals.
ktBenchmarkMesh makePlate(const Polygon& outline, double thickness, const Placement& place) {
    ktBenchmarkMesh mesh;
    const std::vector<std::uint32_t> triangles = triangulate(outline);
    for (const bool isTop : {true, false}) {
        const std::uint32_t first = mesh.vertexCount();
        for (const auto& p : outline)
            addVertex(mesh, place.point({p[0], p[1], isTop ? thickness : 0}),
                      place.direction({0, 0, isTop ? 1.0 : -1.0}));
        for (std::size_t i = 0; i < triangles.size(); i += 3)
            addTriangle(mesh, first + triangles[i], first + triangles[i + (isTop ? 1 : 2)],
                        first + triangles[i + (isTop ? 2 : 1)]);
    }
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const auto &a = outline[i], &b = outline[(i + 1) % outline.size()];
        const double length = std::hypot(b[0] - a[0], b[1] - a[1]);
        addFlat(mesh,
                {place.point({a[0], a[1], 0}), place.point({b[0], b[1], 0}), place.point({b[0], b[1], thickness}),
                 place.point({a[0], a[1], thickness})},
                place.direction({(b[1] - a[1]) / length, (a[0] - b[0]) / length, 0}));
    }
    return mesh;
}

// How one edge of a plate is cut: into an odd number of segments, of which every second one is set back.
struct Edge {
    int segments = 1;
    bool startsBack = false;

    bool isBack(int segment) const { return (segment % 2 == 0) == startsBack; }
};

// Outline of a plate with fingers. Edges in the order bottom, right, top, left, all counter-clockwise.
Polygon makeOutline(double width, double height, double thickness, const std::array<Edge, 4>& edges) {
    const double corners[4][2] = {{0, 0}, {width, 0}, {width, height}, {0, height}};
    const double along[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}}; // inwards: the next one
    Polygon outline;
    for (std::size_t side = 0; side < 4; ++side) {
        const Edge &edge = edges[side], &before = edges[(side + 3) % 4];
        const double *way = along[side], *in = along[(side + 1) % 4];
        const auto add = [&](double distance, double depth) {
            outline.push_back({corners[side][0] + distance * way[0] + depth * in[0],
                               corners[side][1] + distance * way[1] + depth * in[1]});
        };
        const auto depth = [&](int segment) { return edge.isBack(segment) ? thickness : 0; };
        add(before.isBack(before.segments - 1) ? thickness : 0, depth(0));
        const double length = side % 2 == 0 ? width : height;
        for (int segment = 1; segment < edge.segments; ++segment) {
            add(length * segment / edge.segments, depth(segment - 1));
            add(length * segment / edge.segments, depth(segment));
        }
    }
    return outline;
}

ktBenchmarkScene makePlates() {
    const double width = 0.2, depth = 0.14, height = 0.08, t = 0.004;
    const Edge straight, wide{9, false}, wideBack{9, true}, deep{7, false}, deepBack{7, true}, tall{5, false},
        tallBack{5, true};
    ktBenchmarkScene scene;
    scene.meshes.push_back(
        makePlate(makeOutline(width, depth, t, {wideBack, deepBack, wideBack, deepBack}), t, Placement()));
    const Polygon front = makeOutline(width, height, t, {wide, tall, straight, tall});
    const Polygon side = makeOutline(depth, height, t, {deep, tallBack, straight, tallBack});
    Placement at; // x along the wall, y upwards
    at.y = {0, 0, 1};
    at.z = {0, -1, 0};
    for (const double y : {t, depth}) {
        at.origin = {0, y, 0};
        scene.meshes.push_back(makePlate(front, t, at));
    }
    at.x = {0, 1, 0};
    at.z = {1, 0, 0};
    for (const double x : {0.0, width - t}) {
        at.origin = {x, 0, 0};
        scene.meshes.push_back(makePlate(side, t, at));
    }
    const double inner = depth - 2 * t;
    at.origin = {0.4 * width, t, t};
    scene.meshes.push_back(makePlate({{0, 0}, {inner, 0}, {inner, 0.6 * height}, {0, 0.6 * height}}, t, at));
    return scene;
}

// A closed mesh without normals. Its vertices are shared by its faces.
ktBenchmarkMesh makeWelded() {
    ktBenchmarkMesh mesh;
    mesh.writesNormals = false;
    return mesh;
}

ktBenchmarkMesh makeWeldedBox(const Vector& low, const Vector& high, const Placement& place = {}) {
    ktBenchmarkMesh mesh = makeWelded();
    for (unsigned i = 0; i < 8; ++i)
        addVertex(mesh, place.point({i & 1u ? high[0] : low[0], i & 2u ? high[1] : low[1], i & 4u ? high[2] : low[2]}),
                  {0, 0, 1});
    const std::uint32_t sides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                       {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& side : sides) {
        addTriangle(mesh, side[0], side[1], side[2]);
        addTriangle(mesh, side[0], side[2], side[3]);
    }
    return mesh;
}

// Around z, from z = 0 to the length. The ends are fans from one corner.
ktBenchmarkMesh makeWeldedCylinder(double radius, double length, std::uint32_t around, const Placement& place) {
    ktBenchmarkMesh mesh = makeWelded();
    for (std::uint32_t i = 0; i < around; ++i) {
        const double angle = 2 * M_PI * i / around;
        for (const double z : {0.0, length})
            addVertex(mesh, place.point({radius * std::cos(angle), radius * std::sin(angle), z}), {0, 0, 1});
    }
    for (std::uint32_t i = 0; i < around; ++i) {
        const std::uint32_t a = 2 * i, b = 2 * ((i + 1) % around);
        addTriangle(mesh, a, b, b + 1);
        addTriangle(mesh, a, b + 1, a + 1);
        if (i > 0 && i + 1 < around) {
            addTriangle(mesh, 0, b, a);
            addTriangle(mesh, 1, a + 1, b + 1);
        }
    }
    return mesh;
}

ktBenchmarkMesh makeWeldedBall(double radius, std::uint32_t around, std::uint32_t rings, const Vector& centre) {
    ktBenchmarkMesh mesh = makeWelded();
    const auto add = [&](double polar, double angle) {
        addVertex(mesh,
                  {centre[0] + radius * std::sin(polar) * std::cos(angle),
                   centre[1] + radius * std::sin(polar) * std::sin(angle), centre[2] - radius * std::cos(polar)},
                  {0, 0, 1});
    };
    add(0, 0);
    for (std::uint32_t ring = 1; ring < rings; ++ring)
        for (std::uint32_t i = 0; i < around; ++i)
            add(M_PI * ring / rings, 2 * M_PI * i / around);
    add(M_PI, 0);
    const std::uint32_t top = mesh.vertexCount() - 1;
    for (std::uint32_t i = 0; i < around; ++i) {
        const std::uint32_t next = (i + 1) % around;
        addTriangle(mesh, 0, 1 + next, 1 + i);
        for (std::uint32_t ring = 0; ring + 2 < rings; ++ring) {
            const std::uint32_t a = 1 + ring * around + i, b = 1 + ring * around + next;
            addTriangle(mesh, a, b, b + around);
            addTriangle(mesh, a, b + around, a + around);
        }
        addTriangle(mesh, top, top - around + i, top - around + next);
    }
    return mesh;
}

ktBenchmarkScene makeShelf() {
    const double width = 0.8, depth = 0.3, height = 1.2, t = 0.018;
    ktBenchmarkScene scene;
    const auto add = [&](const Vector& low, const Vector& high) { scene.meshes.push_back(makeWeldedBox(low, high)); };
    add({0, 0, 0}, {t, depth, height});
    add({width - t, 0, 0}, {width, depth, height});
    add({t, 0, 0}, {width - t, depth, t});
    add({t, 0, height - t}, {width - t, depth, height});
    add({t, depth - 0.005, t}, {width - t, depth, height - t});
    for (const double z : {0.3, 0.58, 0.9})
        add({t, 0.01, z}, {width - t, depth - 0.005, z + t});
    add({0.45, 0.01, 0.58 + t}, {0.45 + t, depth - 0.005, 0.9});
    return scene;
}

ktBenchmarkScene makeParts() {
    ktBenchmarkScene scene;
    scene.meshes.push_back(makeWeldedBox({0, 0, 0}, {0.1, 0.07, 0.03}));
    Placement tilted;
    tilted.x = {std::cos(0.6), std::sin(0.6), 0};
    tilted.y = {-std::sin(0.6), std::cos(0.6), 0};
    tilted.origin = {0.07, 0.02, 0.01};
    scene.meshes.push_back(makeWeldedBox({0, 0, 0}, {0.05, 0.03, 0.05}, tilted));
    Placement at;
    at.origin = {0.03, 0.035, -0.01};
    scene.meshes.push_back(makeWeldedCylinder(0.014, 0.08, 64, at));
    at.x = {0, 0, 1};
    at.y = {1, 0, 0};
    at.z = {0, 1, 0};
    at.origin = {0.03, -0.02, 0.045};
    scene.meshes.push_back(makeWeldedCylinder(0.009, 0.11, 48, at));
    scene.meshes.push_back(makeWeldedBall(0.022, 48, 24, {0.062, 0.052, 0.034}));
    return scene;
}

// A box with flat normals, turned about z, to put on a floor: without the bottom.
ktBenchmarkMesh makeFlatBox(const Vector& size, double angle, const Vector& origin) {
    ktBenchmarkMesh mesh;
    Placement at;
    at.x = {std::cos(angle), std::sin(angle), 0};
    at.y = {-std::sin(angle), std::cos(angle), 0};
    at.origin = origin;
    const auto add = [&](const std::array<Vector, 4>& corners, const Vector& normal) {
        addFlat(mesh, {at.point(corners[0]), at.point(corners[1]), at.point(corners[2]), at.point(corners[3])},
                at.direction(normal));
    };
    const double x = size[0], y = size[1], z = size[2];
    add({Vector{0, 0, z}, Vector{x, 0, z}, Vector{x, y, z}, Vector{0, y, z}}, {0, 0, 1});
    add({Vector{0, 0, 0}, Vector{x, 0, 0}, Vector{x, 0, z}, Vector{0, 0, z}}, {0, -1, 0});
    add({Vector{x, y, 0}, Vector{0, y, 0}, Vector{0, y, z}, Vector{x, y, z}}, {0, 1, 0});
    add({Vector{0, y, 0}, Vector{0, 0, 0}, Vector{0, 0, z}, Vector{0, y, z}}, {-1, 0, 0});
    add({Vector{x, 0, 0}, Vector{x, y, 0}, Vector{x, y, z}, Vector{x, 0, z}}, {1, 0, 0});
    return mesh;
}

ktBenchmarkScene makeRoom() {
    const double width = 4, depth = 3, height = 2.4;
    ktBenchmarkScene scene;
    ktBenchmarkMesh shell;
    addFlat(shell, {Vector{0, 0, 0}, Vector{width, 0, 0}, Vector{width, depth, 0}, Vector{0, depth, 0}}, {0, 0, 1});
    addFlat(shell,
            {Vector{0, depth, 0}, Vector{width, depth, 0}, Vector{width, depth, height}, Vector{0, depth, height}},
            {0, -1, 0});
    addFlat(shell, {Vector{0, 0, 0}, Vector{0, depth, 0}, Vector{0, depth, height}, Vector{0, 0, height}}, {1, 0, 0});
    addFlat(shell,
            {Vector{width, depth, 0}, Vector{width, 0, 0}, Vector{width, 0, height}, Vector{width, depth, height}},
            {-1, 0, 0});
    scene.meshes.push_back(std::move(shell));
    scene.meshes.push_back(makeFlatBox({0.6, 1.8, 2.0}, 0, {3.3, 1.1, 0}));
    scene.meshes.push_back(makeFlatBox({1.6, 0.8, 0.45}, 0, {0.2, 2.1, 0}));
    scene.meshes.push_back(makeFlatBox({0.9, 0.6, 0.72}, 0.4, {1.6, 0.9, 0}));
    scene.meshes.push_back(makeFlatBox({0.4, 0.4, 0.4}, 1.1, {2.8, 0.5, 0}));
    return scene;
}

} // namespace

std::optional<ktBenchmarkScene> ktMakeQualityModel(const std::string& name) {
    ktBenchmarkScene scene;
    if (name == "plates")
        scene = makePlates();
    else if (name == "shelf")
        scene = makeShelf();
    else if (name == "parts")
        scene = makeParts();
    else if (name == "room")
        scene = makeRoom();
    else
        return {};
    scene.name = name;
    return scene;
}
