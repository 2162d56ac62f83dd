// SPDX-License-Identifier: LGPL-2.1-or-later
// The sequence of passes, with and without bounces and refinement.
#include "ktCalculationFixture.h"

#include <cfloat>

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using osg::Vec4f;
using Entries = std::vector<std::string>;

class Driver : public ktCalculationFixture {
protected:
    void refine() {
        controller.setSubdivideEnabled(true);
        controller.setShadowQuality(3);
        controller.setGatherQuality(3);
    }
};

std::string occlusion(int count) {
    return "computeVertexOcclusion(" + std::to_string(count) +
           ", transform false, sampler 1, option true, lightMode false)";
}
std::string gathering(int count) {
    return "gatherVertexIllumination(" + std::to_string(count) +
           ", transform false, sampler 2, bounce 1, lightMode false)";
}
Entries stepTo(int number) {
    return {"signal progressStep(" + std::to_string(number) + ")", "processEvents(0)"};
}

} // namespace

TEST_F(Driver, GivenOneBounce_CallsEverythingInOrder) {
    EXPECT_THAT(
        run(),
        ElementsAreArray(join(
            {freezing(),
             {"setModified(1)", "configureTracing(32, 32, 1, 3000)", "signal progressStarted(4)",
              "buildAccelerationStructure([a b floor], [lamp])"},
             stepTo(1),
             {occlusion(3)},
             stepTo(2),
             {occlusion(4), "finishPass()", "configureTracing(32, 32, 1, 3000)", "out:  Start the gathering process\n",
              "out: Gather the indirect illumination\n", "out: Start gathering:\n"},
             stepTo(3),
             {gathering(3)},
             stepTo(4),
             {gathering(4), "finishPass()", "signal progressStopped()", "out: Ambient Occlusion Time 0.5 seconds\n",
              "out: Num Rays: 14336\n", "out: MRays per second: 0.028672\n"},
             thawing()})));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0.25f, 0.5f, 0.75f, 0.4f)));
}

TEST_F(Driver, GivenRefinedRunWithTwoBounces_CallsEverythingInOrder) {
    refine();
    controller.setNumOfIndirections(2);
    const auto refinement = [](const std::string& name, int samples, bool indirect) -> Entries {
        return {"hasVertexAnimation(" + name + ")", "new record(" + name + ")",
                "subdivideByIllumination(" + name + ", samples " + std::to_string(samples) + ", indirect " +
                    (indirect ? "true" : "false") + ")"};
    };
    const Entries recreation{"invalidateGeometry()", "recreateGeometry(a)", "delete record(a)", "recreateGeometry(b)",
                             "delete record(b)"};
    const Entries rebuilding{"out: Now rebuild the acceleration structure since we have refine turned on\n",
                             "buildAccelerationStructure([a b floor], [lamp])",
                             "out: Gather the indirect illumination\n", "out: Start gathering:\n"};
    const auto bounce = [&](int firstStep) {
        return join({rebuilding,
                     stepTo(firstStep),
                     {gathering(3)},
                     refinement("a", 32, true),
                     stepTo(firstStep + 1),
                     {gathering(4)},
                     refinement("b", 32, true),
                     recreation,
                     {"finishPass()"}});
    };
    EXPECT_THAT(run(),
                ElementsAreArray(join({freezing(48, 32),
                                       {"setModified(1)", "configureTracing(48, 48, 1, 3000)",
                                        "signal progressStarted(6)", "buildAccelerationStructure([a b floor], [lamp])"},
                                       stepTo(1),
                                       {occlusion(3)},
                                       refinement("a", 48, false),
                                       stepTo(2),
                                       {occlusion(4)},
                                       refinement("b", 48, false),
                                       {"finishPass()"},
                                       recreation,
                                       {"configureTracing(32, 32, 1, 3000)", "out:  Start the gathering process\n"},
                                       bounce(3),
                                       bounce(5),
                                       {"signal progressStopped()", "out: Ambient Occlusion Time 0.75 seconds\n",
                                        // 48 squared times 7 and 32 squared times 14
                                        "out: Num Rays: 30464\n", "out: MRays per second: 0.0406187\n"},
                                       thawing()})));
    EXPECT_EQ(host.liveRecords, 0);
}

