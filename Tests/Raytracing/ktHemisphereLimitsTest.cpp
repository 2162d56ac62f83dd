// SPDX-License-Identifier: LGPL-2.1-or-later
// Limits of the hemisphere tracer: memory, number of triangles, depth, coordinates and distances.
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktHostileMeshes.h"
#include "ktTracerComparison.h"

#include <cfloat>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace {

double bytesPerTriangle(std::vector<ktTestMesh> meshes) {
    std::vector<ktTracerMesh> views;
    std::size_t triangles = 0;
    for (ktTestMesh& mesh : meshes) {
        views.push_back(mesh.view());
        triangles += mesh.indices.size() / 3;
    }
    ktHemisphereTracer tracer;
    EXPECT_TRUE(tracer.build(views, {}));
    return static_cast<double>(tracer.wideBvh().memory()) / static_cast<double>(triangles);
}

} // namespace

TEST(HemisphereLimits, GivenMeshes_HoldsAtMost80BytesATriangle) {
    ktTestMesh sphere;
    sphere.addSphere(3, 150, 300);
    EXPECT_LE(bytesPerTriangle({sphere}), 80.0);
    EXPECT_LE(bytesPerTriangle(ktHostileMeshes::soup()), 80.0);
    EXPECT_LE(bytesPerTriangle(ktHostileMeshes::manyScales()), 80.0);
    EXPECT_LE(bytesPerTriangle(ktHostileMeshes::onePoint()), 80.0);
}

TEST(HemisphereLimits, GivenTooManyTriangles_Throws) {
    ktTestMesh mesh;
    mesh.addVertex(0, 0, 0);
    for (int i = 0; i < 1 << 20; ++i)
        mesh.addTriangle(0, 0, 0);
    const std::vector<ktTracerMesh> meshes(1 << 12, mesh.view()); // 2^32 triangles
    ktHemisphereTracer tracer;
    try {
        tracer.build(meshes, {});
        FAIL() << "build() did not throw";
    } catch (const std::length_error& error) {
        EXPECT_NE(std::string(error.what()).find("4294967296"), std::string::npos) << error.what();
    }
    EXPECT_EQ(tracer.wideBvh().memory(), 0u);
}

TEST(HemisphereLimits, GivenTrianglesOfManyScales_StaysWithinItsStacks) {
    std::vector<ktTestMesh> meshes = ktHostileMeshes::manyScales();
    ktHemisphereTracer tracer;
    ASSERT_TRUE(tracer.build({meshes[0].view()}, {}));
    EXPECT_GT(tracer.wideBvh().depth(), 3u);
    EXPECT_LE(tracer.wideBvh().depth(), ktWideBvhLayout::maxDepth);
    EXPECT_FALSE(tracer.build({meshes[0].view()}, [](float share) { return share < 0.5f; }));
    EXPECT_EQ(tracer.wideBvh().memory(), 0u);
}

TEST(HemisphereLimits, GivenCoordinatesBeyondRange_FinishesTracing) {
    ktTracerComparison comparison(ktHostileMeshes::beyondRange());
    comparison.addSurfaceVertices(100, 3);
    const ktTracerComparison::Result result = comparison.occlusion(32, 32, comparison.widest());
    EXPECT_EQ(result.rays, 102400u);
    EXPECT_EQ(comparison.nearest(16, 16, comparison.widest()).rays, 25600u);
}

TEST(HemisphereLimits, GivenOddLimits_HitsNothing) {
    ktTestMesh sphere;
    sphere.addSphere(3, 40, 80);
    ktTracerComparison comparison({sphere});
    const float origin[3] = {0.1f, 0.2f, -0.3f}, normal[3] = {0, 0, 1};
    comparison.addVertex(origin, normal);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    for (const auto& [minDistance, maxDistance] : std::vector<std::pair<float, float>>{
             {0, 0}, {0, -1}, {5, FLT_MAX}, {4, 2}, {nan, FLT_MAX}, {0, nan}, {inf, inf}, {FLT_MAX, FLT_MAX}})
        EXPECT_EQ(comparison.visible(32, 32, {minDistance, maxDistance, true})[0], 1024u)
            << minDistance << " " << maxDistance;
    EXPECT_EQ(comparison.visible(32, 32, {0, inf, true})[0], 0u);
}
