// SPDX-License-Identifier: LGPL-2.1-or-later
// Result channels of a geometry: created, stored, added, cleared, and checked for missing results.
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
const Vec4f zero(0, 0, 0, 0);

class BakingData : public ktControllerFixture {
protected:
    osg::NodePtr node = keep(makeGeometryNode("g", 3));
    osg::GeometryPtr geometry = geometryOfNode(node);

    void collect(const std::vector<osg::NodePtr>& nodes) { Access::geometryNodes(controller) = nodes; }
    void addMapping(const std::vector<osg::UInt16>& entries) {
        osg::beginEditCP(geometry);
        for (osg::UInt16 entry : entries)
            geometry->getMFIndexMapping()->push_back(entry);
        osg::endEditCP(geometry);
    }
    osg::UInt16 mapping(osg::UInt32 i) { return (*geometry->getMFIndexMapping())[i]; }
};

} // namespace

TEST_F(BakingData, GivenNoChannel_MakesZeroedOneOfExactSize) {
    const osg::GeoTexCoords4fPtr made = controller.getAOData(geometry, 3);
    EXPECT_EQ(geometry->getTexCoords7(), made);
    EXPECT_THAT(channel7(geometry), ElementsAre(zero, zero, zero));
    const osg::GeoTexCoords4fPtr baking = controller.getBakingData(geometry, 5);
    EXPECT_EQ(geometry->getTexCoords5(), baking);
    EXPECT_THAT(channel5(geometry), SizeIs(5));
    EXPECT_NE(made, baking);
}

TEST_F(BakingData, GivenNoChannel_AnnouncesChannelAndGeometry) {
    const ktChangeRecorder changes;
    const osg::GeoTexCoords4fPtr made = controller.getAOData(geometry, 3);
    EXPECT_THAT(changes.masksOf(made), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry),
                Contains(osg::Geometry::IndexMappingFieldMask | osg::Geometry::TexCoords7FieldMask));
    const osg::GeoTexCoords4fPtr baking = controller.getBakingData(geometry, 3);
    EXPECT_THAT(changes.masksOf(baking), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry),
                Contains(osg::Geometry::IndexMappingFieldMask | osg::Geometry::TexCoords5FieldMask));
}

TEST_F(BakingData, GivenNewChannel_IsReferencedByItsGeometry) {
    for (const osg::GeoTexCoords4fPtr& made :
         {controller.getAOData(geometry, 3), controller.getBakingData(geometry, 3)}) {
        EXPECT_EQ(1, made.getRefCount());
        ASSERT_EQ(1u, made->getParents().size());
        EXPECT_TRUE(made->getParents()[0] == geometry);
    }
}

TEST_F(BakingData, GivenLargerChannel_IsReusedUnchanged) {
    const osg::NodePtr large = keep(makeGeometryNode("large", 100));
    const osg::GeometryPtr core = geometryOfNode(large);
    const osg::GeoTexCoords4fPtr channel = makeChannel(std::vector<Vec4f>(120, Vec4f(1, 2, 3, 0.5f)));
    setChannel7(core, channel);
    const ktChangeRecorder changes;
    EXPECT_EQ(controller.getAOData(core, 100), channel);
    EXPECT_EQ(channel->size(), 120u);
    EXPECT_THAT(channel7(core), allAre(Vec4f(1, 2, 3, 0.5f)));
    EXPECT_THAT(changes.masksOf(core), IsEmpty());
    EXPECT_TRUE(controller.isCalculationMissing(core, true, true)) << "here the sizes must be equal";
}

TEST_F(BakingData, GivenSmallerChannel_IsReplaced) {
    setChannel7(geometry, makeChannel({Vec4f(1, 1, 1, 1), Vec4f(1, 1, 1, 1)}));
    controller.getAOData(geometry, 3);
    EXPECT_THAT(channel7(geometry), ElementsAre(zero, zero, zero));
}

TEST_F(BakingData, GivenChannelOfOtherType_IsReplaced) {
    const osg::GeoTexCoords2fPtr other = osg::GeoTexCoords2f::create();
    osg::beginEditCP(other);
    other->resize(3);
    osg::endEditCP(other);
    setChannel7(geometry, other);
    controller.getAOData(geometry, 3);
    EXPECT_THAT(channel7(geometry), ElementsAre(zero, zero, zero));
}

