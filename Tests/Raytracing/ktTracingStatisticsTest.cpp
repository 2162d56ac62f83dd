// SPDX-License-Identifier: LGPL-2.1-or-later
// The statistics of the ray tracing, and the numbers by which it identifies geometries.
#include "ktTracingStatistics.h"

#include "ktGeometryNumbers.h"
#include "ktRaytracingManager.h"
#include "ktTriangleScene.h"

#include <cfloat>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr int raysAlong = 8;
constexpr std::uint64_t rays = raysAlong * raysAlong;

class TracingStatistics : public testing::Test {
protected:
    TracingStatistics() {
        ktTestMesh quad;
        quad.addQuad({-50, -50, 10}, {100, 0, 0}, {0, 100, 0});
        node = scene.addMesh(quad);
        tracing.build(scene);
    }

    void gather(const std::vector<osg::Pnt3f>& positions, const std::vector<osg::Vec3f>& normals) {
        std::vector<osg::Vec4f> results(positions.size());
        const osg::Color3f white(1, 1, 1);
        tracing.utils->gatherVertexIllumination(static_cast<osg::UInt32>(positions.size()), nullptr, positions.data(),
                                                normals.data(), results.data(), &white, false, tracing.sampler, 1,
                                                false);
    }
    const ktTracingStatistics& statistics() const { return tracing.utils->getStatistics(); }

    ktTestLog log;
    ktTriangleScene scene;
    osg::NodePtr node;
    ktTestTracing tracing{raysAlong};
};

const osg::Vec3f up(0, 0, 1), aside(1, 0, 0), none(0, 0, 0);

} // namespace

TEST_F(TracingStatistics, GivenEqualVertices_CountsTheRaysThatTheyShare) {
    tracing.trace({{{1, 2, 0}, up}, {{3, 4, 0}, up}, {{1, 2, 0}, up}, {{1, 2, 0}, aside}, {{1, 2, 0}, up}});
    EXPECT_EQ(statistics().requested.direct, 5 * rays);
    EXPECT_EQ(statistics().shared.direct, 2 * rays) << "three vertices are equal and traced once";
    EXPECT_EQ(statistics().requested.indirect, 0u);
    gather({{1, 2, 0}, {1, 2, 0}, {3, 4, 0}}, {up, up, up});
    EXPECT_EQ(statistics().requested.indirect, 3 * rays);
    EXPECT_EQ(statistics().shared.indirect, rays);
    EXPECT_EQ(statistics().requested.direct, 5 * rays) << "each kind of pass counts separately";
    EXPECT_TRUE(statistics().geometries.empty()) << "none of the vertices belongs to the scene";
}

TEST_F(TracingStatistics, GivenVerticesThatCannotBeTraced_DoesNotCountTheirRaysAsShared) {
    const float inf = std::numeric_limits<float>::infinity();
    tracing.trace({{{1, 2, 0}, none}, {{1, 2, 0}, none}, {{inf, 0, 0}, up}, {{3, 4, 0}, up}});
    gather({{1, 2, 0}, {inf, 0, 0}, {3, 4, 0}}, {none, up, up});
    EXPECT_EQ(statistics().requested.direct, 4 * rays);
    EXPECT_EQ(statistics().shared.direct, 0u);
    EXPECT_EQ(statistics().requested.indirect, 3 * rays);
    EXPECT_EQ(statistics().shared.indirect, 0u);
}

TEST_F(TracingStatistics, GivenGeometryOfTheScene_CountsByItsNumber) {
    tracing.traceNode(node, {up, up, up, up});
    const ktGeometryNumber number = ktGetGeometryNumber(osg::GeometryPtr::dcast(node->getCore()));
    ASSERT_EQ(statistics().geometries.count(number), 1u);
    EXPECT_EQ(statistics().geometries.at(number).vertices, 4u);
    EXPECT_EQ(statistics().geometries.at(number).rays, 4 * rays);
    tracing.traceNode(node, {up, up, up, up});
    EXPECT_EQ(statistics().geometries.at(number).vertices, 8u) << "the sum of all passes";
}

TEST_F(TracingStatistics, GivenInstances_CountsTheTrianglesOfEachUse) {
    EXPECT_EQ(statistics().occludingTriangles, 2u);
    scene.addInstance(node, osg::Matrix());
    tracing.build(scene);
    EXPECT_EQ(statistics().occludingTriangles, 4u);
    ktTestMesh flat;
    const std::uint32_t corner = flat.addVertex(0, 0, 0);
    flat.addTriangle(corner, corner, corner);
    scene.addMesh(flat);
    tracing.build(scene);
    EXPECT_EQ(statistics().occludingTriangles, 5u) << "as given, even without area";
}

TEST_F(TracingStatistics, GivenAnotherRun_StartsFromZero) {
    tracing.trace({{{1, 2, 0}, up}, {{1, 2, 0}, up}});
    tracing.utils->setMaterialOverride(false, false, nullptr);
    EXPECT_EQ(statistics().requested.direct, 0u);
    EXPECT_EQ(statistics().shared.direct, 0u);
}

TEST_F(TracingStatistics, GivenRayTracingOfAnApplication_ReadsItOnlyIfItIsOfTheHostsClass) {
    tracing.trace({{{1, 2, 0}, up}});
    ktRaytracingManager::setRaytracingUtils(tracing.utils.get());
    EXPECT_EQ(ktReadTracingStatistics().requested.direct, rays);
    ktRaytracingManager::setRaytracingUtils(nullptr);
    EXPECT_EQ(ktReadTracingStatistics().requested.direct, 0u);
}

TEST(GeometryNumbers, GivenReplacedPositions_ForgetsTheirOldAddress) {
    ktTestMesh quad;
    quad.addQuad({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    const osg::GeometryRefPtr geometry(ktTriangleScene::makeGeometry(quad));
    const osg::RefPtr<osg::GeoPositions3fPtr> old(osg::GeoPositions3fPtr::dcast(geometry.get()->getPositions()));
    ktGeometryNumbers numbers;
    numbers.add(geometry.get());
    EXPECT_EQ(numbers.find(&old.get()->getField()[0]), geometry.get().getFieldContainerId());
    EXPECT_EQ(numbers.find(&old.get()->getField()[1]), 0u);

    const osg::GeoPositions3fPtr replacement = osg::GeoPositions3f::create();
    replacement->push_back(osg::Pnt3f(1, 2, 3));
    geometry.get()->setPositions(replacement);
    EXPECT_EQ(numbers.find(&old.get()->getField()[0]), 0u);
    EXPECT_EQ(numbers.find(&replacement->getField()[0]), 0u) << "the replacement was not added";
    numbers.add(geometry.get());
    EXPECT_EQ(numbers.find(&replacement->getField()[0]), geometry.get().getFieldContainerId());
    numbers.clear();
    EXPECT_EQ(numbers.find(&replacement->getField()[0]), 0u);
}
