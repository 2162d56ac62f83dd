// SPDX-License-Identifier: LGPL-2.1-or-later
// Clearing vertex colours, and copies of result channels.
#include "ktChangeRecorder.h"
#include "ktControllerFixture.h"
#include "ktSceneParts.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using C = ktAmbientOcclusion;
using osg::Vec4f;

const osg::BitVector allFields = osg::FieldBits::AllFields;

class Staging : public ktControllerFixture {
protected:
    osg::NodePtr node = keep(makeGeometryNode("g", 2));
    osg::GeometryPtr geometry = geometryOfNode(node);

    void collect(const std::vector<osg::NodePtr>& nodes) { Access::geometryNodes(controller) = nodes; }
    void fill() {
        setChannel7(geometry, makeChannel({Vec4f(1, 2, 3, 0.25f), Vec4f(4, 5, 6, 0.5f)}));
        setChannel5(geometry, makeChannel({Vec4f(7, 8, 9, 2.25f), Vec4f(1, 1, 1, 2.5f)}));
    }
};

} // namespace

TEST_F(Staging, GivenClassicOrShadows_ZeroesIndirectAndRemovesBakedLight) {
    for (const C::DirectLightMode mode : {C::Classic, C::Shadows}) {
        fill();
        collect({node});
        const ktChangeRecorder changes;
        controller.clearVertexColors(mode);
        EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(0, 0, 0, 0.25f), Vec4f(0, 0, 0, 0.5f)));
        EXPECT_EQ(geometry->getTexCoords5(), osg::NullFC);
        EXPECT_THAT(changes.masksOf(geometry->getTexCoords7()), Contains(allFields));
        EXPECT_THAT(changes.masksOf(geometry), ElementsAre(osg::Geometry::TexCoords5FieldMask));
    }
}

TEST_F(Staging, GivenLightAndShadows_ZeroesBakedLightInPlace) {
    fill();
    const osg::GeoTexCoordsPtr channel = geometry->getTexCoords5();
    collect({node});
    const ktChangeRecorder changes;
    controller.clearVertexColors(C::LightAndShadows);
    EXPECT_EQ(geometry->getTexCoords5(), channel);
    EXPECT_THAT(channel5(geometry), allAre(Vec4f(0, 0, 0, 0)));
    EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(0, 0, 0, 0.25f), Vec4f(0, 0, 0, 0.5f)));
    EXPECT_THAT(changes.masksOf(channel), ElementsAre(allFields));
}

TEST_F(Staging, GivenNoChannels_MakesThem) {
    collect({node});
    controller.clearVertexColors(C::Classic);
    EXPECT_THAT(channel7(geometry), allAre(Vec4f(0, 0, 0, 0)));
    EXPECT_THAT(channel7(geometry), SizeIs(2));
    EXPECT_EQ(geometry->getTexCoords5(), osg::NullFC);
    controller.clearVertexColors(C::LightAndShadows);
    EXPECT_THAT(channel5(geometry), SizeIs(2));
}

TEST_F(Staging, GivenChannelFiveOfOtherType_IsLeftAlone) {
    const osg::GeoTexCoords2fPtr other = osg::GeoTexCoords2f::create();
    setChannel5(geometry, other);
    collect({node});
    controller.clearVertexColors(C::Classic);
    EXPECT_EQ(geometry->getTexCoords5(), other);
}

TEST_F(Staging, GivenSecondNodeNull_PrintsZero) {
    const osg::NodePtr last = keep(makeGeometryNode("last", 2));
    collect({node, osg::NullFC, last});
    controller.clearVertexColors(C::Classic);
    EXPECT_THAT(log, ElementsAre("out: Bad Node Clear Vertex Colors0\n"));
    EXPECT_THAT(channel7(geometryOfNode(last)), SizeIs(2)) << "it continues with the next node";
}

TEST_F(Staging, GivenFirstNodesBad_PrintsMinusOneEachTime) {
    collect({osg::NullFC, osg::NullFC, node, osg::NullFC});
    controller.clearVertexColors(C::Classic);
    EXPECT_THAT(log, ElementsAre("out: Bad Node Clear Vertex Colors-1\n", "out: Bad Node Clear Vertex Colors-1\n",
                                 "out: Bad Node Clear Vertex Colors0\n"));
}

TEST_F(Staging, GivenNodeWithoutPositions_IsCounted) {
    collect({keep(makeNode(osg::Geometry::create())), keep(makeGroup("group")), osg::NullFC});
    controller.clearVertexColors(C::Classic);
    EXPECT_THAT(log, ElementsAre("out: Bad Node Clear Vertex Colors1\n"));
}

