// SPDX-License-Identifier: LGPL-2.1-or-later
// A cancel at each point of a run: the remaining calls, the output, and the restored state of the host.
#include "ktAmbientOcclusionInternal.h"
#include "ktCalculationFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using osg::Vec4f;
using Entries = std::vector<std::string>;

const std::string timeLine = "out: Ambient Occlusion Time ";

class Cancel : public ktCalculationFixture {
protected:
    void directOnly() { controller.setIndirectIlluminationEnabled(false); }
    void refineWithTwoBounces() {
        controller.setSubdivideEnabled(true);
        controller.setShadowQuality(3);
        controller.setGatherQuality(3);
        controller.setNumOfIndirections(2);
    }
    /// The entries of a run between freezing and thawing the host.
    Entries body() {
        const Entries whole = run();
        const Entries end = thawing();
        const auto begin = std::find(whole.begin() + 10, whole.end(), "configureTracing(32, 32, 1, 3000)");
        EXPECT_TRUE(std::equal(end.begin(), end.end(), whole.end() - ptrdiff_t(end.size())));
        return Entries(begin + 1, whole.end() - ptrdiff_t(end.size()));
    }
    bool printsTime() const { return !entriesWith(log, timeLine).empty(); }
};

} // namespace

TEST_F(Cancel, GivenBeforeThePasses_DirectRunPrintsTimeOnly) {
    directOnly();
    cancelAt("setMaterialOverride");
    EXPECT_THAT(body(), ElementsAre("out: Ambient Occlusion Time 0 seconds\n"));
}

TEST_F(Cancel, GivenAtDirectProgress_StillBuildsThenReturnsSilently) {
    directOnly();
    cancelAt("signal progressStarted");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(2)", "buildAccelerationStructure([a b floor], [lamp])"));
}

TEST_F(Cancel, GivenInDirectBuild_ReturnsSilently) {
    directOnly();
    cancelAt("buildAccelerationStructure");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(2)", "buildAccelerationStructure([a b floor], [lamp])"));
}

TEST_F(Cancel, GivenInDirectPassOfDirectRun_FinishesAndStores) {
    directOnly();
    cancelAt("processEvents", 2);
    EXPECT_THAT(body(),
                ElementsAre("signal progressStarted(2)", "buildAccelerationStructure([a b floor], [lamp])",
                            "signal progressStep(1)", "processEvents(0)",
                            "computeVertexOcclusion(3, transform false, sampler 1, option true, lightMode false)",
                            "signal progressStep(2)", "processEvents(0)",
                            "out: Direct Illumination complete, took 0.125 seconds to complete\n", "finishPass()",
                            "signal progressStopped()", "out: Ambient Occlusion Time 0.125 seconds\n",
                            "out: Num Rays: 3072\n", "out: MRays per second: 0.024576\n"));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0, 0, 0, 0.4f)));
    EXPECT_THAT(channel7(geometryOfNode(b)), allAre(Vec4f(0, 0, 0, 0))) << "stored, although it was not calculated";
}

TEST_F(Cancel, GivenBeforeThePasses_IndirectRunReturnsSilentlyAfterProgress) {
    cancelAt("setMaterialOverride");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(4)"));
    EXPECT_THAT(channel7(geometryOfNode(a)), IsEmpty()) << "vertex colours are not cleared";
}

TEST_F(Cancel, GivenAtIndirectProgress_ReturnsSilently) {
    cancelAt("signal progressStarted");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(4)"));
    EXPECT_THAT(channel7(geometryOfNode(a)), IsEmpty());
}

TEST_F(Cancel, GivenAtStructureState_ReturnsSilently) {
    controller.updateState(C::Idle, 0);
    const auto base = host.onEntry;
    host.onEntry = [base](const std::string& entry) {
        base(entry);
        if (entry == "signal progressStarted(4)")
            now_us() += 2000000;
    };
    cancelAt("signal stateChanged(3");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(4)", "signal stateChanged(3, 0)"));
}

