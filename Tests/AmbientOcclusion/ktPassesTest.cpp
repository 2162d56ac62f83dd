// SPDX-License-Identifier: LGPL-2.1-or-later
// The direct pass, the gathering pass, and the refinement after each.
#include "ktAmbientOcclusionInternal.h"
#include "ktChangeRecorder.h"
#include "ktControllerFixture.h"
#include "ktSceneParts.h"
#include "OSGUberMaterial.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <limits>
#include <QCoreApplication>
#include <QEvent>

using ktAmbientOcclusionInternal::numRays;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using osg::Color3f;
using osg::Matrix;
using osg::Vec4f;

class Passes : public ktControllerFixture {
protected:
    Passes() { Access::keepRunning(controller) = true; }

    osg::NodePtr add(const osg::NodePtr& node) {
        keep(node);
        Access::geometryNodes(controller).push_back(node);
        return node;
    }
    /// A geometry below a transform; the test keeps both alive.
    osg::NodePtr addPlaced(const std::string& name, const Matrix& matrix) {
        const osg::NodePtr node = add(makeGeometryNode(name));
        keep(makeTransform("t", matrix, {node}));
        return node;
    }
    std::vector<std::string> steps(const std::string& pass) const { return entriesWith(log, pass); }
};

class DirectPass : public Passes {};
class GatherPass : public Passes {};
class Refinement : public Passes {};

osg::MaterialPtr paint(float r, float g, float b) {
    const osg::UberMaterialPtr material = osg::UberMaterial::create();
    osg::beginEditCP(material);
    material->setColor(Color3f(r, g, b));
    osg::endEditCP(material);
    return material;
}

void dropPositions(const osg::NodePtr& node) {
    const osg::GeometryPtr geometry = geometryOfNode(node);
    osg::beginEditCP(geometry);
    geometry->setPositions(osg::NullFC);
    osg::endEditCP(geometry);
}

void useOtherPositions(const osg::NodePtr& node) {
    const osg::GeoPositions4fPtr positions = osg::GeoPositions4f::create();
    osg::beginEditCP(positions);
    positions->resize(3);
    osg::endEditCP(positions);
    const osg::GeometryPtr geometry = geometryOfNode(node);
    osg::beginEditCP(geometry);
    geometry->setPositions(positions);
    osg::endEditCP(geometry);
}

} // namespace

