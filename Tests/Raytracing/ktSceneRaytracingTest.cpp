// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls of the host's ray tracing: cancel, errors, event loop, progress and clean-up.
#include "ktGeoSubdivisionList.h"
#include "ktHostSignals.h"
#include "ktOSGWidget.h"
#include "ktRaytracingManager.h"
#include "ktSampler.h"
#include "ktTriangleScene.h"

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTimer>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const osg::Pnt3f origin(0, 0, 0);
const osg::Vec3f up(0, 0, 1);

struct Application {
    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
};

// A tracer that hits nothing and calls the functions that a test sets.
class FakeTracer : public ktTracer {
public:
    struct Orders {
        std::atomic<int> traced{0}, builds{0}, stoppedBuilds{0};
        std::function<void()> atBuild, atTrace;
    };
    explicit FakeTracer(Orders& orders_) : orders(orders_) {}

    bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) override {
        if (meshes.empty())
            return true;
        ++orders.builds;
        if (orders.atBuild)
            orders.atBuild();
        const bool goesOn = !progress || progress(0.5f);
        orders.stoppedBuilds += !goesOn;
        return goesOn;
    }
    void countVisible(const ktRayVertex*, std::uint32_t count, const ktRayLimits&, std::uint32_t* visible,
                      std::uint64_t* const*) const override {
        if (orders.atTrace)
            orders.atTrace();
        orders.traced += static_cast<int>(count);
        std::fill(visible, visible + count, 0u);
    }
    std::uint32_t occluded(const ktRayPacket&, bool) const override { return 0; }
    void nearest(const ktRayPacket&, bool, ktHitPacket&) const override {}

private:
    Orders& orders;
};

class SceneRaytracing : public testing::Test {
protected:
    SceneRaytracing() {
        ktTestMesh plane;
        plane.addQuad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0});
        scene.addMesh(plane);
    }

    std::vector<ktTestTracing::Vertex> many(int count) const {
        std::vector<ktTestTracing::Vertex> vertices;
        for (int i = 0; i < count; ++i)
            vertices.push_back({osg::Pnt3f(osg::Real32(i), 0, 0), up});
        return vertices;
    }

    ktTestLog log;
    FakeTracer::Orders orders;
    ktTriangleScene scene;
    ktTestTracing tracing{std::make_unique<ktSceneRaytracing>(std::make_unique<FakeTracer>(orders)), 8};
};

} // namespace

TEST_F(SceneRaytracing, GivenEqualVertices_TracesThemOnce) {
    const ktTestTracing::Vertex a{origin, up}, b{origin, osg::Vec3f(1, 0, 0)}, c{osg::Pnt3f(1, 0, 0), up};
    const auto results = tracing.trace({a, b, a, c, a, c});
    EXPECT_EQ(orders.traced, 3);
    EXPECT_THAT(results, testing::Each(osg::Vec4f(0, 0, 0, 2e-6f)));
}

