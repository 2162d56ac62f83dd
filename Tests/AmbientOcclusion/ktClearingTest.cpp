// SPDX-License-Identifier: LGPL-2.1-or-later
// Clearing shadows and indirect light, of the selection or of everything.
#include "ktChangeRecorder.h"
#include "ktControllerFixture.h"
#include "ktSceneParts.h"

#include <OpenSG/OSGGL.h>
#include <OpenSG/OSGSwitch.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr osg::BitVector allFields = osg::FieldBits::AllFields;

class Clearing : public ktControllerFixture {
protected:
    /// A geometry with results in both channels.
    osg::NodePtr baked(const std::string& name) {
        const osg::NodePtr node = makeGeometryNode(name);
        setChannel7(geometryOfNode(node), makeChannel({{1, 2, 3, 0.5f}, {4, 5, 6, 0.25f}, {7, 8, 9, 1}}));
        setChannel5(geometryOfNode(node), makeChannel({{1, 2, 3, 2.5f}, {4, 5, 6, 2.25f}, {7, 8, 9, 3}}));
        return node;
    }
    static bool hasShadows(const osg::NodePtr& node) {
        const auto values = channel7(geometryOfNode(node));
        return !values.empty() && values[0][3] == 0.5f && !channel5(geometryOfNode(node)).empty();
    }
    static bool hasNoShadows(const osg::NodePtr& node) {
        const auto values = channel7(geometryOfNode(node));
        return values == std::vector<osg::Vec4f>{{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}} &&
               channel5(geometryOfNode(node)).empty();
    }
    static bool hasIndirect(const osg::NodePtr& node) {
        const auto values = channel7(geometryOfNode(node));
        return values == std::vector<osg::Vec4f>{{1, 2, 3, 0.5f}, {4, 5, 6, 0.25f}, {7, 8, 9, 1}};
    }
    static bool hasNoIndirect(const osg::NodePtr& node) {
        const auto values = channel7(geometryOfNode(node));
        return values == std::vector<osg::Vec4f>{{0, 0, 0, 0.5f}, {0, 0, 0, 0.25f}, {0, 0, 0, 1}} &&
               channel5(geometryOfNode(node)).size() == 3;
    }
    static void setTypes(const osg::NodePtr& node, const std::vector<osg::UInt8>& codes) {
        const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
        osg::beginEditCP(types);
        for (osg::UInt8 code : codes)
            types->push_back(code);
        osg::endEditCP(types);
        osg::beginEditCP(geometryOfNode(node));
        geometryOfNode(node)->setTypes(types);
        osg::endEditCP(geometryOfNode(node));
    }
};

} // namespace

TEST_F(Clearing, GivenShadows_DropsChannel5AndZeroesW) {
    const osg::NodePtr node = keep(baked("a"));
    controller.clearShadows(node, true);
    EXPECT_TRUE(hasNoShadows(node));
}

TEST_F(Clearing, GivenIndirect_ZeroesXyzAndKeepsWAndTheProperty) {
    const osg::NodePtr node = keep(baked("a"));
    const osg::GeometryPtr geometry = geometryOfNode(node);
    const osg::GeoTexCoordsPtr property = geometry->getTexCoords7();
    const ktChangeRecorder changes;
    controller.clearIndirect(node, true);
    EXPECT_TRUE(hasNoIndirect(node));
    EXPECT_EQ(geometry->getTexCoords7(), property);
    EXPECT_THAT(changes.masksOf(property), ElementsAre(allFields));
    ASSERT_EQ(changes.masksOf(geometry).size(), 1u);
    EXPECT_NE(changes.masksOf(geometry)[0] & osg::Geometry::TexCoords7FieldMask, 0u);
}

TEST_F(Clearing, GivenChannel7OfAnotherTypeOrNone_IndirectLeavesItAlone) {
    const osg::NodePtr none = keep(makeGeometryNode("none"));
    const osg::NodePtr other = keep(makeGeometryNode("other"));
    const osg::GeoTexCoords2fPtr twoComponents = osg::GeoTexCoords2f::create();
    osg::beginEditCP(twoComponents);
    twoComponents->push_back(osg::Vec2f(1, 2));
    osg::endEditCP(twoComponents);
    setChannel7(geometryOfNode(other), twoComponents);
    const ktChangeRecorder changes;
    controller.clearIndirect(none, true);
    controller.clearIndirect(other, true);
    EXPECT_EQ(geometryOfNode(none)->getTexCoords7(), osg::NullFC);
    EXPECT_EQ(geometryOfNode(other)->getTexCoords7(), twoComponents);
    EXPECT_EQ(twoComponents->getField()[0], osg::Vec2f(1, 2));
    EXPECT_THAT(changes.masksOf(geometryOfNode(none)), IsEmpty());
    EXPECT_THAT(changes.masksOf(geometryOfNode(other)), IsEmpty());
}