TEST_F(Driver, GivenRefinedDirectOnlyRun_RecreatesBeforeResultsAreStored) {
    refine();
    controller.setIndirectIlluminationEnabled(false);
    std::vector<Vec4f> atRecreation;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry == "recreateGeometry(a)")
            atRecreation = channel7(geometryOfNode(a));
    };
    run();
    EXPECT_THAT(atRecreation, allAre(raytracing.directResult)) << "x, y, z are still the results of the pass";
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0, 0, 0, 0.4f)));
    const auto begin = std::find(log.begin(), log.end(), "invalidateGeometry()");
    ASSERT_NE(begin, log.end());
    EXPECT_THAT(Entries(begin - 1, begin + 7),
                ElementsAre("out: Direct Illumination complete, took 0.25 seconds to complete\n",
                            "invalidateGeometry()", "recreateGeometry(a)", "delete record(a)", "recreateGeometry(b)",
                            "delete record(b)", "finishPass()", "signal progressStopped()"));
}

TEST_F(Driver, GivenIndirectRun_RecreatesBeforeResultsAreStored) {
    refine();
    std::vector<Vec4f> atRecreation;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry == "recreateGeometry(a)" && atRecreation.empty())
            atRecreation = channel7(geometryOfNode(a));
    };
    run();
    EXPECT_THAT(atRecreation, allAre(raytracing.directResult));
}

TEST_F(Driver, GivenDirectRefinementOnly_StillRebuildsAndRecreatesPerBounce) {
    refine();
    controller.setGatherQuality(1);
    controller.setNumOfIndirections(2);
    run();
    EXPECT_THAT(entriesWith(log, "buildAccelerationStructure"), SizeIs(3));
    EXPECT_THAT(entriesWith(log, "invalidateGeometry"), SizeIs(3));
    EXPECT_THAT(entriesWith(log, "new record"), SizeIs(2));
    EXPECT_THAT(entriesWith(log, "recreateGeometry"), SizeIs(2));
}

TEST_F(Driver, GivenIndirectRefinementOnly_NeverRebuildsNorRecreates) {
    refine();
    controller.setShadowQuality(1);
    controller.setNumOfIndirections(2);
    run();
    EXPECT_THAT(entriesWith(log, "buildAccelerationStructure"), SizeIs(1));
    EXPECT_THAT(entriesWith(log, "invalidateGeometry"), IsEmpty());
    EXPECT_THAT(entriesWith(log, "recreateGeometry"), IsEmpty());
    EXPECT_THAT(entriesWith(log, "new record"), SizeIs(4));
    EXPECT_THAT(entriesWith(log, "delete record"), SizeIs(4)) << "the end of the run deletes the remaining records";
    EXPECT_EQ(host.liveRecords, 0);
    EXPECT_LT(std::find(log.begin(), log.end(), "releaseSampler(sampler 2)"),
              std::find(log.begin(), log.end(), "delete record(a)"));
}

TEST_F(Driver, GivenRecordsLeftBehind_NextRunDoesNotSeeThem) {
    refine();
    controller.setShadowQuality(1);
    run();
    controller.setShadowQuality(3);
    controller.setIndirectIlluminationEnabled(false);
    run();
    EXPECT_THAT(entriesWith(log, "recreateGeometry"), SizeIs(2));
}

TEST_F(Driver, GivenNoBounces_ClearsNothingAndGathersNothing) {
    controller.setNumOfIndirections(0);
    controller.setMode(C::Classic);
    setChannel5(geometryOfNode(a), makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 2.5f))));
    std::vector<Vec4f> atBuild;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry.rfind("buildAcceleration", 0) == 0)
            atBuild = channel5(geometryOfNode(a));
    };
    run();
    EXPECT_THAT(atBuild, allAre(Vec4f(1, 1, 1, 2.5f))) << "vertex colours are not cleared";
    EXPECT_THAT(log, Contains("signal progressStarted(2)"));
    EXPECT_THAT(entriesWith(log, "out:"), ElementsAre("out: Ambient Occlusion Time 0.25 seconds\n",
                                                      "out: Num Rays: 7168\n", "out: MRays per second: 0.028672\n"));
    EXPECT_THAT(entriesWith(log, "configureTracing"), SizeIs(1));
    EXPECT_THAT(log, Contains("signal progressStopped()"));
}

TEST_F(Driver, GivenBounces_ClearsVertexColorsBeforeTheStructureIsBuilt) {
    setChannel7(geometryOfNode(a), makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 0.5f))));
    setChannel5(geometryOfNode(a), makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 2.5f))));
    std::vector<Vec4f> atBuild;
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry.rfind("buildAcceleration", 0) == 0) {
            atBuild = channel7(geometryOfNode(a));
            EXPECT_EQ(geometryOfNode(a)->getTexCoords5(), osg::NullFC);
        }
    };
    run();
    EXPECT_THAT(atBuild, allAre(Vec4f(0, 0, 0, 0.5f)));
}

