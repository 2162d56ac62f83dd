// SPDX-License-Identifier: LGPL-2.1-or-later
// Normals of surfaces that came without: flat, smooth, and split at creases.
#include "ktCreaseNormals.h"

#include <cmath>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

struct Mesh {
    std::vector<float> positions;
    std::vector<std::uint32_t> triangles;

    std::size_t count() const { return positions.size() / 3; }
    ktCreasedSurface creased(double angle_deg = 30) const {
        return ktFindCreaseNormals(positions.data(), count(), triangles, angle_deg);
    }
    void addQuad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
        triangles.insert(triangles.end(), {a, b, c, a, c, d});
    }
    /// The mesh with the vertices that were added.
    Mesh with(const ktCreasedSurface& surface) const {
        Mesh out = *this;
        for (const std::uint32_t vertex : surface.added)
            for (std::size_t c = 0; c < 3; ++c)
                out.positions.push_back(positions[3 * vertex + c]);
        if (!surface.added.empty())
            out.triangles = surface.triangles;
        return out;
    }
    /// Each triangle with three vertices of its own.
    Mesh unwelded() const {
        Mesh out;
        for (const std::uint32_t index : triangles) {
            out.triangles.push_back(static_cast<std::uint32_t>(out.count()));
            for (std::size_t c = 0; c < 3; ++c)
                out.positions.push_back(positions[3 * index + c]);
        }
        return out;
    }
};

Mesh makeCube() {
    Mesh cube;
    for (int i = 0; i < 8; ++i)
        for (const int bit : {1, 2, 4})
            cube.positions.push_back(i & bit ? 1.0f : -1.0f);
    cube.addQuad(0, 2, 3, 1);
    cube.addQuad(4, 5, 7, 6);
    cube.addQuad(0, 1, 5, 4);
    cube.addQuad(2, 6, 7, 3);
    cube.addQuad(0, 4, 6, 2);
    cube.addQuad(1, 3, 7, 5);
    return cube;
}

// A cylinder along z with caps: vertices 0 to sides - 1 at the bottom, then as many at the top, then the two middles.
Mesh makeCylinder(std::uint32_t sides) {
    Mesh mesh;
    for (const float z : {-1.0f, 1.0f})
        for (std::uint32_t i = 0; i < sides; ++i) {
            const double angle = 2 * M_PI * i / sides;
            mesh.positions.insert(mesh.positions.end(),
                                  {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), z});
        }
    mesh.positions.insert(mesh.positions.end(), {0, 0, -1, 0, 0, 1});
    for (std::uint32_t i = 0; i < sides; ++i) {
        const std::uint32_t next = (i + 1) % sides;
        mesh.addQuad(i, next, sides + next, sides + i);
        mesh.triangles.insert(mesh.triangles.end(), {2 * sides, next, i, 2 * sides + 1, sides + i, sides + next});
    }
    return mesh;
}

std::vector<float> at(const std::vector<float>& values, std::size_t i) {
    return {values.begin() + static_cast<std::ptrdiff_t>(3 * i),
            values.begin() + static_cast<std::ptrdiff_t>(3 * i + 3)};
}

// The unit normal of a triangle.
std::vector<float> faceNormal(const Mesh& mesh, std::size_t triangle) {
    double edge[2][3];
    for (std::size_t e = 0; e < 2; ++e)
        for (std::size_t c = 0; c < 3; ++c)
            edge[e][c] = double(mesh.positions[3 * mesh.triangles[3 * triangle + 1 + e] + c]) -
                         mesh.positions[3 * mesh.triangles[3 * triangle] + c];
    const double n[3] = {edge[0][1] * edge[1][2] - edge[0][2] * edge[1][1],
                         edge[0][2] * edge[1][0] - edge[0][0] * edge[1][2],
                         edge[0][0] * edge[1][1] - edge[0][1] * edge[1][0]};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    return {static_cast<float>(n[0] / length), static_cast<float>(n[1] / length), static_cast<float>(n[2] / length)};
}

void expectFlat(const Mesh& mesh, const std::vector<float>& normals) {
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const std::vector<float> face = faceNormal(mesh, i / 3);
        EXPECT_THAT(at(normals, mesh.triangles[i]),
                    ElementsAre(FloatNear(face[0], 1e-6f), FloatNear(face[1], 1e-6f), FloatNear(face[2], 1e-6f)))
            << i;
    }
}

// A second call adds nothing and finds the same normals.
void expectStable(const Mesh& mesh, double angle_deg = 30) {
    const ktCreasedSurface once = mesh.creased(angle_deg);
    const ktCreasedSurface twice = mesh.with(once).creased(angle_deg);
    EXPECT_THAT(twice.added, IsEmpty());
    EXPECT_EQ(twice.normals, once.normals);
    EXPECT_EQ(twice.isFlat, once.isFlat);
}

} // namespace

TEST(CreaseNormals, GivenWeldedCube_SplitsEachCornerInThree) {
    const Mesh cube = makeCube();
    const ktCreasedSurface surface = cube.creased();
    ASSERT_THAT(surface.added, SizeIs(16));
    for (std::uint32_t vertex = 0; vertex < 8; ++vertex)
        EXPECT_EQ(std::count(surface.added.begin(), surface.added.end(), vertex), 2);
    EXPECT_TRUE(surface.isFlat);
    ASSERT_EQ(surface.normals.size(), 3 * 24u);
    expectFlat(cube.with(surface), surface.normals);
    expectStable(cube);
}