TEST_F(BakingData, GivenSingleMappingEntry_GetsChannelBits) {
    addMapping({osg::UInt16(osg::Geometry::MapPosition | osg::Geometry::MapNormal)});
    controller.getAOData(geometry, 3);
    EXPECT_EQ(mapping(0), osg::Geometry::MapPosition | osg::Geometry::MapNormal | osg::Geometry::MapTexCoords7);
    controller.getBakingData(geometry, 3);
    EXPECT_EQ(mapping(0), osg::Geometry::MapPosition | osg::Geometry::MapNormal | osg::Geometry::MapTexCoords7 |
                              osg::Geometry::MapTexCoords5);
}

TEST_F(BakingData, GivenNoOrTwoMappingEntries_StayAsTheyAre) {
    controller.getAOData(geometry, 3);
    EXPECT_EQ(geometry->getMFIndexMapping()->size(), 0u);
    setChannel7(geometry, osg::NullFC);
    addMapping({osg::Geometry::MapPosition, osg::Geometry::MapNormal});
    controller.getAOData(geometry, 3);
    EXPECT_EQ(mapping(0), osg::Geometry::MapPosition);
    EXPECT_EQ(mapping(1), osg::Geometry::MapNormal);
}

TEST_F(BakingData, GivenLightAndShadows_StoresCopyWithMarkerAndClearsIndirect) {
    controller.setMode(C::LightAndShadows);
    setChannel7(geometry, makeChannel({Vec4f(1, 2, 3, 0.4f), Vec4f(4, 5, 6, 1.7f), Vec4f(7, 8, 9, 1.5f)}));
    collect({node});
    const ktChangeRecorder changes;
    controller.storeDirectToBakingData();
    EXPECT_THAT(channel5(geometry), ElementsAre(Vec4f(1, 2, 3, 2.4f), Vec4f(4, 5, 6, 1.7f), Vec4f(7, 8, 9, 1.5f)));
    EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(0, 0, 0, 0.4f), Vec4f(0, 0, 0, 1.7f), Vec4f(0, 0, 0, 1.5f)));
    EXPECT_THAT(changes.masksOf(geometry->getTexCoords7()), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry->getTexCoords5()), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry), Contains(osg::Geometry::TexCoords5FieldMask));
}

TEST_F(BakingData, GivenOtherModes_StoreDropsBakedLight) {
    for (const C::DirectLightMode mode : {C::Classic, C::Shadows}) {
        controller.setMode(mode);
        setChannel5(geometry, makeChannel({zero, zero, zero}));
        setChannel7(geometry, makeChannel({Vec4f(1, 2, 3, 0.4f), Vec4f(1, 2, 3, 2.4f), Vec4f(1, 2, 3, 1.4f)}));
        collect({node});
        controller.storeDirectToBakingData();
        EXPECT_EQ(geometry->getTexCoords5(), osg::NullFC);
        const std::vector<Vec4f> values = channel7(geometry);
        EXPECT_EQ(values[0], Vec4f(0, 0, 0, 0.4f));
        EXPECT_NEAR(values[1][3], 0.4f, 1e-6f) << "removes a marker that is there";
        EXPECT_EQ(values[2], Vec4f(0, 0, 0, 1.4f));
    }
}

TEST_F(BakingData, GivenChannelsSharingOneProperty_MarkerShowsInBoth) {
    controller.setMode(C::LightAndShadows);
    const osg::GeoTexCoords4fPtr shared =
        makeChannel({Vec4f(1, 2, 3, 0.25f), Vec4f(1, 2, 3, 1.75f), Vec4f(1, 2, 3, 0)});
    setChannel7(geometry, shared);
    setChannel5(geometry, shared);
    collect({node});
    controller.storeDirectToBakingData();
    EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(0, 0, 0, 2.25f), Vec4f(0, 0, 0, 1.75f), Vec4f(0, 0, 0, 2)));
    controller.clearBakingData(geometry, false);
    EXPECT_THAT(channel7(geometry), ElementsAre(Vec4f(0, 0, 0, 0.25f), Vec4f(0, 0, 0, -0.25f), zero));
}

TEST_F(BakingData, GivenLargerChannels_StoreConvertsThePositionsOnly) {
    controller.setMode(C::LightAndShadows);
    setChannel7(geometry, makeChannel(std::vector<Vec4f>(4, Vec4f(1, 1, 1, 0.5f))));
    setChannel5(geometry, makeChannel(std::vector<Vec4f>(4, Vec4f(9, 9, 9, 9))));
    collect({node});
    controller.storeDirectToBakingData();
    EXPECT_EQ(channel5(geometry)[2], Vec4f(1, 1, 1, 2.5f));
    EXPECT_EQ(channel5(geometry)[3], Vec4f(9, 9, 9, 9));
    EXPECT_THAT(channel7(geometry), allAre(Vec4f(0, 0, 0, 0.5f))) << "clears the whole working channel";
}

