// SPDX-License-Identifier: LGPL-2.1-or-later
// Loads a scene with Assimp or generates an assembly of machine parts, as world-space meshes for benchmarks.
#include "ktBenchmarkScenes.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

std::size_t ktBenchmarkScene::triangleCount() const {
    std::size_t count = 0;
    for (const ktBenchmarkMesh& mesh : meshes)
        count += mesh.triangleCount();
    return count;
}

std::size_t ktBenchmarkScene::vertexCount() const {
    std::size_t count = 0;
    for (const ktBenchmarkMesh& mesh : meshes)
        count += mesh.vertexCount();
    return count;
}

float ktBenchmarkScene::diagonal() const {
    float lower[3] = {INFINITY, INFINITY, INFINITY}, upper[3] = {-INFINITY, -INFINITY, -INFINITY};
    for (const ktBenchmarkMesh& mesh : meshes)
        for (std::size_t i = 0; i < mesh.normals.size(); ++i) {
            lower[i % 3] = std::min(lower[i % 3], mesh.positions[i]);
            upper[i % 3] = std::max(upper[i % 3], mesh.positions[i]);
        }
    return std::hypot(upper[0] - lower[0], upper[1] - lower[1], upper[2] - lower[2]);
}

namespace {

void addInstances(const aiScene& scene, const aiNode& node, const aiMatrix4x4& parent, ktBenchmarkScene& out) {
    const aiMatrix4x4 toWorld = parent * node.mTransformation;
    aiMatrix3x3 normalToWorld(toWorld);
    normalToWorld.Inverse().Transpose();
    for (unsigned m = 0; m < node.mNumMeshes; ++m) {
        const aiMesh& mesh = *scene.mMeshes[node.mMeshes[m]];
        ktBenchmarkMesh copy;
        for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
            const aiVector3D p = toWorld * mesh.mVertices[i];
            const aiVector3D n = (normalToWorld * mesh.mNormals[i]).NormalizeSafe();
            copy.positions.insert(copy.positions.end(), {p.x, p.y, p.z});
            copy.normals.insert(copy.normals.end(), {n.x, n.y, n.z});
        }
        copy.positions.push_back(0);
        for (unsigned i = 0; i < mesh.mNumFaces; ++i)
            if (mesh.mFaces[i].mNumIndices == 3)
                copy.indices.insert(copy.indices.end(), mesh.mFaces[i].mIndices, mesh.mFaces[i].mIndices + 3);
        if (!copy.indices.empty())
            out.meshes.push_back(std::move(copy));
    }
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        addInstances(scene, *node.mChildren[i], toWorld, out);
}

struct Vec {
    double x, y, z;
};

// Random numbers that are equal with every compiler and library.
class Random {
public:
    double next() {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<double>(state >> 40) / double(1 << 24);
    }
    double between(double a, double b) { return a + (b - a) * next(); }

private:
    std::uint64_t state = 20090525;
};

// The position of a part: a rotation and an offset.
struct Placement {
    Vec x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1}, offset{0, 0, 0};
    Vec operator()(Vec p) const {
        return {offset.x + p.x * x.x + p.y * y.x + p.z * z.x, offset.y + p.x * x.y + p.y * y.y + p.z * z.y,
                offset.z + p.x * x.z + p.y * y.z + p.z * z.z};
    }
};

Placement turned(Random& random, Vec offset) {
    // Three of four parts are parallel to the axes, as in most assemblies.
    const double a = random.next() < 0.75 ? std::floor(random.between(0, 4)) * M_PI / 2 : random.between(0, 2 * M_PI);
    const double b = random.next() < 0.75 ? std::floor(random.between(0, 4)) * M_PI / 2 : random.between(0, 2 * M_PI);
    Placement p;
    p.x = {std::cos(a) * std::cos(b), std::sin(a) * std::cos(b), -std::sin(b)};
    p.y = {-std::sin(a), std::cos(a), 0};
    p.z = {std::cos(a) * std::sin(b), std::sin(a) * std::sin(b), std::cos(b)};
    p.offset = offset;
    return p;
}