TEST_F(Cancel, GivenWhileColoursAreCleared_ReturnsBeforeTheStructure) {
    // Only a bad node prints something there. The reference count makes the node bad.
    const auto base = host.onEntry;
    host.onEntry = [this, base](const std::string& entry) {
        base(entry);
        if (entry == "signal progressStarted(4)")
            Access::geometryNodes(controller)[0] = osg::NullFC;
    };
    cancelAt("out: Bad Node Clear Vertex Colors");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(4)", "out: Bad Node Clear Vertex Colors-1\n"));
    EXPECT_THAT(channel7(geometryOfNode(b)), SizeIs(4)) << "the clearing still finishes";
}

TEST_F(Cancel, GivenInIndirectBuild_ReturnsSilently) {
    cancelAt("buildAccelerationStructure");
    EXPECT_THAT(body(), ElementsAre("signal progressStarted(4)", "buildAccelerationStructure([a b floor], [lamp])"));
    EXPECT_THAT(channel7(geometryOfNode(a)), SizeIs(3)) << "vertex colours were cleared before";
}

TEST_F(Cancel, GivenInDirectPassOfIndirectRun_FinishesPassPrintsTimeAndStoresNothing) {
    cancelAt("processEvents", 2);
    EXPECT_THAT(body(),
                ElementsAre("signal progressStarted(4)", "buildAccelerationStructure([a b floor], [lamp])",
                            "signal progressStep(1)", "processEvents(0)",
                            "computeVertexOcclusion(3, transform false, sampler 1, option true, lightMode false)",
                            "signal progressStep(2)", "processEvents(0)", "finishPass()",
                            "out: Ambient Occlusion Time 0.125 seconds\n"));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(raytracing.directResult));
}

TEST_F(Cancel, GivenInFinishPass_PrintsTimeAndStoresNothing) {
    cancelAt("finishPass");
    const Entries entries = body();
    EXPECT_EQ(entries.back(), "out: Ambient Occlusion Time 0.25 seconds\n");
    EXPECT_EQ(entries.at(entries.size() - 2), "finishPass()");
}

TEST_F(Cancel, GivenInRecreation_RecreatesAllPrintsTimeAndStoresNothing) {
    refineWithTwoBounces();
    cancelAt("invalidateGeometry");
    run();
    EXPECT_THAT(entriesWith(log, "recreateGeometry"), ElementsAre("recreateGeometry(a)", "recreateGeometry(b)"));
    EXPECT_THAT(entriesWith(log, "out:"), ElementsAre("out: Ambient Occlusion Time 0.25 seconds\n"));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(raytracing.directResult));
}

TEST_F(Cancel, GivenInGatherConfiguration_PrintsTimeBeforeTheFirstBounce) {
    cancelAt("configureTracing", 2);
    const Entries entries = body();
    EXPECT_THAT(Entries(entries.end() - 4, entries.end()),
                ElementsAre("finishPass()", "configureTracing(32, 32, 1, 3000)", "out:  Start the gathering process\n",
                            "out: Ambient Occlusion Time 0.25 seconds\n"));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0, 0, 0, 0.4f))) << "the direct result is stored";
}

TEST_F(Cancel, GivenInFirstOfTwoBounces_FinishesThePassThenPrintsTime) {
    controller.setNumOfIndirections(2);
    cancelAt("processEvents", 4);
    const Entries entries = body();
    EXPECT_THAT(Entries(entries.end() - 4, entries.end()),
                ElementsAre("signal progressStep(4)", "processEvents(0)", "finishPass()",
                            "out: Ambient Occlusion Time 0.375 seconds\n"));
}

TEST_F(Cancel, GivenInFirstOfTwoRefinedBounces_RecreatesThenPrintsTime) {
    refineWithTwoBounces();
    cancelAt("processEvents", 4);
    run();
    EXPECT_THAT(entriesWith(log, "invalidateGeometry"), SizeIs(2));
    EXPECT_THAT(entriesWith(log, "recreateGeometry"),
                ElementsAre("recreateGeometry(a)", "recreateGeometry(b)", "recreateGeometry(a)"));
    EXPECT_THAT(entriesWith(log, "finishPass"), SizeIs(2));
    EXPECT_TRUE(printsTime());
    EXPECT_THAT(log, Not(Contains("signal progressStopped()")));
    EXPECT_EQ(host.liveRecords, 0);
}

