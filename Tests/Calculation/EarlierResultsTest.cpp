// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculations that are cancelled, or fail, in a scene with results: what ktEarlierResults gives back.
#include "ktEarlierResults.h"

#include "ktAmbientOcclusion.h"
#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktLogOutput.h"
#include "ktRaytracingManager.h"
#include "ktRefinedScene.h"
#include "ktSceneRaytracing.h"
#include "ktTracerFactory.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <atomic>
#include <gmock/gmock.h>
#include <QCoreApplication>
#include <QTimer>
#include <random>
#include <stdexcept>

namespace {

using Parts = std::map<std::string, ktRefinedGeometry>;

/// Finds what the host's usual tracer finds, until it breaks.
class BreakingTracer : public ktTracer {
public:
    static std::atomic<int> callsLeft;

    bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) override {
        return tracer->build(meshes, progress);
    }
    std::unique_ptr<ktPreparedDirections> prepareDirections(const ktDirectionSet& set) const override {
        return tracer->prepareDirections(set);
    }
    std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const override {
        return tracer->occluded(rays, bothSides);
    }
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override {
        tracer->nearest(rays, bothSides, hits);
    }
    void countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                      std::uint32_t* visible, std::uint64_t* const* masks) const override {
        if (callsLeft-- <= 0)
            throw std::runtime_error("the tracer broke");
        tracer->countVisible(vertices, count, limits, visible, masks);
    }

private:
    std::unique_ptr<ktTracer> tracer = ktMakeTracer();
};
std::atomic<int> BreakingTracer::callsLeft;

/// Cancels at one of the times at which the event loop runs, as an application does; counts them.
class Canceler {
public:
    explicit Canceler(int at_) : at(at_) {
        QObject::connect(&timer, &QTimer::timeout, [this] { tick(); });
        timer.start(0);
    }
    int count = 0;

private:
    void tick() {
        if (count++ != at)
            return;
        ktCancelToken::the().cancel();
        ktAmbientOcclusion::the()->cancelCalculation();
    }

    const int at;
    QTimer timer;
};

void cancelAsApplication() {
    ktCancelToken::the().cancel();
    ktAmbientOcclusion::the()->cancelCalculation();
}

class EarlierResults : public ::testing::Test {
protected:
    EarlierResults() {
        if (!QCoreApplication::instance()) {
            static int argc = 1;
            static char name[] = "tests", *argv[] = {name, nullptr};
            static const QCoreApplication application(argc, argv);
        }
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::runEnded, &receiver,
                         [this](const ktRunEnd& told) { end = told; });
    }

    static Parts read(const ktWholeScene& scene) {
        Parts parts;
        for (const std::string& name : ktRefinedSceneParts())
            parts[name] = ktReadRefined(scene, name);
        return parts;
    }
    static osg::AttachmentPtr settingsOf(const ktWholeScene& scene, const std::string& name) {
        return scene.geometryNodes().at(name)->findAttachment(osg::AmbientOcclusionSettingsAttachment::getClassType());
    }
    static ktWholeSettings settings(bool indirect, int mode, int quality) {
        ktWholeSettings settings = ktRefinedSettings(mode);
        settings.indirect = indirect;
        settings.subdivide = false;
        settings.shadowQuality = quality;
        return settings;
    }

    QObject receiver;
    ktRunEnd end;
};

} // namespace

TEST_F(EarlierResults, GivenACancelAnywhere_KeepsFinishedGeometryAndGivesTheRestBack) {
    for (const bool indirect : {false, true}) {
        for (const int mode : {0, 2}) {
            const ktWholeSettings first = settings(true, mode, 0), second = settings(indirect, mode, 1);
            const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
            scene->bake(first);
            const Parts before = read(*scene);
            Canceler counter(-1);
            scene->bakeAgain(second);
            const Parts after = read(*scene);
            std::mt19937 random(7);
            int keptCount = 0, givenBackCount = 0;
            for (int trial = 0; trial < 20; ++trial) {
                scene->bakeAgain(first);
                ASSERT_TRUE(read(*scene) == before);
                std::map<std::string, osg::AttachmentPtr> attachments;
                for (const std::string& name : ktRefinedSceneParts())
                    attachments[name] = settingsOf(*scene, name);
                // After one of the first geometries of a pass, or at any time.
                const bool isCounted = trial < 6;
                const int at = isCounted ? -1 : static_cast<int>(random() % static_cast<unsigned>(counter.count));
                {
                    const ktEarlierResults earlier;
                    const Canceler canceler(at);
                    QObject listener;
                    int traced = 0;
                    QObject::connect(&ktHostSignals::the(), &ktHostSignals::geometryTraced, &listener,
                                     [&](const void*, bool) {
                                         if (isCounted && traced++ == trial)
                                             cancelAsApplication();
                                     });
                    scene->bakeAgain(second);
                }
                if (end.kind == ktRunEnd::Done)
                    continue;
                SCOPED_TRACE("mode " + std::to_string(mode) + ", cancelled at event loop " + std::to_string(at));
                for (const auto& [name, left] : read(*scene)) {
                    const bool isKept = left == after.at(name);
                    (isKept ? keptCount : givenBackCount) += 1;
                    EXPECT_TRUE(isKept || left == before.at(name)) << name;
                    EXPECT_EQ(settingsOf(*scene, name) == attachments[name], !isKept) << name;
                }
            }
            EXPECT_GT(givenBackCount, 0);
            EXPECT_TRUE(keptCount > 0 || indirect);
        }
    }
}