// A grid of (columns + 1) x (rows + 1) points with normals from its faces.
void addPatch(ktBenchmarkMesh& mesh, const Placement& place, int columns, int rows,
              const std::function<Vec(double, double)>& point) {
    const std::uint32_t first = mesh.vertexCount();
    if (!mesh.positions.empty())
        mesh.positions.pop_back();
    for (int r = 0; r <= rows; ++r) {
        for (int c = 0; c <= columns; ++c) {
            const double u = double(c) / columns, v = double(r) / rows, e = 1e-4;
            const Vec p = place(point(u, v));
            const Vec l = place(point(u - e, v)), h = place(point(u + e, v)), b = place(point(u, v - e)),
                      t = place(point(u, v + e));
            const Vec s{h.x - l.x, h.y - l.y, h.z - l.z}, w{t.x - b.x, t.y - b.y, t.z - b.z};
            Vec n{s.y * w.z - s.z * w.y, s.z * w.x - s.x * w.z, s.x * w.y - s.y * w.x};
            double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
            if (!(length > 0)) {
                n = place.z;
                length = 1;
            }
            for (double x : {p.x, p.y, p.z})
                mesh.positions.push_back(static_cast<float>(x));
            for (double x : {n.x / length, n.y / length, n.z / length})
                mesh.normals.push_back(static_cast<float>(x));
        }
    }
    mesh.positions.push_back(0);
    const std::uint32_t stride = static_cast<std::uint32_t>(columns) + 1;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            const std::uint32_t i = first + static_cast<std::uint32_t>(r) * stride + static_cast<std::uint32_t>(c);
            for (std::uint32_t k : {i, i + 1, i + stride + 1, i, i + stride + 1, i + stride})
                mesh.indices.push_back(k);
        }
    }
}

// A body of revolution around z; `profile` gives radius (x) and height (z).
void addTurned(ktBenchmarkMesh& mesh, const Placement& place, int around, int along,
               const std::function<Vec(double)>& profile) {
    addPatch(mesh, place, around, along, [&](double u, double v) {
        const Vec p = profile(v);
        return Vec{p.x * std::cos(2 * M_PI * u), p.x * std::sin(2 * M_PI * u), p.z};
    });
}

void addDisc(ktBenchmarkMesh& mesh, const Placement& place, int around, double inner, double outer, double z) {
    addTurned(mesh, place, around, 1, [=](double v) { return Vec{outer + (inner - outer) * v, 0, z}; });
}

void addBolt(ktBenchmarkMesh& mesh, const Placement& place, Random& random) {
    const double r = random.between(0.05, 0.12), length = random.between(0.4, 0.9);
    addTurned(mesh, place, 36, 48, [=](double v) {
        return Vec{r * (1 + 0.12 * std::sin(v * 48 * M_PI)), 0, v * length};
    });
    addTurned(mesh, place, 6, 1, [=](double v) { return Vec{1.8 * r, 0, length + v * r}; });
    addDisc(mesh, place, 6, 0, 1.8 * r, length + r);
}

void addTube(ktBenchmarkMesh& mesh, const Placement& place, Random& random) {
    const double radius = random.between(0.25, 0.6), r = random.between(0.04, 0.1), turn = random.between(1.5, 5.5);
    addPatch(mesh, place, 24, 72, [=](double u, double v) {
        const double a = turn * v, b = 2 * M_PI * u, d = radius + r * std::cos(b);
        return Vec{d * std::cos(a), d * std::sin(a), r * std::sin(b)};
    });
}

void addGear(ktBenchmarkMesh& mesh, const Placement& place, Random& random) {
    const double radius = random.between(0.25, 0.55), thick = random.between(0.08, 0.2);
    const int teeth = static_cast<int>(random.between(18, 40));
    const auto outline = [=](double u) {
        const double wave = std::max(-1.0, std::min(1.0, 2.5 * std::sin(2 * M_PI * teeth * u)));
        return radius * (1 + 0.06 * wave);
    };
    const auto ring = [=](double u, double r, double z) {
        return Vec{r * std::cos(2 * M_PI * u), r * std::sin(2 * M_PI * u), z};
    };
    addPatch(mesh, place, teeth * 12, 1, [=](double u, double v) { return ring(u, outline(u), v * thick); });
    addPatch(mesh, place, teeth * 12, 1,
             [=](double u, double v) { return ring(u, outline(u) * (1 - v) + 0.3 * radius * v, thick); });
    addPatch(mesh, place, teeth * 12, 1,
             [=](double u, double v) { return ring(u, 0.3 * radius * (1 - v) + outline(u) * v, 0); });
    addTurned(mesh, place, 48, 4, [=](double v) { return Vec{0.3 * radius, 0, thick * (1 - v)}; });
}