TEST_F(Clearing, GivenSwitch_ActiveClearsTheChosenChildAndAllEach) {
    const osg::NodePtr a = baked("a");
    const osg::NodePtr b = baked("b");
    const osg::NodePtr below = baked("below");
    const osg::NodePtr c = baked("c");
    const osg::NodePtr root = keep(makeGroup("root", {makeSwitch(1, {a, makeGroup("group", {b, below}), c})}));
    controller.clearShadows(root, false);
    EXPECT_TRUE(hasShadows(a));
    EXPECT_TRUE(hasNoShadows(b));
    EXPECT_TRUE(hasNoShadows(below));
    EXPECT_TRUE(hasShadows(c));
    controller.clearShadows(root, true);
    EXPECT_TRUE(hasNoShadows(a));
    EXPECT_TRUE(hasNoShadows(c));
}

TEST_F(Clearing, GivenSwitchChoices_ActiveFollowsWhatIsShown) {
    struct Case {
        osg::Int32 choice;
        bool first, second;
    };
    for (const Case& each :
         {Case{osg::Switch::NONE, false, false}, Case{osg::Switch::ALL, true, true}, Case{-3, false, false},
          Case{0, true, false}, Case{1, false, true}, Case{2, false, false}, Case{1000, false, false}}) {
        const osg::NodePtr a = baked("a");
        const osg::NodePtr b = baked("b");
        const osg::NodePtr root = keep(makeSwitch(each.choice, {a, b}));
        controller.clearIndirect(root, false);
        EXPECT_EQ(hasNoIndirect(a), each.first) << each.choice;
        EXPECT_EQ(hasNoIndirect(b), each.second) << each.choice;
        controller.clearIndirect(root, true);
        EXPECT_TRUE(hasNoIndirect(a) && hasNoIndirect(b)) << each.choice;
    }
}

TEST_F(Clearing, GivenHiddenNode_OnlyAllReachesItAndWhatIsBelow) {
    const osg::NodePtr child = baked("child");
    const osg::NodePtr hidden = makeGroup("hidden", {child});
    const osg::NodePtr shown = baked("shown");
    const osg::NodePtr root = keep(makeGroup("root", {hidden, shown}));
    hide(hidden);
    controller.clearShadows(root, false);
    controller.clearIndirect(root, false);
    EXPECT_TRUE(hasIndirect(child));
    EXPECT_TRUE(hasShadows(child));
    EXPECT_FALSE(hasShadows(shown));
    controller.clearIndirect(root, true);
    EXPECT_TRUE(hasNoIndirect(child));
    controller.clearShadows(root, true);
    EXPECT_FALSE(hasShadows(child));
}

TEST_F(Clearing, GivenPointsOrLinesFirst_KeepsTheData) {
    for (const osg::UInt8 code : {GL_POINTS, GL_LINES, GL_LINE_LOOP, GL_LINE_STRIP}) {
        const osg::NodePtr node = keep(baked("node"));
        setTypes(node, {code, GL_TRIANGLES});
        controller.clearShadows(node, true);
        controller.clearIndirect(node, true);
        EXPECT_TRUE(hasShadows(node) && hasIndirect(node)) << int(code);
    }
}

TEST_F(Clearing, GivenSurfacesFirstOrNoTypes_ClearsTheData) {
    const osg::NodePtr mixed = keep(baked("mixed"));
    setTypes(mixed, {GL_TRIANGLES, GL_LINES});
    const osg::NodePtr emptyTypes = keep(baked("emptyTypes"));
    setTypes(emptyTypes, {});
    const osg::NodePtr noTypes = keep(baked("noTypes"));
    geometryOfNode(noTypes)->setTypes(osg::NullFC);
    const osg::NodePtr strip = keep(baked("strip"));
    setTypes(strip, {GL_TRIANGLE_STRIP});
    for (const osg::NodePtr& node : {mixed, emptyTypes, noTypes, strip}) {
        controller.clearIndirect(node, false);
        EXPECT_TRUE(hasNoIndirect(node)) << host.label(node);
    }
}

