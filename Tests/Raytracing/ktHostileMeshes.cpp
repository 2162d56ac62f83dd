// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes scenes that provoke errors of ray tracers, such as needles, huge sides and degenerate triangles.
#include "ktHostileMeshes.h"

#include <limits>
#include <random>

namespace {

using Point = std::array<double, 3>;

class Random {
public:
    explicit Random(unsigned seed) : generator(seed) {}
    double within(double low, double high) { return std::uniform_real_distribution<double>(low, high)(generator); }
    Point point(double extent) { return {within(-extent, extent), within(-extent, extent), within(-extent, extent)}; }

private:
    std::mt19937 generator;
};

Point operator+(Point a, Point b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

void addTriangle(ktTestMesh& mesh, Point a, Point b, Point c) {
    const std::uint32_t first = mesh.addVertex(a[0], a[1], a[2]);
    mesh.addVertex(b[0], b[1], b[2]);
    mesh.addVertex(c[0], c[1], c[2]);
    mesh.addTriangle(first, first + 1, first + 2);
}

ktTestMesh sphere(Point centre, double radius, int rings) {
    ktTestMesh mesh;
    mesh.addSphere(radius, rings, 2 * rings);
    for (std::size_t i = 0; i < mesh.positions.size(); ++i)
        mesh.positions[i] = static_cast<float>(mesh.positions[i] + centre[i % 3]);
    return mesh;
}

ktTestMesh box(Point corner, Point size) {
    ktTestMesh mesh;
    const double x = size[0], y = size[1], z = size[2];
    mesh.addQuad(corner, {0, y, 0}, {x, 0, 0});
    mesh.addQuad(corner, {x, 0, 0}, {0, 0, z});
    mesh.addQuad(corner, {0, 0, z}, {0, y, 0});
    mesh.addQuad(corner + Point{0, 0, z}, {x, 0, 0}, {0, y, 0});
    mesh.addQuad(corner + Point{0, y, 0}, {0, 0, z}, {x, 0, 0});
    mesh.addQuad(corner + Point{x, 0, 0}, {0, y, 0}, {0, 0, z});
    return mesh;
}

// Random triangles: corners within `size` of a point, points within `extent`.
ktTestMesh scattered(unsigned seed, int count, double extent, double size) {
    Random random(seed);
    ktTestMesh mesh;
    for (int i = 0; i < count; ++i) {
        const Point p = random.point(extent);
        addTriangle(mesh, p + random.point(size), p + random.point(size), p + random.point(size));
    }
    return mesh;
}

void scale(std::vector<ktTestMesh>& meshes, double factor) {
    for (ktTestMesh& mesh : meshes)
        for (float& value : mesh.positions)
            value = static_cast<float>(value * factor);
}

} // namespace

std::vector<ktTestMesh> ktHostileMeshes::spheres() {
    return {sphere({0, 0, 0}, 2, 24), sphere({3, 1, 0}, 1.5, 24), sphere({-1, 3, 1}, 1, 16), sphere({0, 0, 0}, 9, 32)};
}

std::vector<ktTestMesh> ktHostileMeshes::boxes() {
    std::vector<ktTestMesh> meshes;
    Random random(2);
    for (int i = 0; i < 60; ++i) {
        const auto whole = [&](double low, double high) { return std::floor(random.within(low, high)); };
        meshes.push_back(box({whole(0, 8), whole(0, 8), whole(0, 8)}, {whole(1, 4), whole(1, 4), whole(1, 4)}));
    }
    meshes.push_back(box({-4, -4, -4}, {20, 20, 20}));
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::needles() {
    ktTestMesh mesh;
    Random random(3);
    for (int i = 0; i < 4000; ++i) {
        const Point p = random.point(2), along = random.point(2), beside = random.point(2e-6);
        addTriangle(mesh, p, p + along, p + beside);
    }
    return {mesh, sphere({0, 0, 0}, 5, 24)};
}

std::vector<ktTestMesh> ktHostileMeshes::soup() {
    return {scattered(4, 2000, 3, 0.1), scattered(5, 100, 3, 1), scattered(6, 10, 3, 10)};
}

std::vector<ktTestMesh> ktHostileMeshes::largeUneven() {
    return {scattered(13, 1000000, 0.2, 0.0005), scattered(14, 2000, 3, 0.3), scattered(15, 100, 3, 3)};
}

std::vector<ktTestMesh> ktHostileMeshes::hugeAmongSmall() {
    return {scattered(7, 1000, 3, 0.3), scattered(8, 4, 1e12, 1e12), scattered(9, 4, 1e3, 1e9)};
}

std::vector<ktTestMesh> ktHostileMeshes::hugeScene() {
    std::vector<ktTestMesh> meshes = soup();
    scale(meshes, 2e11);
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::beyondRange() {
    std::vector<ktTestMesh> meshes = soup();
    scale(meshes, 1e17);
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::tinyScene() {
    std::vector<ktTestMesh> meshes = soup();
    scale(meshes, 1e-9);
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::tinyAmongLarge() {
    return {scattered(10, 3000, 1, 1e-7), scattered(11, 200, 1, 0.5)};
}

std::vector<ktTestMesh> ktHostileMeshes::farFromOrigin() {
    std::vector<ktTestMesh> meshes = boxes();
    for (ktTestMesh& mesh : meshes)
        for (float& value : mesh.positions)
            value += 1e5f;
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::coplanarStack() {
    std::vector<ktTestMesh> meshes{box({-3, -3, -3}, {6, 6, 6})};
    ktTestMesh stack;
    for (int i = 0; i < 1000; ++i)
        stack.addQuad({-1, -1, 0.5}, {2, 0, 0}, {0, 2, 0.25});
    for (int i = 0; i < 100; ++i)
        stack.addQuad({-1, -1, 0.5 + 1e-6 * i}, {2, 0, 0}, {0, 2, 0.25});
    meshes.push_back(stack);
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::degenerate() {
    std::vector<ktTestMesh> meshes = spheres();
    ktTestMesh flat;
    Random random(12);
    for (int i = 0; i < 500; ++i) {
        const Point p = random.point(4), along = random.point(2);
        addTriangle(flat, p, p, p);
        addTriangle(flat, p, p + along, p);
        addTriangle(flat, p, p + along, p + along + along);
    }
    meshes.push_back(flat);
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::notFinite() {
    std::vector<ktTestMesh> meshes = spheres();
    ktTestMesh bad = scattered(13, 300, 3, 1);
    const float values[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max(), -3e30f};
    for (std::size_t i = 0; i < 300; ++i)
        bad.positions[9 * i + i % 9] = values[i % 5];
    meshes.push_back(bad);
    return meshes;
}

std::vector<ktTestMesh> ktHostileMeshes::manyScales() {
    ktTestMesh mesh;
    Random random(14);
    for (int exponent = -122; exponent < 40; ++exponent)
        for (int i = 0; i < 300; ++i) {
            const double size = std::ldexp(1.0, exponent);
            const Point p = random.point(size);
            addTriangle(mesh, p, p + random.point(0.2 * size), p + random.point(0.2 * size));
        }
    return {mesh};
}

std::vector<ktTestMesh> ktHostileMeshes::onePoint() {
    ktTestMesh mesh;
    const std::uint32_t point = mesh.addVertex(1, 2, 3);
    for (int i = 0; i < 1000000; ++i)
        mesh.addTriangle(point, point, point);
    const std::uint32_t second = mesh.addVertex(1.1, 2, 3), third = mesh.addVertex(1, 2.1, 3.1);
    for (int i = 0; i < 20000; ++i)
        mesh.addTriangle(point, second, third);
    return {mesh, sphere({0, 0, 0}, 6, 24)};
}
