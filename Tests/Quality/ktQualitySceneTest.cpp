// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how the quality report reads files, makes normals, and generates its scenes.
#include "ktBenchmarkGlb.h"
#include "ktQualityBlender.h"
#include "ktQualityEven.h"
#include "ktQualityFile.h"
#include "ktQualityModels.h"
#include "ktTestSurface.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>

namespace fs = std::filesystem;

namespace {

std::string temporaryPath(const std::string& name) {
    return (fs::path(testing::TempDir()) / ("ktQuality-" + name + ".glb")).string();
}

// Where each edge of a closed mesh is used once in each direction, its volume is positive if its normals are outside.
void expectClosed(const ktBenchmarkMesh& mesh) {
    std::map<std::pair<std::array<float, 3>, std::array<float, 3>>, int> edges;
    double volume = 0;
    const auto at = [&](std::size_t i) {
        const float* p = &mesh.positions[3 * std::size_t(mesh.indices[i])];
        return std::array<float, 3>{p[0], p[1], p[2]};
    };
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const auto a = at(i), b = at(i + 1), c = at(i + 2);
        for (const auto& [from, to] : {std::pair(a, b), std::pair(b, c), std::pair(c, a)}) {
            ++edges[{from, to}];
            --edges[{to, from}];
        }
        volume += (double(a[0]) * (double(b[1]) * c[2] - double(b[2]) * c[1]) +
                   double(a[1]) * (double(b[2]) * c[0] - double(b[0]) * c[2]) +
                   double(a[2]) * (double(b[0]) * c[1] - double(b[1]) * c[0])) /
                  6;
    }
    for (const auto& edge : edges)
        EXPECT_EQ(edge.second, 0);
    EXPECT_GT(volume, 0);
}

} // namespace

TEST(QualityModels, GivenPlatesShelfAndParts_AreClosedWithNormalsOutside) {
    for (const char* name : {"plates", "shelf", "parts"}) {
        const std::optional<ktBenchmarkScene> scene = ktMakeQualityModel(name);
        ASSERT_TRUE(scene) << name;
        for (const ktBenchmarkMesh& mesh : scene->meshes)
            expectClosed(mesh);
    }
    EXPECT_FALSE(ktMakeQualityModel("nothing"));
}

TEST(QualityModels, GivenPlatesAndRoom_HaveTheNormalsOfTheirFaces) {
    for (const char* name : {"plates", "room"}) {
        const std::optional<ktBenchmarkScene> scene = ktMakeQualityModel(name);
        ASSERT_TRUE(scene) << name;
        for (const ktBenchmarkMesh& mesh : scene->meshes) {
            ktQualityMesh copy;
            copy.positions = mesh.positions;
            copy.indices = mesh.indices;
            copy.sky.resize(mesh.vertexCount());
            for (std::uint32_t triangle = 0; triangle < mesh.triangleCount(); ++triangle) {
                const ktQualityVector area = copy.areaVector(triangle);
                const float* normal = &mesh.normals[3 * std::size_t(mesh.indices[3 * std::size_t(triangle)])];
                EXPECT_NEAR((area[0] * normal[0] + area[1] * normal[1] + area[2] * normal[2]) /
                                std::hypot(area[0], area[1], area[2]),
                            1, 1e-6)
                    << name;
            }
        }
    }
}

TEST(QualityFile, GivenFileWithoutNormals_ReadsFacesNormalsAndUnit) {
    const std::string path = temporaryPath("shelf");
    ktSaveBenchmarkScene(*ktMakeQualityModel("shelf"), path);
    const ktQualityScene scene = ktReadQualityScene(path, 2946.184); // twice as large as in metres
    fs::remove(path);
    ASSERT_EQ(scene.meshes.size(), 9u);
    EXPECT_EQ(scene.vertices, 72u);
    EXPECT_EQ(scene.triangles, 108u);
    EXPECT_NEAR(scene.occluderDiagonal(), 2946.184, 0.02);
    EXPECT_NEAR(scene.unit_mm, 2000, 0.01);
    for (const ktQualityMesh& mesh : scene.meshes)
        for (std::uint32_t triangle = 0; triangle < mesh.triangleCount(); ++triangle) {
            const ktQualityVector area = mesh.areaVector(triangle);
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const float* normal = &mesh.cornerNormals[9 * std::size_t(triangle) + 3 * corner];
                EXPECT_NEAR((area[0] * normal[0] + area[1] * normal[1] + area[2] * normal[2]) /
                                std::hypot(area[0], area[1], area[2]),
                            1, 1e-5);
            }
        }
}