TEST_F(Clearing, GivenLockedNode_SkipsItsSubtree) {
    const osg::NodePtr below = baked("below");
    const osg::NodePtr locked = makeGroup("locked", {below});
    const osg::NodePtr after = baked("after");
    const osg::NodePtr root = keep(makeGroup("root", {locked, after}));
    host.lockedCores.insert(locked->getCore());
    controller.clearIndirect(root, true);
    EXPECT_TRUE(hasIndirect(below));
    EXPECT_TRUE(hasNoIndirect(after));
    EXPECT_THAT(entriesWith(log, "allows"), ElementsAre("allows(root, 25)", "allows(locked, 25)", "allows(after, 25)"));
}

TEST_F(Clearing, GivenNodeWithoutCore_SkipsItsChildren) {
    const osg::NodePtr below = baked("below");
    const osg::NodePtr root = keep(makeNode(osg::NullFC, {below}));
    controller.clearIndirect(root, true);
    controller.clearShadows(osg::NullFC, true);
    EXPECT_TRUE(hasIndirect(below));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(Clearing, GivenSelection_ClearsEachNodeAndEmitsOnce) {
    const osg::NodePtr shown = baked("shown");
    const osg::NodePtr hidden = baked("hidden");
    const osg::NodePtr first = keep(makeGroup("first", {shown, hidden}));
    const osg::NodePtr second = keep(baked("second"));
    const osg::NodePtr outside = keep(baked("outside"));
    hide(hidden);
    host.selection = {first, osg::NullFC, second};

    controller.clearActiveIndirect();
    EXPECT_THAT(entriesWith(log, "signal"), ElementsAre("signal activeIndirectCleared()"));
    EXPECT_EQ(log.back(), "signal activeIndirectCleared()");
    EXPECT_TRUE(hasNoIndirect(shown) && hasNoIndirect(second) && hasIndirect(hidden));
    log.clear();
    controller.clearAllIndirect();
    EXPECT_THAT(entriesWith(log, "signal"), ElementsAre("signal allIndirectCleared()"));
    EXPECT_TRUE(hasNoIndirect(hidden));
    EXPECT_TRUE(hasShadows(shown) && hasShadows(hidden) && hasShadows(second));
    log.clear();
    controller.clearActiveShadows();
    EXPECT_THAT(entriesWith(log, "signal"), ElementsAre("signal activeShadowsCleared()"));
    EXPECT_FALSE(hasShadows(shown) || hasShadows(second));
    EXPECT_TRUE(hasShadows(hidden));
    log.clear();
    controller.clearAllShadows();
    EXPECT_THAT(entriesWith(log, "signal"), ElementsAre("signal allShadowsCleared()"));
    EXPECT_FALSE(hasShadows(hidden));
    EXPECT_TRUE(hasIndirect(outside) && hasShadows(outside));
}

TEST_F(Clearing, GivenNoSelectionOrOnlyNullNodes_StillEmitsOnce) {
    for (const auto& selection : {std::vector<ktNodePtr>{}, std::vector<ktNodePtr>{osg::NullFC, osg::NullFC}}) {
        host.selection = selection;
        log.clear();
        controller.clearActiveShadows();
        controller.clearAllShadows();
        controller.clearActiveIndirect();
        controller.clearAllIndirect();
        EXPECT_THAT(log, ElementsAre("getSelectedRootNodes()", "signal activeShadowsCleared()",
                                     "getSelectedRootNodes()", "signal allShadowsCleared()", "getSelectedRootNodes()",
                                     "signal activeIndirectCleared()", "getSelectedRootNodes()",
                                     "signal allIndirectCleared()"));
    }
}

TEST_F(Clearing, GivenClearing_KeepsSettingsAndUndoStack) {
    const osg::NodePtr node = keep(baked("node"));
    controller.addAOData(node, controller.getAmbientOcclusionSettings());
    host.selection = {node};
    controller.clearAllShadows();
    controller.clearAllIndirect();
    EXPECT_EQ(undoStack.count(), 0);
    EXPECT_NE(node->findAttachment(osg::AmbientOcclusionSettingsAttachment::getClassType()), osg::NullFC);
}

TEST_F(Clearing, GivenVeryDeepTree_DoesNotOverflowTheStack) {
    const osg::NodePtr leaf = baked("leaf");
    const osg::NodeCorePtr core = makeGroup("group")->getCore();
    osg::NodePtr deep = leaf;
    for (int i = 0; i < 200000; ++i)
        deep = makeNode(core, {deep});
    keep(deep);
    controller.clearIndirect(deep, false);
    EXPECT_TRUE(hasNoIndirect(leaf));
    log.clear();
}
