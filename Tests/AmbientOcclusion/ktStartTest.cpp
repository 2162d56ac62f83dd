// SPDX-License-Identifier: LGPL-2.1-or-later
// A run from the request to the thawed host: refusals, freezing, preparation and clean-up.
#include "ktCalculationFixture.h"
#include "ktGeoSubdivisionList.h"

#include <algorithm>
#include <ctime>
#include <OpenSG/OSGFieldContainerFactory.h>

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using osg::Vec4f;

class Start : public ktCalculationFixture {
protected:
    Start() { controller.setIndirectIlluminationEnabled(false); }
};

osg::AttachmentPtr settingsOf(const osg::NodePtr& node) {
    return node->findAttachment(osg::AmbientOcclusionSettingsAttachment::getClassType());
}

} // namespace

TEST_F(Start, GivenRunningCalculation_IsRefusedWithoutAnyCall) {
    Access::calculating(controller) = true;
    log.clear();
    EXPECT_FALSE(controller.startCalculation(false));
    EXPECT_THAT(log, IsEmpty());
    EXPECT_TRUE(Access::calculating(controller));
    Access::calculating(controller) = false;
}

TEST_F(Start, GivenNoRaytracing_IsRefusedSilently) {
    host.hasRaytracing = false;
    controller.updateState(C::Idle, 0);
    now_us() += 5000000;
    log.clear();
    EXPECT_FALSE(controller.startCalculation(false));
    EXPECT_THAT(log, IsEmpty()) << "the state does not change either";
    EXPECT_FALSE(Access::calculating(controller));
}

TEST_F(Start, GivenNoSelection_SignalsAndLeavesStateAtStarting) {
    host.selection.clear();
    controller.updateState(C::Idle, 0);
    now_us() += 5000000;
    log.clear();
    EXPECT_FALSE(controller.startCalculation(false));
    EXPECT_THAT(log, ElementsAre("signal stateChanged(1, 0)", "getSelectedRootNodes()",
                                 "signal calculationFailedNoSelection()"));
    EXPECT_FALSE(Access::calculating(controller));
    EXPECT_FALSE(Access::keepRunning(controller));
}

TEST_F(Start, GivenLockedSelection_SignalsAndLeavesTheHostAlone) {
    host.lockedCores = {car->getCore(), floor->getCore()};
    host.selection = {car, floor};
    log.clear();
    EXPECT_FALSE(controller.startCalculation(false));
    EXPECT_THAT(log, ElementsAre("getSelectedRootNodes()", "allows(car, 25)", "allows(floor, 25)",
                                 "signal calculationFailedLockedSelection()"));
    EXPECT_EQ(settingsOf(car), osg::NullFC);
}

// Copies of the selected nodes are the children of the tree that the run works on, and leave it one by one.
TEST_F(Start, GivenTwiceTheSelectedNodes_TakesAboutTwiceTheTime) {
    const auto processorTime_s = [this](int count) {
        host.selection.clear();
        for (int i = 0; i < count; ++i)
            host.selection.push_back(keep(makeGroup("")));
        const std::clock_t before = std::clock();
        run();
        return static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    };
    // The least times count, in turns: others may slow the processor down for a while. In proportion to the square it
    // would be four times.
    double time_s = 1e9, timeOfTwice_s = 1e9;
    for (int repeat = 0; repeat < 3 || (repeat < 10 && timeOfTwice_s >= 2.7 * time_s); ++repeat) {
        time_s = std::min(time_s, processorTime_s(50000));
        timeOfTwice_s = std::min(timeOfTwice_s, processorTime_s(100000));
    }
    EXPECT_LT(timeOfTwice_s, 2.7 * time_s);
}

TEST_F(Start, GivenSomeLockedNodes_CalculatesTheOthersInOrder) {
    const osg::NodePtr last = keep(makeGeometryNode("last"));
    host.lockedCores = {floor->getCore()};
    host.selection = {last, floor, a};
    run();
    EXPECT_THAT(raytracing.directPasses, SizeIs(2));
    EXPECT_EQ(settingsOf(floor), osg::NullFC);
    EXPECT_NE(settingsOf(last), osg::NullFC);
    EXPECT_EQ(settingsOf(last), settingsOf(a)) << "one attachment for all";
    EXPECT_THAT(
        entriesWith(log, "computeVertexOcclusion"),
        ElementsAre(testing::StartsWith("computeVertexOcclusion(3"), testing::StartsWith("computeVertexOcclusion(3")));
    EXPECT_THAT(channel7(geometryOfNode(floor)), IsEmpty());
}