TEST_F(DirectPass, GivenNoNodes_ReturnsAtOnce) {
    controller.computeDirectIllumination();
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(DirectPass, GivenNodes_StepsRunsEventsAndTracesEach) {
    add(makeGeometryNode("a", 3));
    add(makeGeometryNode("b", 5));
    controller.computeDirectIllumination();
    EXPECT_THAT(log, ElementsAre("signal progressStep(1)", "processEvents(0)",
                                 "computeVertexOcclusion(3, transform false, null, option true, lightMode false)",
                                 "signal progressStep(2)", "processEvents(0)",
                                 "computeVertexOcclusion(5, transform false, null, option true, lightMode false)"));
    EXPECT_EQ(Access::progressCounter(controller), 2u) << "the counter keeps its last value";
    EXPECT_EQ(numRays, 8u) << "counts vertices";
}

TEST_F(DirectPass, GivenNode_PassesItsArraysAndKeepsTheResults) {
    const osg::NodePtr node = add(makeGeometryNode("a", 3));
    setChannel7(geometryOfNode(node), makeChannel(std::vector<Vec4f>(3, Vec4f(9, 9, 9, 9))));
    controller.computeDirectIllumination();
    ASSERT_THAT(raytracing.directPasses, SizeIs(1));
    const auto& pass = raytracing.directPasses[0];
    EXPECT_EQ(pass.positions[2], osg::Pnt3f(2, 4, 6));
    EXPECT_THAT(pass.normals, allAre(osg::Vec3f(0, 1, 0)));
    EXPECT_THAT(pass.resultsBefore, allAre(Vec4f(9, 9, 9, 9))) << "an existing channel is passed on unchanged";
    EXPECT_THAT(channel7(geometryOfNode(node)), allAre(raytracing.directResult));
}

TEST_F(DirectPass, GivenNewChannel_IsZeroFilled) {
    add(makeGeometryNode("a", 3));
    controller.computeDirectIllumination();
    EXPECT_THAT(raytracing.directPasses[0].resultsBefore, allAre(Vec4f(0, 0, 0, 0)));
}

TEST_F(DirectPass, GivenResults_AnnouncesChannelAndGeometry) {
    const osg::NodePtr node = add(makeGeometryNode("a", 3));
    controller.getAOData(geometryOfNode(node), 3);
    const ktChangeRecorder changes;
    controller.computeDirectIllumination();
    EXPECT_THAT(changes.masksOf(geometryOfNode(node)->getTexCoords7()),
                ElementsAre(osg::BitVector(osg::FieldBits::AllFields)));
    EXPECT_THAT(changes.masksOf(geometryOfNode(node)),
                ElementsAre(osg::Geometry::IndexMappingFieldMask | osg::Geometry::TexCoords7FieldMask));
}

TEST_F(DirectPass, GivenTransform_PassesWorldMatrix) {
    addPlaced("a", translation(1, 2, 3));
    controller.computeDirectIllumination();
    EXPECT_TRUE(raytracing.directPasses[0].transform);
    EXPECT_EQ(raytracing.directPasses[0].toWorld, translation(1, 2, 3));
}

TEST_F(DirectPass, GivenAlmostIdentity_CountsAsUntransformed) {
    for (const float sign : {1.0f, -1.0f}) {
        addPlaced("near", translation(sign * 1e-10f, 0, 0));
        addPlaced("far", translation(0, sign * 1.1e-10f, 0));
    }
    Matrix scale;
    scale[3][3] = 1.0000001f;
    addPlaced("scaled", scale);
    controller.computeDirectIllumination();
    std::vector<bool> transforms;
    for (const auto& pass : raytracing.directPasses)
        transforms.push_back(pass.transform);
    EXPECT_THAT(transforms, ElementsAre(false, true, false, true, true));
}

TEST_F(DirectPass, GivenNanInMatrix_CountsAsTransformed) {
    addPlaced("nan", translation(std::numeric_limits<float>::quiet_NaN(), 0, 0));
    controller.computeDirectIllumination();
    EXPECT_TRUE(raytracing.directPasses[0].transform);
}

TEST_F(DirectPass, GivenModes_OnlyClassicIsWithoutLights) {
    add(makeGeometryNode("a"));
    for (const C::DirectLightMode mode : {C::Classic, C::Shadows, C::LightAndShadows}) {
        controller.setMode(mode);
        controller.computeDirectIllumination();
        EXPECT_EQ(raytracing.directPasses.back().lightMode, mode != C::Classic);
    }
}

TEST_F(DirectPass, GivenDirectOption_IsPassedOnAsSwitch) {
    add(makeGeometryNode("a"));
    for (const int option : {1, 0, 7}) {
        Access::directOption(controller) = option;
        controller.computeDirectIllumination();
        EXPECT_EQ(raytracing.directPasses.back().option, option != 0);
    }
}

TEST_F(DirectPass, GivenUnusablePositions_AreSkippedSilently) {
    dropPositions(add(makeGeometryNode("none")));
    useOtherPositions(add(makeGeometryNode("other")));
    add(makeGeometryNode("empty", 0));
    add(makeGeometryNode("good"));
    controller.computeDirectIllumination();
    EXPECT_THAT(raytracing.directPasses, SizeIs(1));
    EXPECT_THAT(entriesWith(log, "out:"), IsEmpty());
    EXPECT_THAT(entriesWith(log, "signal progressStep"), SizeIs(4));
    EXPECT_EQ(numRays, 3u);
}

TEST_F(DirectPass, GivenTooFewNormals_SaysSoAndKeepsOldResults) {
    const osg::NodePtr few = add(makeGeometryNode("few", 10));
    resizeNormals(geometryOfNode(few), 9);
    setChannel7(geometryOfNode(few), makeChannel(std::vector<Vec4f>(10, Vec4f(9, 9, 9, 9))));
    const osg::NodePtr none = add(makeGeometryNode("none", 3));
    osg::beginEditCP(geometryOfNode(none));
    geometryOfNode(none)->setNormals(osg::NullFC);
    osg::endEditCP(geometryOfNode(none));
    const osg::NodePtr shortNormals = add(makeGeometryNode("short", 3));
    osg::beginEditCP(geometryOfNode(shortNormals));
    geometryOfNode(shortNormals)->setNormals(osg::GeoNormals3s::create());
    osg::endEditCP(geometryOfNode(shortNormals));
    controller.computeDirectIllumination();
    EXPECT_THAT(entriesWith(log, "out:"),
                ElementsAre("out: Wrong number of normals\n", "out: Wrong number of normals\n",
                            "out: Wrong number of normals\n"));
    EXPECT_THAT(channel7(geometryOfNode(few)), allAre(Vec4f(9, 9, 9, 9)));
    EXPECT_EQ(geometryOfNode(none)->getTexCoords7(), osg::NullFC);
    EXPECT_EQ(numRays, 0u);
}

TEST_F(DirectPass, GivenMoreNormalsThanPositions_IsTraced) {
    const osg::NodePtr node = add(makeGeometryNode("a", 10));
    resizeNormals(geometryOfNode(node), 12);
    controller.computeDirectIllumination();
    ASSERT_THAT(raytracing.directPasses, SizeIs(1));
    EXPECT_EQ(raytracing.directPasses[0].count, 10u);
}

TEST_F(DirectPass, GivenCancelInEventLoop_LeavesTheRestUntouched) {
    for (const char* name : {"a", "b", "c"})
        add(makeGeometryNode(name));
    int loops = 0;
    host.onEntry = [&](const std::string& entry) {
        if (entry == "processEvents(0)" && ++loops == 2)
            controller.cancelCalculation();
    };
    controller.computeDirectIllumination();
    EXPECT_THAT(raytracing.directPasses, SizeIs(1));
    EXPECT_EQ(log.back(), "signal calculationCanceled()");
    EXPECT_EQ(geometryOfNode(Access::geometryNodes(controller)[1])->getTexCoords7(), osg::NullFC);
    EXPECT_EQ(geometryOfNode(Access::geometryNodes(controller)[2])->getTexCoords7(), osg::NullFC);
}

TEST_F(DirectPass, GivenPostedEvent_IsDeliveredDuringThePass) {
    struct Receiver : QObject {
        bool called = false;
        bool event(QEvent*) override { return called = true; }
    } receiver;
    QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
    add(makeGeometryNode("a"));
    controller.computeDirectIllumination();
    EXPECT_TRUE(receiver.called);
}

TEST_F(DirectPass, GivenShadowMaterials_AreMovedToTheFront) {
    const auto addGround = [this](const char* name) {
        setMaterial(add(makeGeometryNode(name)), osg::UShadowMaterial::create());
    };
    add(makeGeometryNode("a"));
    setMaterial(add(makeGeometryNode("b")), paint(1, 0, 0));
    addGround("S");
    add(makeGeometryNode("c"));
    add(makeGeometryNode("d"));
    addGround("T");
    add(makeGeometryNode("e"));
    controller.computeDirectIllumination();
    // Sorts from both ends: swaps the last ground with the first other node, then the next pair.
    EXPECT_EQ(host.labels(Access::geometryNodes(controller)), "T S b c d a e");
}

TEST_F(DirectPass, GivenShadowMaterialAbove_CountsAsWell) {
    add(makeGeometryNode("a"));
    const osg::NodePtr ground = add(makeGeometryNode("ground"));
    keep(makeMaterialGroup(osg::UShadowMaterial::create(), {ground}));
    controller.computeDirectIllumination();
    EXPECT_EQ(host.labels(Access::geometryNodes(controller)), "ground a");
}

TEST_F(DirectPass, GivenStates_ReportNodeAndRefinementWithItsId) {
    const osg::NodePtr node = add(makeGeometryNode("a"));
    const std::string id = std::to_string(osg::getContainerId(node));
    Access::refineDirect(controller) = true;
    controller.updateState(C::Starting, 0);
    host.onEntry = [](const std::string&) { now_us() += 1000000; };
    controller.computeDirectIllumination();
    EXPECT_THAT(entriesWith(log, "signal stateChanged"),
                ElementsAre("signal stateChanged(5, " + id + ")", "signal stateChanged(6, " + id + ")"));
}

TEST_F(GatherPass, GivenNoNodes_OnlySaysThatItStarts) {
    controller.gatherIndirectIllumination();
    EXPECT_THAT(log, ElementsAre("out: Start gathering:\n"));
}

TEST_F(GatherPass, GivenNodes_StepsRunsEventsAndGathersEach) {
    add(makeGeometryNode("a", 3));
    add(makeGeometryNode("b", 5));
    controller.gatherIndirectIllumination();
    EXPECT_THAT(log, ElementsAre("out: Start gathering:\n", "signal progressStep(1)", "processEvents(0)",
                                 "gatherVertexIllumination(3, transform false, null, bounce 1, lightMode false)",
                                 "signal progressStep(2)", "processEvents(0)",
                                 "gatherVertexIllumination(5, transform false, null, bounce 1, lightMode false)"));
    EXPECT_EQ(numRays, 8u);
}

TEST_F(GatherPass, GivenShadowMaterialLast_DoesNotReorder) {
    add(makeGeometryNode("a"));
    setMaterial(add(makeGeometryNode("ground")), osg::UShadowMaterial::create());
    controller.gatherIndirectIllumination();
    EXPECT_EQ(host.labels(Access::geometryNodes(controller)), "a ground");
}

TEST_F(GatherPass, GivenNode_PassesArraysAndKeepsDirectResult) {
    const osg::NodePtr node = addPlaced("a", translation(1, 2, 3));
    setChannel7(geometryOfNode(node), makeChannel(std::vector<Vec4f>(3, Vec4f(0, 0, 0, 0.5f))));
    controller.setMode(C::Shadows);
    const ktChangeRecorder changes;
    controller.gatherIndirectIllumination();
    const auto& pass = raytracing.gatherPasses.at(0);
    EXPECT_EQ(pass.positions[2], osg::Pnt3f(2, 4, 6));
    EXPECT_THAT(pass.normals, allAre(osg::Vec3f(0, 1, 0)));
    EXPECT_TRUE(pass.transform);
    EXPECT_EQ(pass.toWorld, translation(1, 2, 3));
    EXPECT_TRUE(pass.lightMode);
    EXPECT_THAT(channel7(geometryOfNode(node)), allAre(Vec4f(0.25f, 0.5f, 0.75f, 0.5f)));
    EXPECT_THAT(changes.masksOf(geometryOfNode(node)->getTexCoords7()),
                ElementsAre(osg::BitVector(osg::FieldBits::AllFields)));
    EXPECT_THAT(changes.masksOf(geometryOfNode(node)), ElementsAre(osg::Geometry::TexCoords7FieldMask));
}

TEST_F(GatherPass, GivenColorBleedingOff_PassesLuminance) {
    setMaterial(add(makeGeometryNode("red")), paint(1, 0, 0));
    setMaterial(add(makeGeometryNode("mixed")), paint(0.5f, 0.25f, 0.125f));
    controller.gatherIndirectIllumination();
    EXPECT_EQ(raytracing.gatherPasses[0].surfaceColor[0], 0.212671f);
    EXPECT_EQ(raytracing.gatherPasses[0].surfaceColor[1], 0.212671f);
    EXPECT_EQ(raytracing.gatherPasses[0].surfaceColor[2], 0.212671f);
    const float y = 0.212671f * 0.5f + 0.71516f * 0.25f + 0.072169f * 0.125f;
    EXPECT_FLOAT_EQ(raytracing.gatherPasses[1].surfaceColor[0], y);
    EXPECT_FLOAT_EQ(raytracing.gatherPasses[1].surfaceColor[2], y);
}

TEST_F(GatherPass, GivenColorBleedingOn_PassesTheColour) {
    controller.setColorBleedingEnabled(true);
    setMaterial(add(makeGeometryNode("red")), paint(1, 0, 0));
    controller.gatherIndirectIllumination();
    EXPECT_EQ(raytracing.gatherPasses[0].surfaceColor, Color3f(1, 0, 0));
}

TEST_F(GatherPass, GivenOtherMaterialOrNone_IsWhite) {
    setMaterial(add(makeGeometryNode("ground")), osg::UShadowMaterial::create());
    add(makeGeometryNode("none"));
    for (const bool bleeding : {false, true}) {
        controller.setColorBleedingEnabled(bleeding);
        controller.gatherIndirectIllumination();
    }
    for (const auto& pass : raytracing.gatherPasses)
        for (osg::UInt32 i = 0; i < 3; ++i)
            EXPECT_EQ(pass.surfaceColor[i], 1.0f);
    EXPECT_THAT(raytracing.gatherPasses, SizeIs(4));
}

TEST_F(GatherPass, GivenMaterialGroupAbove_TakesItsColour) {
    controller.setColorBleedingEnabled(true);
    const osg::NodePtr node = add(makeGeometryNode("a"));
    setMaterial(node, paint(1, 0, 0));
    keep(makeMaterialGroup(paint(0, 0.5f, 1), {node}));
    controller.gatherIndirectIllumination();
    EXPECT_EQ(raytracing.gatherPasses.at(0).surfaceColor, Color3f(0, 0.5f, 1));
}

TEST_F(GatherPass, GivenOverrideColour_StillPassesTheMaterials) {
    controller.setColorBleedingEnabled(true);
    controller.setOverrideMaterialColorEnabled(true);
    setMaterial(add(makeGeometryNode("a")), paint(0, 0.5f, 1));
    controller.gatherIndirectIllumination();
    EXPECT_EQ(raytracing.gatherPasses.at(0).surfaceColor, Color3f(0, 0.5f, 1));
}

TEST_F(GatherPass, GivenBakedLight_DoesNotTouchIt) {
    const osg::NodePtr node = add(makeGeometryNode("a", 3));
    controller.setMode(C::LightAndShadows);
    setChannel5(geometryOfNode(node), makeChannel(std::vector<Vec4f>(3, Vec4f(1, 2, 3, 2.5f))));
    controller.gatherIndirectIllumination();
    EXPECT_THAT(channel5(geometryOfNode(node)), allAre(Vec4f(1, 2, 3, 2.5f)));
}

TEST_F(GatherPass, GivenMoreNormalsThanPositions_IsGathered) {
    resizeNormals(geometryOfNode(add(makeGeometryNode("a", 10))), 12);
    controller.gatherIndirectIllumination();
    ASSERT_THAT(raytracing.gatherPasses, SizeIs(1));
    EXPECT_EQ(raytracing.gatherPasses[0].count, 10u);
}

TEST_F(GatherPass, GivenUnusableGeometry_IsSkippedWithoutOutput) {
    resizeNormals(geometryOfNode(add(makeGeometryNode("few", 10))), 9);
    dropPositions(add(makeGeometryNode("none")));
    useOtherPositions(add(makeGeometryNode("other")));
    add(makeGeometryNode("empty", 0));
    controller.gatherIndirectIllumination();
    EXPECT_THAT(raytracing.gatherPasses, IsEmpty());
    EXPECT_THAT(entriesWith(log, "out:"), ElementsAre("out: Start gathering:\n"));
    EXPECT_EQ(numRays, 0u);
}

TEST_F(GatherPass, GivenCancelInEventLoop_LeavesTheRestUntouched) {
    for (const char* name : {"a", "b", "c"})
        add(makeGeometryNode(name));
    int loops = 0;
    host.onEntry = [&](const std::string& entry) {
        if (entry == "processEvents(0)" && ++loops == 2)
            controller.cancelCalculation();
    };
    controller.gatherIndirectIllumination();
    EXPECT_THAT(raytracing.gatherPasses, SizeIs(1));
}

TEST_F(GatherPass, GivenStates_ReportNodeAndRefinementWithItsId) {
    const osg::NodePtr node = add(makeGeometryNode("a"));
    const std::string id = std::to_string(osg::getContainerId(node));
    Access::refineIndirect(controller) = true;
    controller.updateState(C::Starting, 0);
    host.onEntry = [](const std::string&) { now_us() += 1000000; };
    controller.gatherIndirectIllumination();
    EXPECT_THAT(entriesWith(log, "signal stateChanged"),
                ElementsAre("signal stateChanged(7, " + id + ")", "signal stateChanged(8, " + id + ")"));
}

TEST_F(Refinement, GivenDirectPass_PassesDirectSettings) {
    addPlaced("a", translation(4, 0, 0));
    controller.setShadowQuality(4);
    controller.setGatherQuality(1);
    controller.setSubdivisionQuality(2);
    controller.setMode(C::Shadows);
    Access::directThreshold(controller) = 0.05;
    Access::indirectThreshold(controller) = 0.9;
    Access::refineDirect(controller) = true;
    controller.computeDirectIllumination();
    ASSERT_THAT(raytracing.subdivisions, SizeIs(1));
    const auto& call = raytracing.subdivisions[0];
    EXPECT_EQ(call.name, "a");
    EXPECT_EQ(call.quality, 2);
    EXPECT_EQ(call.samples, 64);
    EXPECT_EQ(call.record, Access::subdivisionLists(controller).at(0));
    EXPECT_EQ(call.geometry, geometryOfNode(Access::geometryNodes(controller)[0]));
    EXPECT_EQ(call.threshold, 0.05f);
    EXPECT_EQ(call.minEdgeLength, 1.0f);
    EXPECT_TRUE(call.indirectEnabled);
    EXPECT_FALSE(call.indirect);
    EXPECT_TRUE(call.lightMode);
    EXPECT_EQ(entriesWith(log, "new record"), std::vector<std::string>{"new record(a)"});
}

TEST_F(Refinement, GivenGatherPass_PassesIndirectSettings) {
    add(makeGeometryNode("a"));
    controller.setShadowQuality(4);
    controller.setGatherQuality(1);
    controller.setMinEdgeLength(0.1);
    controller.setIndirectIlluminationEnabled(false);
    Access::directThreshold(controller) = 0.9;
    Access::indirectThreshold(controller) = 0.04;
    Access::refineIndirect(controller) = true;
    controller.gatherIndirectIllumination();
    ASSERT_THAT(raytracing.subdivisions, SizeIs(1));
    const auto& call = raytracing.subdivisions[0];
    EXPECT_EQ(call.samples, 16);
    EXPECT_EQ(call.threshold, 0.04f);
    EXPECT_EQ(call.minEdgeLength, 0.1f);
    EXPECT_FALSE(call.indirectEnabled);
    EXPECT_TRUE(call.indirect);
    EXPECT_FALSE(call.lightMode);
}

TEST_F(Refinement, GivenUntransformedNode_GetsThreeIdentityMatrices) {
    add(makeGeometryNode("a"));
    addPlaced("b", translation(1e-11f, 0, 0));
    Access::refineDirect(controller) = true;
    controller.computeDirectIllumination();
    for (const auto& call : raytracing.subdivisions) {
        EXPECT_EQ(call.inverseToWorld, Matrix());
        EXPECT_EQ(call.normalMatrix, Matrix());
    }
    EXPECT_EQ(raytracing.subdivisions.at(0).toWorld, Matrix());
}

TEST_F(Refinement, GivenTransformedNode_GetsInverseAndItsTranspose) {
    Matrix matrix = translation(4, 6, 8);
    matrix[0][0] = 2; // stretched along x
    addPlaced("a", matrix);
    Access::refineDirect(controller) = true;
    controller.computeDirectIllumination();
    const auto& call = raytracing.subdivisions.at(0);
    EXPECT_EQ(call.toWorld, matrix);
    osg::Pnt3f point(2 * 3 + 4, 5 + 6, 7 + 8);
    call.inverseToWorld.multFullMatrixPnt(point);
    EXPECT_EQ(point, osg::Pnt3f(3, 5, 7));
    for (osg::UInt32 i = 0; i < 4; ++i)
        for (osg::UInt32 j = 0; j < 4; ++j)
            EXPECT_EQ(call.normalMatrix[i][j], call.inverseToWorld[j][i]);
    EXPECT_EQ(call.normalMatrix[0][0], 0.5f);
    EXPECT_EQ(call.normalMatrix[0][3], -2.0f);
}

TEST_F(Refinement, GivenSwitchedOff_RefinesNothing) {
    add(makeGeometryNode("a"));
    Access::refineIndirect(controller) = true;
    controller.computeDirectIllumination();
    Access::refineIndirect(controller) = false;
    Access::refineDirect(controller) = true;
    controller.gatherIndirectIllumination();
    EXPECT_THAT(raytracing.subdivisions, IsEmpty());
    EXPECT_THAT(entriesWith(log, "hasVertexAnimation"), IsEmpty());
}

TEST_F(Refinement, GivenVertexAnimation_IsTracedButNeverRefined) {
    const osg::NodePtr node = add(makeGeometryNode("skin"));
    host.animatedCores.insert(node->getCore());
    Access::refineDirect(controller) = true;
    Access::refineIndirect(controller) = true;
    controller.computeDirectIllumination();
    controller.gatherIndirectIllumination();
    EXPECT_THAT(raytracing.directPasses, SizeIs(1));
    EXPECT_THAT(raytracing.gatherPasses, SizeIs(1));
    EXPECT_THAT(raytracing.subdivisions, IsEmpty());
}

TEST_F(Refinement, GivenPassOptionOff_OnlyListedNodesAreRefined) {
    std::vector<osg::NodePtr> listed;
    for (const char* name : {"a", "b", "c", "d"})
        listed.push_back(add(makeGeometryNode(name)));
    listed.erase(listed.begin() + 1);
    std::sort(listed.begin(), listed.end(), geomPtrLess);
    Access::passOption(controller) = false;
    Access::refineDirect(controller) = true;
    Access::refineIndirect(controller) = true;
    controller.computeDirectIllumination();
    EXPECT_THAT(raytracing.directPasses, SizeIs(4));
    EXPECT_THAT(raytracing.subdivisions, IsEmpty());
    Access::occluderNodes(controller) = listed;
    controller.computeDirectIllumination();
    controller.gatherIndirectIllumination();
    EXPECT_THAT(entriesWith(log, "new record"), ElementsAre("new record(a)", "new record(c)", "new record(d)",
                                                            "new record(a)", "new record(c)", "new record(d)"));
}

TEST_F(Refinement, GivenPassOptionOffAndNodeBeforeAllListed_IsNotRefined) {
    std::vector<osg::NodePtr> nodes;
    for (const char* name : {"a", "b", "c"})
        nodes.push_back(keep(makeGeometryNode(name)));
    std::sort(nodes.begin(), nodes.end(), geomPtrLess);
    Access::occluderNodes(controller) = {nodes[1], nodes[2]};
    Access::geometryNodes(controller) = {nodes[0]};
    Access::passOption(controller) = false;
    Access::refineDirect(controller) = true;
    controller.computeDirectIllumination();
    EXPECT_THAT(raytracing.subdivisions, IsEmpty());
}

TEST_F(Refinement, GivenNodeWithoutName_PassesEmptyText) {
    add(makeGeometryNode("a"));
    host.names.clear();
    Access::refineDirect(controller) = true;
    controller.computeDirectIllumination();
    EXPECT_EQ(raytracing.subdivisions.at(0).name, "");
}

TEST_F(Refinement, GivenRecordThatCannotBeMade_AppendsNothingAndThrows) {
    const osg::NodePtr node = keep(makeGeometryNode("a"));
    host.failsToMakeRecords = true;
    EXPECT_THROW(controller.refineGeometry("a", geometryOfNode(node), Matrix(), Matrix(), Matrix(), false),
                 std::bad_alloc);
    EXPECT_THAT(Access::subdivisionLists(controller), IsEmpty());
    EXPECT_THAT(raytracing.subdivisions, IsEmpty());
}

TEST_F(Refinement, GivenAnyGeometry_IsAlwaysTrue) {
    const osg::NodePtr node = keep(makeGeometryNode("a"));
    EXPECT_TRUE(controller.refineGeometry("a", geometryOfNode(node), Matrix(), Matrix(), Matrix(), false));
    EXPECT_TRUE(controller.refineGeometry("a", geometryOfNode(node), Matrix(), Matrix(), Matrix(), true));
    EXPECT_THAT(Access::subdivisionLists(controller), SizeIs(2));
}
