// SPDX-License-Identifier: LGPL-2.1-or-later
// Which parts are traced as instances, and that instances change nothing else of the traced scene.
#include "ktInstancing.h"
#include "ktTracedScene.h"
#include "ktTriangleScene.h"

#include <gtest/gtest.h>

namespace {

osg::Matrix scaling(osg::Real32 x, osg::Real32 y, osg::Real32 z) {
    osg::Matrix matrix;
    matrix.setScale(osg::Vec3f(x, y, z));
    return matrix;
}

void make(ktTracedScene& traced, const ktTriangleScene& scene, ktInstancing instancing, bool mayInstance = true) {
    ktSetInstancing(instancing);
    ktEventPump pump;
    traced.collect(scene.geometryNodes, {}, pump);
    traced.makeMeshes(mayInstance);
    ktSetInstancing(ktInstancing::ByCost);
}

} // namespace

TEST(Instancing, GivenParts_ChoosesByCost) {
    using Flags = std::vector<bool>;
    const auto choose = [](const std::vector<ktPartUse>& parts, ktInstancing choice = ktInstancing::ByCost) {
        return ktChooseInstances(parts, choice);
    };
    EXPECT_EQ(choose({}), Flags());
    EXPECT_EQ(choose({{1000, 5000}, {1, 5000}}), (Flags{true, false}));
    EXPECT_EQ(choose({{700, 5000}}), Flags{false}) << "too few triangles in the scene";
    EXPECT_EQ(choose({{1000, 5000}, {1, 700000}}), (Flags{true, false}));
    EXPECT_EQ(choose({{1000, 5000}, {1, 800000}}), (Flags{false, false})) << "leaves more than an eighth";
    EXPECT_EQ(choose({{7, 4000000}}), Flags{false}) << "neither much time nor much memory";
    EXPECT_EQ(choose({{8, 4000000}}), Flags{true}) << "much memory";
    EXPECT_EQ(choose({{4, 10000000}, {1, 20000000}}), (Flags{true, false}));
    EXPECT_EQ(choose({{4, 10000000}, {1, 21000000}}), (Flags{false, false})) << "leaves more than half";
    EXPECT_EQ(choose({{3, 20000000}}), Flags{false}) << "too few uses";
    EXPECT_EQ(choose({{1000000, 12}}), Flags{false}) << "tiny";
    EXPECT_EQ(choose({{2, 1}, {1, 9}}, ktInstancing::Always), Flags({true, false}));
    EXPECT_EQ(choose({{1000, 5000}}, ktInstancing::Never), Flags{false});
}

TEST(Instancing, GivenInstances_KeepsOrderSizeAndWorldPositions) {
    ktTestMesh ball;
    ball.addSphere(1, 8, 12);
    ktTestMesh quad;
    quad.addQuad({0, 0, 0}, {5, 0, 0}, {0, 7, 0});
    ktTriangleScene scene;
    const osg::NodePtr node = scene.addMesh(ball, scaling(3, 1, 2));
    scene.addMesh(quad);
    scene.addInstance(node, scaling(1, 2, 1));
    scene.addInstance(node, scaling(-1, 1, 1));
    scene.addInstance(node, scaling(-2, 2, 2));
    scene.addInstance(node, scaling(1e18f, 1, 1)); // too large
    ktTracedScene writtenOut, instanced, unable;
    make(writtenOut, scene, ktInstancing::Never);
    make(instanced, scene, ktInstancing::Always);
    make(unable, scene, ktInstancing::Always, false);
    EXPECT_EQ(instanced.meshes, writtenOut.meshes);
    EXPECT_EQ(instanced.diagonal, writtenOut.diagonal);
    EXPECT_EQ(instanced.badTriangles, writtenOut.badTriangles);
    const bool expected[] = {true, false, true, true, true, false};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(instanced.geometries[i].isInstance, expected[i]) << i;
        EXPECT_FALSE(writtenOut.geometries[i].isInstance) << i;
        EXPECT_FALSE(unable.geometries[i].isInstance) << i;
        EXPECT_EQ(*instanced.geometries[i].triangles, *writtenOut.geometries[i].triangles) << i;
        EXPECT_EQ(*instanced.geometries[i].worldPositions(), *writtenOut.geometries[i].positions) << i;
    }
    EXPECT_EQ(instanced.geometries[0].positions, instanced.geometries[2].positions) << "stored once";
}

TEST(Instancing, GivenDenormalPositions_WritesOut) { // workers take them for zero
    ktTestMesh mesh;
    mesh.addTriangle(mesh.addVertex(0, 0, 0), mesh.addVertex(1, 0, 1e-40), mesh.addVertex(0, 1, 0));
    ktTriangleScene scene;
    scene.addInstance(scene.addMesh(mesh), scaling(1, 1, 1e30f));
    ktTracedScene traced;
    make(traced, scene, ktInstancing::Always);
    EXPECT_FALSE(traced.geometries[0].isInstance);
}