TEST_F(Start, GivenDirectOnlyRun_CallsEverythingInOrder) {
    EXPECT_THAT(run(),
                ElementsAreArray(join(
                    {freezing(),
                     {"setModified(1)", "configureTracing(32, 32, 1, 3000)", "signal progressStarted(2)",
                      "buildAccelerationStructure([a b floor], [lamp])", "signal progressStep(1)", "processEvents(0)",
                      "computeVertexOcclusion(3, transform false, sampler 1, option true, lightMode false)",
                      "signal progressStep(2)", "processEvents(0)",
                      "computeVertexOcclusion(4, transform false, sampler 1, option true, lightMode false)",
                      "out: Direct Illumination complete, took 0.25 seconds to complete\n", "finishPass()",
                      "signal progressStopped()", "out: Ambient Occlusion Time 0.25 seconds\n", "out: Num Rays: 7168\n",
                      "out: MRays per second: 0.028672\n"},
                     thawing()})));
}

TEST_F(Start, GivenAllStates_AreReportedInOrder) {
    controller.updateState(C::Idle, 0);
    host.selection = {a};
    const auto record = host.onEntry;
    host.onEntry = [](const std::string&) { now_us() += 2000000; };
    now_us() += 2000000;
    run();
    const std::vector<std::string> states = entriesWith(log, "signal stateChanged");
    ASSERT_THAT(states, SizeIs(6));
    EXPECT_EQ(states[0], "signal stateChanged(1, 0)");
    EXPECT_EQ(states[1], "signal stateChanged(2, 0)");
    EXPECT_EQ(states[2], "signal stateChanged(3, 0)");
    EXPECT_THAT(states[3], testing::StartsWith("signal stateChanged(5, "));
    EXPECT_NE(states[3], "signal stateChanged(5, 0)");
    EXPECT_EQ(states[4], "signal stateChanged(9, 0)");
    EXPECT_EQ(states[5], "signal stateChanged(0, 0)");

    // Their order relative to the host's calls.
    const auto at = [this](const std::string& entry) {
        return std::find_if(log.begin(), log.end(),
                            [&](const std::string& each) { return each.rfind(entry, 0) == 0; }) -
               log.begin();
    };
    EXPECT_LT(at("signal stateChanged(1"), at("getSelectedRootNodes"));
    EXPECT_LT(at("createSampler"), at("signal stateChanged(2"));
    EXPECT_LT(at("signal stateChanged(2"), at("setMaterialOverride"));
    EXPECT_LT(at("signal progressStarted"), at("signal stateChanged(3"));
    EXPECT_LT(at("signal stateChanged(3"), at("buildAccelerationStructure"));
    EXPECT_LT(at("processEvents"), at("signal stateChanged(5"));
    EXPECT_LT(at("out: MRays"), at("signal stateChanged(9"));
    EXPECT_LT(at("signal stateChanged(9"), at("releaseSampler"));
    EXPECT_EQ(at("signal stateChanged(0"), at("enableUpdate(true)") + 1);
}

TEST_F(Start, GivenHostStateBefore_IsRestored) {
    host.isRenderEnabled = false;
    host.raytracing = 9;
    run();
    EXPECT_THAT(entriesWith(log, "enableRender"), ElementsAre("enableRender(false)", "enableRender(false)"));
    EXPECT_THAT(entriesWith(log, "restoreRaytracing"), ElementsAre("restoreRaytracing(9)"));
}