TEST_F(EarlierResults, GivenNoneToKeep_GivesAllBack) {
    const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
    scene->bake(settings(true, 2, 0));
    const Parts before = read(*scene);
    int cancelCount = 0;
    for (int at = 0; at < 4; ++at) {
        const osg::AttachmentPtr attachment = settingsOf(*scene, "left");
        {
            ktEarlierResults earlier;
            earlier.setKeep(ktEarlierResults::None);
            const Canceler canceler(at);
            scene->bakeAgain(settings(at % 2 == 0, 0, 2));
        }
        if (end.kind == ktRunEnd::Done) {
            scene->bakeAgain(settings(true, 2, 0));
            continue;
        }
        ++cancelCount;
        EXPECT_TRUE(read(*scene) == before) << at;
        for (const std::string& name : ktRefinedSceneParts())
            EXPECT_EQ(settingsOf(*scene, name), attachment);
    }
    EXPECT_GT(cancelCount, 0);
}

TEST_F(EarlierResults, GivenASceneWithoutResults_LeavesNone) {
    const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
    const Parts before = read(*scene);
    {
        ktEarlierResults earlier;
        earlier.setKeep(ktEarlierResults::None);
        const Canceler canceler(0);
        scene->bakeAgain(settings(true, 2, 1));
    }
    ASSERT_EQ(end.kind, ktRunEnd::Cancelled);
    EXPECT_TRUE(read(*scene) == before);
}

TEST_F(EarlierResults, GivenRefinedGeometry_GivesItsNewVerticesTheMeanOfBefore) {
    int refinedCount = 0;
    const ktWholeSettings first = settings(true, 2, 0), second = ktRefinedSettings(2);
    int runs = 0;
    {
        const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
        scene->bake(first);
        const Canceler counter(-1);
        scene->bakeAgain(second);
        runs = counter.count;
    }
    std::mt19937 random(3);
    for (int trial = 0; trial < 25; ++trial) {
        const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
        scene->bake(first);
        const Parts before = read(*scene);
        {
            ktEarlierResults earlier;
            earlier.setKeep(ktEarlierResults::None);
            const Canceler canceler(static_cast<int>(random() % static_cast<unsigned>(runs)));
            scene->bakeAgain(second);
        }
        if (end.kind == ktRunEnd::Done)
            continue;
        for (const auto& [name, left] : read(*scene)) {
            const ktRefinedGeometry& old = before.at(name);
            ASSERT_EQ(left.results.size(), left.positions.size()) << name;
            ASSERT_EQ(left.bakedLight.size(), left.positions.size()) << name;
            ASSERT_GE(left.results.size(), old.results.size());
            refinedCount += left.results.size() > old.results.size();
            EXPECT_TRUE(std::equal(old.results.begin(), old.results.end(), left.results.begin())) << name;
            EXPECT_TRUE(std::equal(old.bakedLight.begin(), old.bakedLight.end(), left.bakedLight.begin())) << name;
            // Means lie between the least and the greatest of before.
            for (osg::UInt32 c = 0; c < 4; ++c) {
                const auto less = [c](const osg::Vec4f& a, const osg::Vec4f& b) { return a[c] < b[c]; };
                const auto [least, greatest] = std::minmax_element(old.results.begin(), old.results.end(), less);
                for (const osg::Vec4f& value : left.results)
                    EXPECT_TRUE(value[c] >= (*least)[c] && value[c] <= (*greatest)[c]) << name;
            }
        }
    }
    EXPECT_GT(refinedCount, 0);
}

TEST_F(EarlierResults, GivenAnErrorWhileTracing_TellsItThoughThePluginReachesItsEnd) {
    const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
    scene->bake(settings(false, 0, 0));
    EXPECT_EQ(end.kind, ktRunEnd::Done);
    const Parts before = read(*scene);

    ktSceneRaytracing tracing(std::make_unique<BreakingTracer>());
    BreakingTracer::callsLeft = 3;
    ktRaytracingUtils* const own = ktRaytracingManager::getRaytracingUtils();
    ktRaytracingManager::setRaytracingUtils(&tracing);
    std::vector<std::string> log;
    ktLogOutput::setSink([&log](ktLogLevel level, const std::string& line) {
        if (level == ktLogLevel::Error)
            log.push_back(line);
    });
    int stops = 0, cancels = 0;
    QObject::connect(ktAmbientOcclusion::the(), &ktAmbientOcclusion::progressStopped, &receiver, [&] { ++stops; });
    QObject::connect(ktAmbientOcclusion::the(), &ktAmbientOcclusion::calculationCanceled, &receiver,
                     [&] { ++cancels; });
    {
        ktEarlierResults earlier;
        earlier.setKeep(ktEarlierResults::None);
        scene->bakeAgain(settings(false, 0, 1));
    }
    ktLogOutput::setSink({});
    ktRaytracingManager::setRaytracingUtils(own);
    EXPECT_EQ(stops, 1) << "the plug-in's listeners hear of an end";
    EXPECT_EQ(cancels, 0);
    EXPECT_EQ(end.kind, ktRunEnd::Failed);
    EXPECT_THAT(end.reason, testing::HasSubstr("the tracer broke"));
    EXPECT_THAT(log, testing::ElementsAre(end.reason));
    EXPECT_TRUE(read(*scene) == before);
}