TEST_F(Driver, GivenLightAndShadows_GathersFromAnyDistance) {
    controller.setMode(C::LightAndShadows);
    controller.setMinDistance(0.5f);
    run();
    EXPECT_THAT(raytracing.configurations,
                ElementsAre(ElementsAre(32, 32, 0.5f, 3000), ElementsAre(32, 32, 0.5f, 3.4028235e38f)));
    EXPECT_EQ(raytracing.configurations[1][3], FLT_MAX);
    EXPECT_THAT(channel5(geometryOfNode(a)), allAre(Vec4f(0.1f, 0.2f, 0.3f, 2.4f)));
    EXPECT_THAT(channel7(geometryOfNode(a)), allAre(Vec4f(0.25f, 0.5f, 0.75f, 0.4f)));
}

TEST_F(Driver, GivenOtherModes_GathersUpToMaximumDistance) {
    for (const C::DirectLightMode mode : {C::Classic, C::Shadows}) {
        controller.setMode(mode);
        raytracing.configurations.clear();
        run();
        EXPECT_EQ(raytracing.configurations.at(1).at(3), 3000);
    }
}

TEST_F(Driver, GivenGatherQuality_ConfiguresBouncesWithItsCount) {
    controller.setGatherQuality(0);
    controller.setShadowQuality(1);
    run();
    EXPECT_THAT(entriesWith(log, "configureTracing"),
                ElementsAre("configureTracing(16, 16, 1, 3000)", "configureTracing(8, 8, 1, 3000)"));
    // 16 squared times 7 and 8 squared times 7
    EXPECT_THAT(log, Contains("out: Num Rays: 2240\n"));
}

TEST_F(Driver, GivenNegativeBounces_ClearsButGathersNothing) {
    controller.setNumOfIndirections(-2);
    setChannel7(geometryOfNode(a), makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 0.5f))));
    run();
    EXPECT_THAT(log, Contains("signal progressStarted(-2)"));
    EXPECT_THAT(log, Contains("out:  Start the gathering process\n"));
    EXPECT_THAT(entriesWith(log, "gatherVertexIllumination"), IsEmpty());
}

TEST_F(Driver, GivenManyRays_CountsBeyondThirtyTwoBits) {
    controller.setShadowQuality(5);
    controller.setIndirectIlluminationEnabled(false);
    const osg::NodePtr large = keep(makeGeometryNode("large", 300000));
    host.selection = {large};
    run();
    EXPECT_THAT(log, Contains("out: Num Rays: 4915200000\n"));
}

TEST_F(Driver, GivenSkippedGeometry_CountsNoRays) {
    controller.setIndirectIlluminationEnabled(false);
    resizeNormals(geometryOfNode(a), 2);
    run();
    EXPECT_THAT(log, Contains("out: Wrong number of normals\n"));
    EXPECT_THAT(log, Contains("out: Num Rays: 4096\n"));
}

TEST_F(Driver, GivenOutput_IsAllFlushed) {
    refine();
    run();
    for (const std::string& entry : entriesWith(log, "out:"))
        EXPECT_EQ(std::count(entry.begin(), entry.end(), '\n'), 1) << "each line is flushed separately: " << entry;
    EXPECT_THAT(entriesWith(log, "unflushed"), IsEmpty());
}

TEST_F(Driver, GivenRefinedGeometryGrown_CountsTheVerticesOfEachPass) {
    refine();
    controller.setGatherQuality(1);
    host.selection = {a};
    const auto base = host.onEntry;
    host.onEntry = [&](const std::string& entry) {
        base(entry);
        if (entry == "recreateGeometry(a)") {
            const auto positions = osg::GeoPositions3fPtr::dcast(geometryOfNode(a)->getPositions());
            positions->resize(5);
            resizeNormals(geometryOfNode(a), 5);
            setChannel7(geometryOfNode(a), makeChannel(std::vector<Vec4f>(5, Vec4f(1, 1, 1, 0.5f))));
        }
    };
    run();
    EXPECT_THAT(log, Contains("gatherVertexIllumination(5, transform false, sampler 2, bounce 1, lightMode false)"));
    // 48 squared times 3 and 16 squared times 5
    EXPECT_THAT(log, Contains("out: Num Rays: 8192\n"));
}