TEST_F(Start, GivenSettings_PreparesTheRunFromThem) {
    controller.setShadowQuality(4);
    controller.setGatherQuality(0);
    controller.setIntensityThreshold(0.25);
    controller.setColorBleedingEnabled(true);
    controller.setOverrideMaterialColorEnabled(false);
    controller.setMaterialColor(1, 0.5f, 0.25f);
    Access::directSampleCountV(controller) = 7; // the sampler uses U for both, the tracing uses V
    Access::passOption(controller) = false;
    run();
    EXPECT_THAT(entriesWith(log, "createSampler"),
                ElementsAre("createSampler(64, 64, 0, 1, 0.25, 0.25)", "createSampler(8, 8, 0, 1, 0.25, 0.25)"));
    EXPECT_THAT(entriesWith(log, "configureTracing"), ElementsAre("configureTracing(64, 7, 1, 3000)"));
    EXPECT_THAT(log, Contains("setMaterialOverride(true, false, [1 0.5 0.25])"));
    EXPECT_EQ(Access::directThreshold(controller), 0.25);
    EXPECT_EQ(Access::indirectThreshold(controller), 0.25);
    EXPECT_TRUE(Access::passOption(controller));
}

TEST_F(Start, GivenQualities_RefinesOnlyAboveOne) {
    controller.setSubdivideEnabled(true);
    for (const int quality : {-1, 0, 1, 2, 3}) {
        controller.setShadowQuality(quality);
        controller.setGatherQuality(1 - quality);
        run();
        EXPECT_EQ(Access::refineDirect(controller), quality > 1) << quality;
        EXPECT_EQ(Access::refineIndirect(controller), 1 - quality > 1) << quality;
    }
    controller.setSubdivideEnabled(false);
    run();
    EXPECT_FALSE(Access::refineDirect(controller));
}

TEST_F(Start, GivenFreshController_GathersWithThirtyTwo) {
    run();
    EXPECT_EQ(entriesWith(log, "createSampler").at(1), "createSampler(32, 32, 0, 1, 0.25, 0.25)");
    controller.setGatherQuality(3);
    controller.setGatherQuality(2);
    run();
    EXPECT_EQ(entriesWith(log, "createSampler").at(1), "createSampler(24, 24, 0, 1, 0.25, 0.25)");
}

TEST_F(Start, GivenRun_IsBusyWithinAndIdleAfterwards) {
    int seen = 0;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry == "enableUpdate(false)" || entry == "enableUpdate(true)") {
            EXPECT_TRUE(Access::calculating(controller)) << entry;
            EXPECT_TRUE(Access::keepRunning(controller)) << entry;
            ++seen;
        }
        if (entry == "update(true)") {
            EXPECT_FALSE(Access::calculating(controller));
            EXPECT_FALSE(Access::keepRunning(controller));
            ++seen;
        }
    };
    run();
    EXPECT_EQ(seen, 3);
}

TEST_F(Start, GivenSecondStartDuringRun_IsRefused) {
    bool second = true;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry == "processEvents(0)")
            second = controller.startCalculation(false);
    };
    run();
    EXPECT_FALSE(second);
    EXPECT_THAT(entriesWith(log, "getSelectedRootNodes"), SizeIs(1));
}

TEST_F(Start, GivenRun_CleansUpAfterwards) {
    controller.setSubdivideEnabled(true);
    Access::occluderNodes(controller) = {a};
    run();
    EXPECT_THAT(Access::geometryNodes(controller), IsEmpty());
    EXPECT_THAT(Access::occluderNodes(controller), IsEmpty());
    EXPECT_THAT(Access::visibleGeometryNodes(controller), IsEmpty());
    EXPECT_THAT(Access::visibleLightNodes(controller), IsEmpty());
    EXPECT_THAT(Access::subdivisionLists(controller), IsEmpty());
    EXPECT_EQ(Access::directSampler(controller), nullptr);
    EXPECT_EQ(Access::gatherSampler(controller), nullptr);
    EXPECT_THAT(raytracing.liveSamplers, IsEmpty());
    EXPECT_EQ(host.liveRecords, 0);
}

TEST_F(Start, GivenRun_ReleasesTheWorkingCopy) {
    const auto parents = geometryOfNode(a)->getParents().size();
    const int refCount = osg::NodeCorePtr(a->getCore()).getRefCount();
    std::set<osg::UInt32> workingNodes;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry == "processEvents(0)")
            for (osg::NodePtr node = Access::geometryNodes(controller)[0]; node != osg::NullFC;
                 node = node->getParent())
                workingNodes.insert(osg::getContainerId(node));
    };
    run();
    EXPECT_THAT(workingNodes, SizeIs(4)) << "root, placed, car and a part";
    for (const osg::UInt32 id : workingNodes)
        EXPECT_EQ(osg::FieldContainerFactory::the()->getContainer(id), osg::NullFC);
    EXPECT_EQ(geometryOfNode(a)->getParents().size(), parents);
    EXPECT_EQ(osg::NodeCorePtr(a->getCore()).getRefCount(), refCount);
}