TEST(QualityFile, GivenMissingFile_NamesIt) {
    try {
        ktReadQualityScene(temporaryPath("missing"), 1);
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("missing"), std::string::npos);
    }
}

TEST(QualityFile, GivenFacesInclinedByMoreThanTheCrease_KeepsTheirNormalsApart) {
    for (const double degrees : {29.0, 31.0}) {
        const double angle = degrees * M_PI / 180;
        ktQualityMesh mesh = ktMakeTestMesh();
        ktAddTestTriangle(mesh, {0, 0, 0}, {0, 1, 0}, {-1, 0, 0});
        ktAddTestTriangle(mesh, {0, 0, 0}, {std::cos(angle), 0, std::sin(angle)}, {0, 1, 0});
        mesh.indices[3] = mesh.indices[0]; // welded along the edge
        mesh.indices[5] = mesh.indices[1];
        const std::vector<float> normals = ktMakeCreaseNormals(mesh);
        const double expected = degrees < 30 ? std::cos(angle / 2) : 1;
        EXPECT_NEAR(normals[2], expected, 1e-3) << degrees;
        EXPECT_NEAR(normals[6 + 2], 1, 1e-6); // a corner of one face alone
    }
}

TEST(QualityEven, GivenShelf_HalvesLongEdgesUntilThereAreEnoughVertices) {
    const std::string path = temporaryPath("uneven"), evenPath = temporaryPath("even");
    ktSaveBenchmarkScene(*ktMakeQualityModel("shelf"), path);
    const ktEvenScene even = ktWriteEvenScene(path, evenPath, 1000);
    EXPECT_EQ(even.unit_mm, 1000);
    EXPECT_GE(even.vertices, 1000u);
    EXPECT_LT(even.vertices, 1010u);
    const auto longestEdge = [](const ktQualityScene& scene) {
        double longest = 0;
        for (const ktQualityMesh& mesh : scene.meshes)
            for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
                const ktQualityVector a = mesh.position(mesh.indices[i]),
                                      b = mesh.position(mesh.indices[i % 3 == 2 ? i - 2 : i + 1]);
                longest = std::max(longest, std::hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]));
            }
        return longest;
    };
    const auto area = [](const ktQualityScene& scene) {
        double sum = 0;
        for (const ktQualityMesh& mesh : scene.meshes)
            for (std::uint32_t triangle = 0; triangle < mesh.triangleCount(); ++triangle) {
                const ktQualityVector a = mesh.areaVector(triangle);
                sum += std::hypot(a[0], a[1], a[2]);
            }
        return sum;
    };
    const ktQualityScene before = ktReadQualityScene(path, 1473.092), after = ktReadQualityScene(evenPath, 1473.092);
    fs::remove(path);
    fs::remove(evenPath);
    EXPECT_EQ(after.vertices, even.vertices);
    EXPECT_GT(after.triangles, 1200u); // the sides of the boards share no vertices
    EXPECT_GT(longestEdge(before), 1200);
    EXPECT_LT(longestEdge(after), 300);
    EXPECT_NEAR(area(after) / area(before), 1, 1e-4);
}

TEST(QualityBlender, GivenNoSuchProgram_IsNotFound) {
    EXPECT_EQ(ktFindBlender("no-such-blender"), "");
    EXPECT_NE(ktFindBlender("sh"), "");
}