TEST_F(Cancel, GivenInRebuild_StillGathersUpToItsFirstPoll) {
    refineWithTwoBounces();
    cancelAt("buildAccelerationStructure", 2);
    run();
    EXPECT_THAT(entriesWith(log, "gatherVertexIllumination"), IsEmpty());
    EXPECT_THAT(log, Contains("out: Start gathering:\n"));
    EXPECT_THAT(log, Contains("signal progressStep(3)"));
    EXPECT_TRUE(printsTime());
}

TEST_F(Cancel, GivenInLastBounce_EndsLikeAFullRun) {
    cancelAt("processEvents", 4);
    const Entries entries = body();
    EXPECT_THAT(Entries(entries.end() - 7, entries.end()),
                ElementsAre("signal progressStep(4)", "processEvents(0)", "finishPass()", "signal progressStopped()",
                            "out: Ambient Occlusion Time 0.375 seconds\n", "out: Num Rays: 10240\n",
                            "out: MRays per second: 0.0273067\n"));
}

TEST_F(Cancel, GivenNoBounces_CancelAfterTheCheckEndsLikeAFullRun) {
    controller.setNumOfIndirections(0);
    cancelAt("signal progressStopped");
    EXPECT_THAT(body(), Contains("out: Num Rays: 7168\n"));
}

TEST_F(Cancel, GivenRequestFromTheEventLoop_SignalsAndIsHonoured) {
    const auto base = host.onEntry;
    host.onEntry = [this, base](const std::string& entry) {
        base(entry);
        if (entry == "processEvents(0)")
            controller.cancelCalculation();
    };
    run();
    EXPECT_THAT(raytracing.directPasses, IsEmpty());
    EXPECT_THAT(entriesWith(log, "signal calculationCanceled"), SizeIs(1));
    EXPECT_EQ(log.back(), "signal calculationStarted(false)");
}

TEST_F(Cancel, GivenBeforeTheStart_DoesNotReachTheRun) {
    controller.cancelCalculation();
    run();
    EXPECT_THAT(raytracing.directPasses, SizeIs(2));
    EXPECT_THAT(raytracing.gatherPasses, SizeIs(2));
}

// Cancels a refined run with two bounces at each of its entries.
TEST_F(Cancel, GivenAnyPlace_ThawsTheHostAndLeaksNothing) {
    refineWithTwoBounces();
    const Entries whole = run();
    const int parents = int(geometryOfNode(a)->getParents().size());
    const auto base = host.onEntry;
    for (std::size_t place = 1; place <= whole.size(); ++place) {
        raytracing.reset();
        log.clear();
        ktAmbientOcclusionInternal::lastStateReport_us = -1; // no run reports states
        host.onEntry = [&](const std::string& entry) {
            base(entry);
            if (log.size() == place)
                Access::keepRunning(controller) = false;
        };
        ASSERT_TRUE(controller.startCalculation(false)) << place;
        ASSERT_LE(place, log.size());
        EXPECT_TRUE(std::equal(log.begin(), log.begin() + ptrdiff_t(place), whole.begin())) << place;
        const Entries end = thawing();
        ASSERT_GE(log.size(), end.size());
        EXPECT_THAT(Entries(log.end() - ptrdiff_t(end.size()), log.end()), ElementsAreArray(end)) << place;
        EXPECT_EQ(host.liveRecords, 0) << place;
        EXPECT_THAT(raytracing.liveSamplers, IsEmpty()) << place;
        EXPECT_THAT(Access::geometryNodes(controller), IsEmpty()) << place;
        EXPECT_FALSE(Access::calculating(controller)) << place;
        EXPECT_EQ(int(geometryOfNode(a)->getParents().size()), parents) << place;
    }
    host.onEntry = base;
    raytracing.reset();
    ktAmbientOcclusionInternal::lastStateReport_us = -1;
    EXPECT_THAT(run(), ElementsAreArray(whole)) << "the next run is complete";
}