TEST_F(SceneRaytracing, GivenCancelWhileTracing_LeavesResultsAsTheyWere) {
    orders.atTrace = [this] {
        if (orders.traced > 1000)
            ktCancelToken::the().cancel();
    };
    EXPECT_THAT(tracing.trace(many(100000)), testing::Each(ktTestTracing::untouched));
    EXPECT_LT(orders.traced, 50000);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(SceneRaytracing, GivenCancelledRun_ReturnsAtOnce) {
    ktCancelToken::the().cancel();
    tracing.build(scene);
    EXPECT_EQ(orders.builds, 0);
    EXPECT_EQ(tracing.traceOne(origin, up), ktTestTracing::untouched);
    EXPECT_EQ(orders.traced, 0);
    ktCancelToken::the().reset();
    EXPECT_NE(tracing.traceOne(origin, up), ktTestTracing::untouched);
}

TEST_F(SceneRaytracing, GivenCancelWhileBuilding_IsEmptyAndQuiet) {
    orders.atBuild = [] { ktCancelToken::the().cancel(); };
    tracing.build(scene);
    EXPECT_EQ(orders.builds, 1);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(SceneRaytracing, GivenCancelledBuildThatDoesNotStop_ReturnsAndWaitsBeforeTheNextBuild) {
    const Application application;
    std::atomic<bool> mayEnd{false}, hasEnded{false};
    orders.atBuild = [&] {
        while (!mayEnd)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        hasEnded = true;
    };
    QTimer::singleShot(0, [] { ktCancelToken::the().cancel(); });
    tracing.build(scene); // hangs if it waits for the build
    EXPECT_FALSE(hasEnded);
    tracing.utils->restoreRaytracing(0);
    EXPECT_FALSE(hasEnded);
    ktCancelToken::the().reset();
    QTimer::singleShot(20, [&] { mayEnd = true; });
    tracing.build(scene);
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(orders.builds, 2);
    EXPECT_EQ(orders.stoppedBuilds, 1); // the abandoned build, although the token was reset before it polled
    EXPECT_NE(tracing.traceOne(origin, up), ktTestTracing::untouched);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(SceneRaytracing, GivenErrorWhileTracing_CancelsTheRunWithOneLine) {
    orders.atTrace = [] { throw std::runtime_error("the tracer broke"); };
    EXPECT_THAT(tracing.trace(many(1000)), testing::Each(ktTestTracing::untouched));
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
    EXPECT_THAT(log.lines, ElementsAre(HasSubstr("the tracer broke")));
    orders.atTrace = {};
    EXPECT_EQ(tracing.traceOne(origin, up), ktTestTracing::untouched);
    EXPECT_EQ(log.lines.size(), 1u);
}

TEST_F(SceneRaytracing, GivenErrorWhileBuilding_CancelsTheRunWithOneLine) {
    orders.atBuild = [] { throw std::bad_alloc(); };
    tracing.build(scene);
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
    EXPECT_THAT(log.lines, ElementsAre(HasSubstr("out of memory")));
}

TEST_F(SceneRaytracing, GivenNullArguments_CancelsTheRunWithOneLine) {
    osg::Vec4f result = ktTestTracing::untouched;
    tracing.utils->computeVertexOcclusion(1, nullptr, &origin, &up, &result, false, nullptr, true, false);
    EXPECT_EQ(result, ktTestTracing::untouched);
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
    EXPECT_EQ(log.lines.size(), 1u);
}

TEST_F(SceneRaytracing, GivenLongCalls_RunsTheEventLoopMeanwhile) {
    const Application application;
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(1);
    orders.atBuild = [] { std::this_thread::sleep_for(std::chrono::milliseconds(150)); };
    tracing.build(scene);
    EXPECT_GE(ticks, 8);
    ticks = 0;
    orders.atTrace = [] { std::this_thread::sleep_for(std::chrono::milliseconds(15)); };
    tracing.trace(many(64 * 20));
    EXPECT_GE(ticks, 8);
}

TEST_F(SceneRaytracing, GivenLongCall_ReportsProgressUpToTheEnd) {
    const Application application;
    std::vector<std::pair<quint64, quint64>> reports;
    const auto connection =
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::tracingProgress, [&](quint64 done, quint64 total) {
            reports.push_back({done, total});
        });
    orders.atTrace = [] { std::this_thread::sleep_for(std::chrono::milliseconds(15)); };
    tracing.trace(many(64 * 20));
    QObject::disconnect(connection);
    ASSERT_GE(reports.size(), 3u);
    for (std::size_t i = 1; i < reports.size(); ++i)
        EXPECT_GE(reports[i].first, reports[i - 1].first);
    EXPECT_EQ(reports.back(), (std::pair<quint64, quint64>(1280, 1280)));
}

TEST_F(SceneRaytracing, GivenEventHandlerThatReadsResults_TheyDoNotChangeMeanwhile) {
    const Application application;
    const auto waitFor = [](const auto& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return condition();
    };
    constexpr int count = 64;
    const std::vector<osg::Pnt3f> positions(count, origin);
    std::vector<osg::Vec3f> normals;
    for (int i = 0; i < count; ++i)
        normals.push_back(osg::Vec3f(osg::Real32(i), 1, 0)); // no two vertices are equal
    std::vector<osg::Vec4f> results(count, ktTestTracing::untouched), seen;
    std::atomic<bool> isHandling{false};
    orders.atTrace = [&] { EXPECT_TRUE(waitFor([&] { return isHandling.load(); })); };
    QTimer::singleShot(0, [&] {
        isHandling = true;
        EXPECT_TRUE(waitFor([&] { return orders.traced == count; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the worker ends
        seen = results;
    });
    tracing.utils->computeVertexOcclusion(count, nullptr, positions.data(), normals.data(), results.data(), false,
                                          tracing.sampler, true, false);
    EXPECT_THAT(seen, testing::AllOf(testing::SizeIs(count), testing::Each(ktTestTracing::untouched)));
    EXPECT_THAT(results, testing::Each(testing::Ne(ktTestTracing::untouched)));
}

TEST_F(SceneRaytracing, GivenCallFromAnEventHandler_RefusesIt) {
    const Application application;
    orders.atTrace = [] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
    osg::Vec4f nested = ktTestTracing::untouched;
    QTimer::singleShot(0, [&] { nested = tracing.traceOne(origin, up); });
    EXPECT_NE(tracing.traceOne(origin, up), ktTestTracing::untouched);
    EXPECT_EQ(nested, ktTestTracing::untouched);
    EXPECT_THAT(log.lines, ElementsAre(HasSubstr("under way")));
}

TEST_F(SceneRaytracing, GivenSamplerArguments_RefusesUnsupportedOnes) {
    for (const auto& [u, v] : {std::pair{0, 8}, {8, 0}, {-1, -1}})
        EXPECT_EQ(tracing.utils->createSampler(u, v, 0, 1, 0.25f, 0.25f), nullptr);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(tracing.utils->createSampler(8, 8, 1, 1, 0.25f, 0.25f), nullptr);
    EXPECT_EQ(tracing.utils->createSampler(8, 8, 0, 0, 0.25f, 0.25f), nullptr);
    EXPECT_EQ(log.lines.size(), 2u);
    EXPECT_EQ(tracing.utils->createSampler(1000000, 1000000, 0, 1, 0.25f, 0.25f), nullptr);
    ktSampler* sampler = tracing.utils->createSampler(24, 24, 0, 1, 0.25f, 0.25f);
    ASSERT_NE(sampler, nullptr);
    EXPECT_EQ(sampler->directions.count, 576u);
    tracing.utils->releaseSampler(sampler);
    tracing.utils->releaseSampler(nullptr);
}

TEST_F(SceneRaytracing, GivenSubdivision_LeavesTheGeometryAsItIs) {
    const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(scene.geometryNodes[0]->getCore());
    const std::string name = "plane";
    const osg::Matrix identity;
    ktGeoSubdivisionList list(geometry);
    tracing.utils->subdivideByIllumination(&name, 2, 32, &list, geometry, 0.01f, 0.001f, &identity, &identity,
                                           &identity, false, false, false);
    tracing.utils->invalidateGeometry();
    list.recreateGeometry();
    EXPECT_EQ(geometry->getPositions()->size(), 4u);
    EXPECT_EQ(geometry->getIndices()->size(), 6u);
}

TEST_F(SceneRaytracing, GivenEndOfRun_RestoresTheViewAndForgetsTheScene) {
    ktTestTracing real;
    ktTestMesh sphere;
    sphere.addSphere(100, 20, 20);
    ktTriangleScene closed;
    closed.addMesh(sphere);
    real.build(closed);
    EXPECT_LT(real.traceOne(origin, up)[3], 0.001f);
    ktCancelToken::the().cancel(); // memory is freed after a cancel as well
    real.utils->restoreRaytracing(3);
    ktCancelToken::the().reset();
    EXPECT_EQ(ktOSGWidget::getRaytracing(), 3);
    EXPECT_EQ(real.traceOne(origin, up)[3], 1.0f);
    real.utils->restoreRaytracing(0);
}

TEST(RaytracingManager, GivenNoReplacement_UsesTheHostsRaytracing) {
    ktRaytracingUtils* own = ktRaytracingManager::getRaytracingUtils();
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(ktRaytracingManager::getRaytracingUtils(), own);
    EXPECT_NE(dynamic_cast<ktSceneRaytracing*>(own), nullptr);
    ktRaytracingManager::setRaytracingUtils(nullptr);
    EXPECT_EQ(ktRaytracingManager::getRaytracingUtils(), nullptr);
    ktRaytracingManager::setRaytracingUtils(own);
    EXPECT_EQ(ktRaytracingManager::getRaytracingUtils(), own);
}