TEST_F(Staging, GivenReferenceCountOfEleven_IsBad) {
    while (node.getRefCount() < 10)
        osg::addRefCP(node);
    collect({node});
    controller.clearVertexColors(C::Classic);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_THAT(channel7(geometry), SizeIs(2));
    setChannel7(geometry, osg::NullFC);
    osg::addRefCP(node);
    controller.clearVertexColors(C::Classic);
    EXPECT_THAT(log, ElementsAre("out: Bad Node Clear Vertex Colors-1\n"));
    EXPECT_EQ(geometry->getTexCoords7(), osg::NullFC);
    while (node.getRefCount() > 1)
        osg::subRefCP(node);
}

TEST_F(Staging, GivenExtract_CopiesBothChannels) {
    fill();
    C::NodeDataType data;
    data.aoValues.resize(7);
    controller.extractNodeData(node, data);
    EXPECT_THAT(data.aoValues, ElementsAre(Vec4f(1, 2, 3, 0.25f), Vec4f(4, 5, 6, 0.5f)));
    EXPECT_THAT(data.bakingValues, ElementsAre(Vec4f(7, 8, 9, 2.25f), Vec4f(1, 1, 1, 2.5f)));
}

TEST_F(Staging, GivenExtractWithoutChannels_MakesBothAndReturnsZeroes) {
    C::NodeDataType data;
    controller.extractNodeData(node, data);
    EXPECT_THAT(data.aoValues, ElementsAre(Vec4f(0, 0, 0, 0), Vec4f(0, 0, 0, 0)));
    EXPECT_THAT(data.bakingValues, ElementsAre(Vec4f(0, 0, 0, 0), Vec4f(0, 0, 0, 0)));
    EXPECT_THAT(channel7(geometry), SizeIs(2));
    EXPECT_THAT(channel5(geometry), SizeIs(2));
}

TEST_F(Staging, GivenExtractOfUnusableNode_LeavesTheRecordAlone) {
    C::NodeDataType data;
    data.aoValues.assign(1, Vec4f(1, 2, 3, 4));
    controller.extractNodeData(osg::NullFC, data);
    controller.extractNodeData(keep(makeGroup("group")), data);
    controller.extractNodeData(keep(makeNode(osg::Geometry::create())), data);
    EXPECT_THAT(data.aoValues, ElementsAre(Vec4f(1, 2, 3, 4)));
    EXPECT_THAT(data.bakingValues, IsEmpty());
}

TEST_F(Staging, GivenRestore_WritesBothChannelsBackAndAnnounces) {
    fill();
    C::NodeDataType data;
    controller.extractNodeData(node, data);
    controller.clearVertexColors(C::Classic);
    setChannel7(geometry, osg::NullFC);
    setChannel5(geometry, osg::NullFC);
    const ktChangeRecorder changes;
    EXPECT_TRUE(controller.restoreNodeData(node, data));
    EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(1, 2, 3, 0.25f), Vec4f(4, 5, 6, 0.5f)));
    EXPECT_THAT(channel5(geometry), ElementsAre(Vec4f(7, 8, 9, 2.25f), Vec4f(1, 1, 1, 2.5f)));
    EXPECT_THAT(changes.masksOf(geometry->getTexCoords7()), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry->getTexCoords5()), Contains(allFields));
}

TEST_F(Staging, GivenRestoreOntoOtherPositionCount_FailsAndWritesNothing) {
    fill();
    C::NodeDataType data;
    data.aoValues.resize(3);
    data.bakingValues.resize(3);
    EXPECT_FALSE(controller.restoreNodeData(node, data));
    EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(1, 2, 3, 0.25f), Vec4f(4, 5, 6, 0.5f)));
    EXPECT_THAT(channel5(geometry), ElementsAre(Vec4f(7, 8, 9, 2.25f), Vec4f(1, 1, 1, 2.5f)));
}

TEST_F(Staging, GivenRestoreOntoNoGeometry_Fails) {
    osg::NodePtr null;
    osg::NodePtr group = keep(makeGroup("group"));
    EXPECT_FALSE(controller.restoreNodeData(null, {}));
    EXPECT_FALSE(controller.restoreNodeData(group, {}));
}

TEST_F(Staging, GivenRestoreOntoNoPositions_SucceedsOnlyForEmptyRecord) {
    osg::NodePtr empty = keep(makeNode(osg::Geometry::create()));
    C::NodeDataType data;
    EXPECT_TRUE(controller.restoreNodeData(empty, data));
    data.aoValues.resize(1);
    EXPECT_FALSE(controller.restoreNodeData(empty, data));
}