TEST(CreaseNormals, GivenUnweldedTriangles_AreFlat) {
    for (const Mesh& mesh : {makeCube().unwelded(), makeCylinder(48).unwelded()}) {
        const ktCreasedSurface surface = mesh.creased();
        EXPECT_THAT(surface.added, IsEmpty());
        EXPECT_TRUE(surface.isFlat);
        expectFlat(mesh, surface.normals);
    }
}

TEST(CreaseNormals, GivenCylinder_SideIsSmoothAndCapsAreFlat) {
    for (const std::uint32_t sides : {12u, 24u}) { // 12: at just 30 degrees
        const Mesh mesh = makeCylinder(sides);
        const ktCreasedSurface surface = mesh.creased();
        EXPECT_THAT(surface.added, SizeIs(2 * sides)) << sides;
        EXPECT_FALSE(surface.isFlat);
        const Mesh split = mesh.with(surface);
        for (std::size_t i = 0; i < split.triangles.size(); ++i) {
            const std::vector<float> face = faceNormal(split, i / 3), normal = at(surface.normals, split.triangles[i]);
            const std::vector<float> place = at(split.positions, split.triangles[i]);
            if (std::fabs(face[2]) > 0.5f)
                EXPECT_THAT(normal, ElementsAre(FloatNear(0, 1e-6f), FloatNear(0, 1e-6f), FloatNear(face[2], 1e-6f)));
            else
                EXPECT_THAT(normal,
                            ElementsAre(FloatNear(place[0], 1e-5f), FloatNear(place[1], 1e-5f), FloatNear(0, 1e-6f)));
        }
        expectStable(mesh);
    }
}

TEST(CreaseNormals, GivenAngle_SplitsSharperEdgesOnly) {
    const Mesh mesh = makeCylinder(24);
    EXPECT_THAT(mesh.creased(10).added, SizeIs(4 * 24)) << "each side is flat, too";
    EXPECT_TRUE(mesh.creased(0).isFlat);
    EXPECT_THAT(mesh.creased(90).added, IsEmpty());
    EXPECT_THAT(mesh.creased(180).added, IsEmpty());
    EXPECT_FALSE(mesh.creased(180).isFlat);
    for (const double angle : {0.0, 10.0, 30.0, 90.0, 180.0})
        expectStable(mesh, angle);
}

TEST(CreaseNormals, GivenSeamInCurvedSurface_IsSmoothAcrossIt) {
    // The side of a cylinder whose first and last vertices are at the same positions.
    Mesh mesh;
    for (std::uint32_t i = 0; i <= 24; ++i)
        for (const float z : {-1.0f, 1.0f}) {
            const double angle = 2 * M_PI * (i % 24) / 24;
            mesh.positions.insert(mesh.positions.end(),
                                  {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), z});
        }
    for (std::uint32_t i = 0; i < 24; ++i)
        mesh.addQuad(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1);
    const ktCreasedSurface surface = mesh.creased();
    EXPECT_THAT(surface.added, IsEmpty());
    for (const std::size_t vertex : {0, 1, 48, 49})
        EXPECT_THAT(at(surface.normals, vertex), ElementsAre(FloatNear(1, 1e-5f), FloatNear(0, 1e-5f), 0)) << vertex;
    expectStable(mesh);
}

TEST(CreaseNormals, GivenSheetsBackToBack_EachKeepsItsSide) {
    const std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const Mesh sheets = {positions, {0, 1, 2, 0, 2, 1}};
    const ktCreasedSurface surface = sheets.creased();
    EXPECT_THAT(surface.added, ElementsAre(0, 1, 2));
    EXPECT_THAT(surface.triangles, ElementsAre(0, 1, 2, 3, 5, 4));
    EXPECT_THAT(at(surface.normals, 0), ElementsAre(0, 0, 1));
    EXPECT_THAT(at(surface.normals, 3), ElementsAre(0, 0, -1));
    expectStable(sheets);
}

TEST(CreaseNormals, GivenTrianglesWithoutArea_TakesTheOthers) {
    Mesh mesh = {{0, 0, 0, 1, 0, 0, 0, 1, 0, 2, 0, 0, 5, 5, 5}, {0, 1, 2, 0, 1, 3, 4, 4, 4}};
    const ktCreasedSurface surface = mesh.creased();
    EXPECT_THAT(surface.added, IsEmpty());
    EXPECT_THAT(at(surface.normals, 0), ElementsAre(0, 0, 1));
    EXPECT_THAT(at(surface.normals, 3), ElementsAre(0, 1, 0)) << "no triangle with an area has it";
    expectStable(mesh);
}

TEST(CreaseNormals, GivenTinyAndHugeTriangles_StillFindsTheirNormals) {
    for (const float size : {1e-30f, 1e-10f, 1e15f, 1e30f}) {
        const Mesh mesh = {{0, 0, 0, size, 0, 0, 0, size, -0.0f}, {0, 1, 2}};
        EXPECT_THAT(at(mesh.creased().normals, 1), ElementsAre(0, 0, 1)) << size;
    }
}

TEST(CreaseNormals, GivenManyTrianglesAtOneEdge_EndsSoon) {
    Mesh fan = {{0, 0, 0, 0, 0, 1}, {}};
    for (std::uint32_t i = 0; i < 100000; ++i) {
        const double angle = 2 * M_PI * i / 100000;
        fan.positions.insert(fan.positions.end(),
                             {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0});
        fan.triangles.insert(fan.triangles.end(), {0, 1, i + 2});
    }
    EXPECT_EQ(fan.creased(0).normals.size() % 3, 0u);
}