TEST_F(Start, GivenRun_StoresResultsInTheScene) {
    run();
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0, 0, 0, 0.4f)));
    EXPECT_THAT(channel7(geometryOfNode(b)), SizeIs(4));
    EXPECT_EQ(geometryOfNode(a)->getTexCoords5(), osg::NullFC);
    EXPECT_THAT(channel7(geometryOfNode(floor)), IsEmpty()) << "it only occludes";
}

TEST_F(Start, GivenNoGeometryBelowSelection_RunsNoPassButEverythingElse) {
    host.selection = {lamp};
    log.clear();
    EXPECT_TRUE(controller.startCalculation(false));
    EXPECT_NE(settingsOf(lamp), osg::NullFC);
    EXPECT_THAT(log, Not(Contains(testing::StartsWith("configureTracing"))));
    EXPECT_THAT(entriesWith(log, "setModified"), SizeIs(1));
    const Entries ending = thawing();
    EXPECT_TRUE(std::equal(ending.begin(), ending.end(), log.end() - ptrdiff_t(ending.size())));
}

TEST_F(Start, GivenMissingOnly_CalculatesWhatHasNoResults) {
    setChannel7(geometryOfNode(a), makeChannel(std::vector<Vec4f>(3, Vec4f(0, 0, 0, 1))));
    run(true);
    EXPECT_THAT(entriesWith(log, "computeVertexOcclusion"), SizeIs(1));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0, 0, 0, 1)));
    EXPECT_THAT(channel7(geometryOfNode(b)), allAre(Vec4f(0, 0, 0, 0.4f)));
    EXPECT_EQ(log.back(), "signal calculationStarted(true)");
    EXPECT_NE(settingsOf(a), osg::NullFC);
}

TEST_F(Start, GivenMissingOnlyAndNothingMissing_AttachesSettingsAndSignals) {
    run();
    run(true);
    EXPECT_THAT(entriesWith(log, "computeVertexOcclusion"), IsEmpty());
    EXPECT_THAT(entriesWith(log, "buildAccelerationStructure"), IsEmpty());
    EXPECT_EQ(log.back(), "signal calculationStarted(true)");
}

TEST_F(Start, GivenSelection_GetsTheSettingsOfTheRun) {
    controller.setShadowQuality(0);
    run();
    const auto attachment = osg::AmbientOcclusionSettingsAttachmentPtr::dcast(settingsOf(a));
    EXPECT_EQ(attachment->getShadowQuality(), 0);
    EXPECT_FALSE(attachment->getIndirectIllumination());
    EXPECT_EQ(attachment.getRefCount(), 3) << "only car, a and b hold it, not the run";
}

TEST_F(Start, GivenNullInSelection_CalculatesTheRest) {
    host.selection = {osg::NullFC, car};
    run();
    EXPECT_THAT(raytracing.directPasses, SizeIs(2));
}

TEST_F(Start, GivenRecordsLeftListed_DestructorDoesNotDestroyThem) {
    const auto other = Access::make();
    auto* const record = new ktGeoSubdivisionList(geometryOfNode(a));
    Access::subdivisionLists(*other).push_back(record);
    Access::destroy(other);
    EXPECT_EQ(host.liveRecords, 1);
    delete record;
}

TEST_F(Start, GivenExceptionFromAPass_LeavesTheHostFrozen) {
    controller.setSubdivideEnabled(true);
    host.failsToMakeRecords = true;
    log.clear();
    EXPECT_THROW(controller.startCalculation(false), std::bad_alloc);
    EXPECT_TRUE(Access::calculating(controller));
    EXPECT_THAT(entriesWith(log, "enableUpdate"), ElementsAre("enableUpdate(false)"));
    for (ktSampler* sampler : std::set<ktSampler*>(raytracing.liveSamplers))
        raytracing.releaseSampler(sampler);
}