TEST_F(BakingData, GivenNoPositions_StoreSkipsAndGoesOn) {
    const osg::NodePtr empty = keep(makeNode(osg::Geometry::create()));
    resizeNormals(geometry, 0);
    setChannel7(geometry, makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 0.5f))));
    collect({empty, node});
    controller.storeDirectToBakingData();
    EXPECT_EQ(geometryOfNode(empty)->getTexCoords7(), osg::NullFC);
    EXPECT_THAT(channel7(geometry), allAre(Vec4f(0, 0, 0, 0.5f))) << "does not check normals";
}

TEST_F(BakingData, GivenAddIndirect_AddsAllFourComponentsInLightAndShadowsOnly) {
    controller.setMode(C::LightAndShadows);
    setChannel7(geometry, makeChannel(std::vector<Vec4f>(3, Vec4f(1, 2, 3, 0.5f))));
    setChannel5(geometry, makeChannel(std::vector<Vec4f>(3, Vec4f(10, 20, 30, 2.5f))));
    collect({node});
    const ktChangeRecorder changes;
    controller.addIndirectToBakingData();
    EXPECT_THAT(channel5(geometry), allAre(Vec4f(11, 22, 33, 3)));
    EXPECT_THAT(channel7(geometry), allAre(Vec4f(1, 2, 3, 0.5f)));
    EXPECT_THAT(changes.masksOf(geometry->getTexCoords5()), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry), Contains(osg::Geometry::TexCoords5FieldMask));
    controller.setMode(C::Shadows);
    controller.addIndirectToBakingData();
    EXPECT_THAT(channel5(geometry), allAre(Vec4f(11, 22, 33, 3)));
}

TEST_F(BakingData, GivenAddIndirectWithoutChannels_MakesWorkingChannelInAnyMode) {
    collect({keep(makeNode(osg::Geometry::create())), node});
    controller.addIndirectToBakingData();
    EXPECT_THAT(channel7(geometry), SizeIs(3));
    EXPECT_EQ(geometry->getTexCoords5(), osg::NullFC);
}

TEST_F(BakingData, GivenClearWithoutDirect_RemovesMarker) {
    setChannel7(geometry, makeChannel({Vec4f(1, 2, 3, 2.4f), Vec4f(1, 2, 3, 1.4f), Vec4f(1, 2, 3, 1.5f)}));
    setChannel5(geometry, makeChannel({zero, zero, zero}));
    const ktChangeRecorder changes;
    controller.clearBakingData(geometry, false);
    EXPECT_EQ(geometry->getTexCoords5(), osg::NullFC);
    const std::vector<Vec4f> values = channel7(geometry);
    EXPECT_NEAR(values[0][3], 0.4f, 1e-6f);
    EXPECT_EQ(values[0][0], 1);
    EXPECT_EQ(values[1], Vec4f(1, 2, 3, 1.4f));
    EXPECT_EQ(values[2], Vec4f(1, 2, 3, -0.5f));
    EXPECT_THAT(changes.masksOf(geometry), Contains(allFields));
    EXPECT_THAT(changes.masksOf(geometry->getTexCoords7()), Contains(allFields));
}

TEST_F(BakingData, GivenClearWithDirect_ZeroesDirectAndKeepsIndirect) {
    setChannel7(geometry, makeChannel(std::vector<Vec4f>(3, Vec4f(1, 2, 3, 2.4f))));
    controller.clearBakingData(geometry, true);
    EXPECT_THAT(channel7(geometry), allAre(Vec4f(1, 2, 3, 0)));
}

TEST_F(BakingData, GivenClearWithoutChannel_MakesZeroedOne) {
    controller.clearBakingData(geometry, true);
    EXPECT_THAT(channel7(geometry), ElementsAre(zero, zero, zero));
}

TEST_F(BakingData, GivenClearOfNullOrEmptyGeometry_DoesNothing) {
    controller.clearBakingData(osg::NullFC, true);
    const osg::NodePtr empty = keep(makeNode(osg::Geometry::create()));
    setChannel5(geometryOfNode(empty), makeChannel({zero}));
    controller.clearBakingData(geometryOfNode(empty), true);
    EXPECT_EQ(geometryOfNode(empty)->getTexCoords5(), osg::NullFC);
    EXPECT_EQ(geometryOfNode(empty)->getTexCoords7(), osg::NullFC);
}

TEST_F(BakingData, GivenNothingAsked_IsNeverMissing) {
    EXPECT_FALSE(controller.isCalculationMissing(geometry, false, false));
    setChannel7(geometry, makeChannel({zero, zero, zero}));
    EXPECT_FALSE(controller.isCalculationMissing(geometry, false, false));
}

