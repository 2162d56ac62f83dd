// SPDX-License-Identifier: LGPL-2.1-or-later
// Cancels a refined calculation with bounces at many points. Host, scene and memory must stay valid.
#include "ktAmbientOcclusion.h"
#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktOSGWidget.h"
#include "ktRaytracingManager.h"
#include "ktRefinedScene.h"
#include "ktSceneRaytracing.h"
#include "ktSceneState.h"
#include "ktTracerFactory.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTimer>
#include <random>

namespace {

int livePatterns = 0;

/// The part of a sampler that a tracer makes. Counts the samplers that exist.
class CountedDirections : public ktPreparedDirections {
public:
    explicit CountedDirections(const ktDirectionSet& set_) : ktPreparedDirections(set_) { ++livePatterns; }
    ~CountedDirections() override { --livePatterns; }
};

/// Forwards to the host's default tracer.
class CountingTracer : public ktTracer {
public:
    bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) override {
        return tracer->build(meshes, progress);
    }
    std::unique_ptr<ktPreparedDirections> prepareDirections(const ktDirectionSet& set) const override {
        return std::make_unique<CountedDirections>(set);
    }
    std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const override {
        return tracer->occluded(rays, bothSides);
    }
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override {
        tracer->nearest(rays, bothSides, hits);
    }

private:
    std::unique_ptr<ktTracer> tracer = ktMakeTracer();
};

/// Counts the runs of the event loop and cancels at one of them, as an application does.
class Canceler {
public:
    explicit Canceler(int at_) : at(at_) {
        QObject::connect(&timer, &QTimer::timeout, [this] { tick(); });
        timer.start(0); // fires at every run of the loop
        canceled = QObject::connect(ktAmbientOcclusion::the(), &ktAmbientOcclusion::calculationCanceled,
                                    [] { ktCancelToken::the().cancel(); });
    }
    ~Canceler() { QObject::disconnect(canceled); }

    int count = 0;

private:
    void tick() {
        if (count++ == at)
            ktAmbientOcclusion::the()->cancelCalculation();
    }

    const int at;
    QTimer timer;
    QMetaObject::Connection canceled;
};

class RefinedCancel : public ::testing::Test {
protected:
    RefinedCancel() : tracing(std::make_unique<CountingTracer>()) {
        if (!QCoreApplication::instance()) {
            static int argc = 1;
            static char name[] = "tests", *argv[] = {name, nullptr};
            static const QCoreApplication application(argc, argv);
        }
        ownTracing = ktRaytracingManager::getRaytracingUtils();
        ktRaytracingManager::setRaytracingUtils(&tracing);
    }
    ~RefinedCancel() override { ktRaytracingManager::setRaytracingUtils(ownTracing); }

    ktSceneRaytracing tracing;
    ktRaytracingUtils* ownTracing;
};

std::vector<osg::UInt32> referenceCounts(const ktWholeScene& scene) {
    std::vector<osg::UInt32> counts;
    for (const auto& [name, node] : scene.geometryNodes())
        counts.push_back(static_cast<osg::UInt32>(scene.geometry(name).getRefCount()));
    return counts;
}

void expectConsistent(const std::string& name, const ktRefinedGeometry& geometry) {
    const std::size_t count = geometry.positions.size();
    EXPECT_EQ(geometry.normals.size(), count) << name;
    EXPECT_TRUE(geometry.results.empty() || geometry.results.size() == count) << name;
    EXPECT_TRUE(geometry.bakedLight.empty() || geometry.bakedLight.size() == count) << name;
    EXPECT_TRUE(std::all_of(geometry.triangles.begin(), geometry.triangles.end(), [count](std::uint32_t vertex) {
        return vertex < count;
    })) << name;
    for (const osg::Vec4f& result : geometry.results)
        for (osg::UInt32 c = 0; c < 4; ++c)
            EXPECT_TRUE(std::isfinite(result[c]) && result[c] >= 0) << name;
}

} // namespace

TEST_F(RefinedCancel, GivenAnyPoint_LeavesHostSceneAndMemoryWhole) {
    for (const int mode : {0, 2}) {
        std::map<std::string, ktRefinedGeometry> before, whole;
        int runs = 0;
        {
            const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
            for (const std::string& name : ktRefinedSceneParts())
                before[name] = ktReadRefined(*scene, name);
            const Canceler counter(-1);
            scene->bake(ktRefinedSettings(mode));
            runs = counter.count;
            for (const std::string& name : ktRefinedSceneParts())
                whole[name] = ktReadRefined(*scene, name);
        }
        ASSERT_GT(runs, 15);
        std::mt19937 random(20 + static_cast<unsigned>(mode));
        int unrefinedCount = 0, refinedCount = 0;
        for (int trial = 0; trial < 25; ++trial) {
            const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
            const std::vector<osg::UInt32> references = referenceCounts(*scene);
            const int at = static_cast<int>(random() % static_cast<unsigned>(runs));
            {
                const Canceler canceler(at);
                scene->bake(ktRefinedSettings(mode));
            }
            ktCancelToken::the().reset();
            SCOPED_TRACE("mode " + std::to_string(mode) + ", cancelled at event loop " + std::to_string(at));
            EXPECT_TRUE(ktSceneState::isUpdateEnabled());
            EXPECT_FALSE(ktControllerState::isBusy());
            EXPECT_TRUE(ktOSGWidget::isRenderEnabled());
            EXPECT_EQ(referenceCounts(*scene), references) << "a record holds its geometry";
            EXPECT_EQ(livePatterns, 0);
            bool isRefined = false;
            for (const std::string& name : ktRefinedSceneParts()) {
                const ktRefinedGeometry left = ktReadRefined(*scene, name);
                expectConsistent(name, left);
                isRefined = isRefined || left.positions.size() != before[name].positions.size();
                if (left.positions.size() == before[name].positions.size()) {
                    EXPECT_EQ(left.triangles, before[name].triangles) << name;
                }
            }
            (isRefined ? refinedCount : unrefinedCount) += 1;
            if (isRefined)
                continue;
            scene->bakeAgain(ktRefinedSettings(mode));
            for (const std::string& name : ktRefinedSceneParts())
                EXPECT_TRUE(ktReadRefined(*scene, name) == whole[name]) << name;
        }
        EXPECT_GT(unrefinedCount, 0);
        EXPECT_GT(refinedCount, 0);
    }
}
