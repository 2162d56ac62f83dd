// SPDX-License-Identifier: LGPL-2.1-or-later
// The meshes that are traced: transformed positions, instances and bad triangles.
#include "ktTracedScene.h"
#include "ktCancelPoint.h"
#include "ktTriangleScene.h"

#include <cmath>
#include <gtest/gtest.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

namespace {

osg::Matrix scaling(osg::Real32 x, osg::Real32 y, osg::Real32 z) {
    osg::Matrix matrix;
    matrix.setScale(osg::Vec3f(x, y, z));
    return matrix;
}

// Four threads, also on machines with fewer processors.
void makeOnFourThreads(ktTracedScene& traced, const ktTriangleScene& scene) {
    ktEventPump pump;
    traced.collect(scene.geometryNodes, {}, pump);
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 4);
    tbb::task_arena arena(4);
    arena.execute([&] { traced.makeMeshes(); });
}

ktTestMesh square() {
    ktTestMesh mesh;
    mesh.addQuad({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    return mesh;
}

} // namespace

TEST(TracedScene, GivenBadTriangles_CountsThemPerReadAndKeepsTheFirst) {
    ktTestMesh broken = square();
    broken.addTriangle(0, 1, 99); // position 99 does not exist
    ktTestMesh far = square();
    far.addTriangle(0, 1, far.addVertex(1e17, 0, 0));
    ktTriangleScene scene;
    scene.addMesh(square());
    scene.addMesh(far);                         // no bad triangle at this scale
    scene.addMesh(far, scaling(100, 1, 1));     // 1
    const auto node = scene.addMesh(broken);    // 1
    scene.addInstance(node, scaling(2, 2, 2));  // reads the same triangles
    scene.addInstance(node, scaling(-1, 1, 1)); // 1: mirrored, so it reads them in another order
    scene.addInstance(node, scaling(-3, 1, 1)); // reads the same mirrored triangles
    ktTracedScene traced;
    makeOnFourThreads(traced, scene);
    EXPECT_EQ(traced.badTriangles, 3u);
    EXPECT_EQ(traced.firstBad, 2u);
    ASSERT_EQ(traced.geometries.size(), 7u);
    const std::size_t counts[] = {2, 3, 2, 2, 2, 2, 2};
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(traced.geometries[i].triangles->size(), 3 * counts[i]) << i;
    EXPECT_EQ(traced.geometries[3].triangles, traced.geometries[4].triangles);
    EXPECT_EQ(traced.geometries[5].triangles, traced.geometries[6].triangles);
    const std::vector<std::uint32_t> plain{0, 1, 2, 0, 2, 3}, mirrored{0, 2, 1, 0, 3, 2};
    EXPECT_EQ(*traced.geometries[3].triangles, plain);
    EXPECT_EQ(*traced.geometries[5].triangles, mirrored);
}

TEST(TracedScene, GivenLargeMesh_TransformsEveryPositionAndSkipsBadOnes) {
    ktTestMesh mesh;
    for (std::uint32_t i = 0; i < 70000; ++i) {
        const double x = i % 250, y = i / 250;
        const bool isFar = i == 100 || i == 60000;
        const std::uint32_t a = mesh.addVertex(x, y, 0), b = mesh.addVertex(isFar ? 1e18 : x + 0.5, y, 0),
                            c = mesh.addVertex(x, y + 0.5, i == 69999 ? 4 : 0);
        mesh.addTriangle(a, b, c);
    }
    ktTriangleScene scene;
    const osg::Matrix matrix = scaling(2, 3, 5);
    scene.addMesh(mesh, matrix);
    ktTracedScene traced;
    makeOnFourThreads(traced, scene);
    const ktTracedGeometry& geometry = traced.geometries[0];
    EXPECT_EQ(traced.badTriangles, 2u);
    ASSERT_EQ(geometry.positionCount(), 210000u);
    EXPECT_EQ(geometry.triangles->size(), 3u * 69998u);
    const ktWorldTransform toWorld(matrix);
    for (std::uint32_t i = 0; i < 210000; ++i) {
        float expected[3];
        toWorld.position(&mesh.positions[3 * std::size_t(i)], expected);
        if (i == 301 || i == 180001)
            expected[0] = expected[1] = expected[2] = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            ASSERT_EQ((*geometry.positions)[3 * std::size_t(i) + axis], expected[axis]) << i;
    }
    // From the origin to 249.5, 279.5, 4 before the scaling.
    EXPECT_FLOAT_EQ(traced.diagonal, static_cast<float>(std::sqrt(499.0 * 499.0 + 838.5 * 838.5 + 20.0 * 20.0)));
}

TEST(TracedScene, GivenCancel_Throws) {
    ktTriangleScene scene;
    scene.addMesh(square());
    ktTracedScene traced;
    const ktTestLog log; // withdraws the cancel
    ktCancelToken::the().cancel();
    EXPECT_THROW(makeOnFourThreads(traced, scene), ktCanceled);
}