TEST_F(BakingData, GivenNoChannel_IsMissingWhatIsAsked) {
    EXPECT_TRUE(controller.isCalculationMissing(geometry, true, false));
    EXPECT_TRUE(controller.isCalculationMissing(geometry, false, true));
}

TEST_F(BakingData, GivenDirectAtThreshold_IsMissing) {
    setChannel7(geometry, makeChannel({Vec4f(0, 0, 0, 1e-6f), zero, zero}));
    EXPECT_TRUE(controller.isCalculationMissing(geometry, true, false));
    setChannel7(geometry, makeChannel({zero, zero, Vec4f(0, 0, 0, 1.1e-6f)}));
    EXPECT_FALSE(controller.isCalculationMissing(geometry, true, false));
    EXPECT_TRUE(controller.isCalculationMissing(geometry, true, true));
}

TEST_F(BakingData, GivenAnyIndirectComponent_IsPresent) {
    for (osg::UInt32 component = 0; component < 3; ++component) {
        Vec4f value = zero;
        value[component] = 0.5f;
        setChannel7(geometry, makeChannel({zero, value, zero}));
        EXPECT_FALSE(controller.isCalculationMissing(geometry, false, true));
        EXPECT_TRUE(controller.isCalculationMissing(geometry, true, false));
    }
}

TEST_F(BakingData, GivenResultsInDifferentVertices_BothArePresent) {
    setChannel7(geometry, makeChannel({Vec4f(0, 0, 0, 1), zero, Vec4f(0, 1, 0, 0)}));
    EXPECT_FALSE(controller.isCalculationMissing(geometry, true, true));
}

TEST_F(BakingData, GivenGeometryThatCannotBeCalculated_IsNotMissing) {
    EXPECT_FALSE(controller.isCalculationMissing(osg::NullFC, true, true));
    const osg::NodePtr empty = keep(makeNode(osg::Geometry::create()));
    EXPECT_FALSE(controller.isCalculationMissing(geometryOfNode(empty), true, true));
    resizeNormals(geometry, 2);
    EXPECT_FALSE(controller.isCalculationMissing(geometry, true, true));
}

TEST_F(BakingData, GivenEditFields_AnnouncesWhatTheGeometryHoldsInOrder) {
    controller.beginEditGeometryFields(geometry, 0xFFFFFFFF);
    setChannel7(geometry, makeChannel({zero}));
    setChannel5(geometry, makeChannel({zero}));
    const ktChangeRecorder changes;
    controller.beginEditGeometryFields(geometry, 0xFFFFFFFF);
    EXPECT_THAT(changes.masksOf(geometry), IsEmpty());
    controller.endEditGeometryFields(geometry, 0);
    EXPECT_THAT(changes.masksOf(geometry),
                ElementsAre(osg::Geometry::PositionsFieldMask, osg::Geometry::NormalsFieldMask,
                            osg::Geometry::TexCoords5FieldMask, osg::Geometry::TexCoords7FieldMask));
    controller.endEditGeometryFields(osg::NullFC, 0);
}

TEST_F(BakingData, GivenEditFieldsOfFullGeometry_AnnouncesAll) {
    const osg::GeoColors3fPtr colors = osg::GeoColors3f::create();
    osg::beginEditCP(geometry);
    geometry->setColors(colors);
    geometry->setSecondaryColors(colors);
    geometry->setTexCoords(makeChannel({zero}));
    geometry->setTexCoords1(makeChannel({zero}));
    geometry->setTexCoords2(makeChannel({zero}));
    geometry->setTexCoords3(makeChannel({zero}));
    geometry->setTexCoords4(makeChannel({zero}));
    geometry->setTexCoords5(makeChannel({zero}));
    geometry->setTexCoords6(makeChannel({zero}));
    geometry->setTexCoords7(makeChannel({zero}));
    osg::endEditCP(geometry);
    const ktChangeRecorder changes;
    controller.endEditGeometryFields(geometry, 0);
    using G = osg::Geometry;
    EXPECT_THAT(changes.masksOf(geometry),
                ElementsAre(G::PositionsFieldMask, G::NormalsFieldMask, G::ColorsFieldMask, G::SecondaryColorsFieldMask,
                            G::TexCoordsFieldMask, G::TexCoords1FieldMask, G::TexCoords2FieldMask,
                            G::TexCoords3FieldMask, G::TexCoords4FieldMask, G::TexCoords5FieldMask,
                            G::TexCoords6FieldMask, G::TexCoords7FieldMask));
}