void addBall(ktBenchmarkMesh& mesh, const Placement& place, Random& random) {
    const double r = random.between(0.1, 0.3);
    addTurned(mesh, place, 48, 24, [=](double v) { return Vec{r * std::sin(M_PI * v), 0, -r * std::cos(M_PI * v)}; });
}

void addPlate(ktBenchmarkMesh& mesh, const Placement& place, double width, double height, double thick) {
    const auto side = [&](Vec o, Vec a, Vec b) {
        addPatch(mesh, place, 1, 1, [=](double u, double v) {
            return Vec{o.x + u * a.x + v * b.x, o.y + u * a.y + v * b.y, o.z + u * a.z + v * b.z};
        });
    };
    const double w = width / 2, h = height / 2, t = thick / 2;
    side({-w, -h, t}, {width, 0, 0}, {0, height, 0});
    side({-w, h, -t}, {width, 0, 0}, {0, -height, 0});
    side({-w, -h, -t}, {width, 0, 0}, {0, 0, thick});
    side({w, h, -t}, {-width, 0, 0}, {0, 0, thick});
    side({-w, h, -t}, {0, -height, 0}, {0, 0, thick});
    side({w, -h, -t}, {0, height, 0}, {0, 0, thick});
}

} // namespace

ktBenchmarkScene ktLoadBenchmarkScene(const std::string& name, const std::string& path) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, aiProcess_Triangulate | aiProcess_JoinIdenticalVertices |
                                                       aiProcess_GenSmoothNormals | aiProcess_SortByPType);
    if (!scene)
        throw std::runtime_error(path + ": " + importer.GetErrorString());
    ktBenchmarkScene out;
    out.name = name;
    addInstances(*scene, *scene->mRootNode, aiMatrix4x4(), out);
    return out;
}

ktBenchmarkScene ktMakeAssembly(std::size_t triangles) {
    ktBenchmarkScene scene;
    scene.name = "assembly";
    Random random;
    // Cells of size 1 hold one part each; an average part has about 2,600 triangles.
    const double cells = double(triangles) / 2600;
    const int depth = std::max(1, static_cast<int>(std::lround(std::cbrt(cells / 3.75))));
    const int height = std::max(1, static_cast<int>(std::lround(1.5 * depth))),
              width = std::max(1, static_cast<int>(std::lround(2.5 * depth)));
    std::size_t count = 0;
    for (int i = 0; count < triangles; ++i) {
        const int x = i % width, y = i / width % height, z = i / (width * height);
        ktBenchmarkMesh mesh;
        const Placement place =
            turned(random, {x + random.between(0.3, 0.7), y + random.between(0.3, 0.7), z + random.between(0.3, 0.7)});
        const double kind = random.next();
        if (kind < 0.35)
            addBolt(mesh, place, random);
        else if (kind < 0.6)
            addTube(mesh, place, random);
        else if (kind < 0.8)
            addGear(mesh, place, random);
        else if (kind < 0.92)
            addBall(mesh, place, random);
        else
            addPlate(mesh, place, random.between(0.8, 4), random.between(0.8, 4), random.between(0.02, 0.1));
        count += mesh.triangleCount();
        scene.meshes.push_back(std::move(mesh));
    }
    // The housing: floor and two walls.
    Placement at;
    for (int side = 0; side < 3; ++side) {
        ktBenchmarkMesh mesh;
        at.offset = side == 0   ? Vec{width / 2.0, height / 2.0, -0.6}
                    : side == 1 ? Vec{width / 2.0, -0.6, depth / 2.0}
                                : Vec{-0.6, height / 2.0, depth / 2.0};
        at.x = side == 2 ? Vec{0, 1, 0} : Vec{1, 0, 0};
        at.y = side == 0 ? Vec{0, 1, 0} : Vec{0, 0, 1};
        at.z = side == 0 ? Vec{0, 0, 1} : side == 1 ? Vec{0, -1, 0} : Vec{1, 0, 0};
        addPlate(mesh, at, side == 2 ? height + 1.0 : width + 1.0, side == 0 ? height + 1.0 : depth + 1.0, 0.1);
        scene.meshes.push_back(std::move(mesh));
    }
    return scene;
}
