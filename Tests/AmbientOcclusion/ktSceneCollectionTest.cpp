// SPDX-License-Identifier: LGPL-2.1-or-later
// Collecting from the scene: geometry to calculate, occluders, lights and materials.
#include "ktControllerFixture.h"
#include "ktSceneParts.h"
#include "OSGUberMaterial.h"
#include "OSGUEnvironmentMaterial.h"
#include "OSGUEnvironmentSwitchMaterial.h"
#include "OSGUShadowMaterial.h"

#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGTransform.h>

using testing::ElementsAre;
using testing::SizeIs;

namespace {

using osg::Vec4f;

class Collection : public ktControllerFixture {
protected:
    Collection() { host.root = keep(makeGroup("root")); }

    /// Adds a node below the scene's root.
    osg::NodePtr add(const osg::NodePtr& node) {
        osg::beginEditCP(host.root);
        host.root->addChild(node);
        osg::endEditCP(host.root);
        return node;
    }
    /// Collects the geometry below these nodes and returns its names.
    std::string collect(const std::vector<osg::NodePtr>& selected, bool missingOnly = false) {
        const osg::NodePtr workingRoot = controller.buildGeometryNodeList(selected, nodes, missingOnly);
        workingRoots.push_back(workingRoot);
        return host.labels(nodes);
    }
    /// Names of the visible occluders.
    std::string visible() {
        controller.buildVisibleNodeList();
        return host.labels(Access::visibleGeometryNodes(controller));
    }
    std::string lights() const { return host.labels(Access::visibleLightNodes(controller)); }
    ~Collection() override {
        for (const osg::NodePtr& node : workingRoots)
            osg::subRefCP(node);
    }

    std::vector<osg::NodePtr> nodes;
    std::vector<osg::NodePtr> workingRoots;
};

class GeometryList : public Collection {};
class VisibleList : public Collection {};
class RealMaterial : public Collection {};
class NodeOrder : public Collection {};

// So many levels that recursion once per level would overflow the stack.
osg::NodePtr makeNestedSwitches(osg::NodePtr node) {
    for (int level = 0; level < 60000; ++level)
        node = makeSwitch(0, {node});
    return node;
}

osg::MaterialPtr transparentMaterial() {
    const osg::UberMaterialPtr material = osg::UberMaterial::create();
    osg::beginEditCP(material);
    material->setTransmission(0.9f);
    osg::endEditCP(material);
    return material;
}

} // namespace

TEST_F(GeometryList, GivenSelection_ClonesItUnderWorldMatrixOfTheParent) {
    const osg::NodePtr geometry = makeGeometryNode("a");
    const osg::NodePtr inner = makeTransform("inner", translation(0, 5, 0), {geometry});
    add(makeTransform("outer", translation(10, 0, 0), {inner}));
    EXPECT_EQ(collect({inner}), "a");
    ASSERT_THAT(nodes, SizeIs(1));
    EXPECT_NE(nodes[0], geometry) << "nodes are copies";
    EXPECT_EQ(nodes[0]->getCore(), geometry->getCore()) << "cores are shared with the scene";
    EXPECT_EQ(nodes[0]->getToWorld(), geometry->getToWorld());

    const osg::NodePtr root = workingRoots[0];
    EXPECT_NE(osg::GroupPtr::dcast(root->getCore()), osg::NullFC);
    ASSERT_EQ(root->getNChildren(), 1u);
    const osg::NodePtr placed = root->getChild(0);
    const osg::TransformPtr transform = osg::TransformPtr::dcast(placed->getCore());
    ASSERT_NE(transform, osg::NullFC);
    EXPECT_EQ(transform->getMatrix(), translation(10, 0, 0));
    ASSERT_EQ(placed->getNChildren(), 1u);
    EXPECT_EQ(placed->getChild(0)->getCore(), inner->getCore());
}

TEST_F(GeometryList, GivenNodeWithoutParent_HasIdentityAboveIt) {
    const osg::NodePtr alone = keep(makeGeometryNode("alone"));
    EXPECT_EQ(collect({alone}), "alone");
    osg::Matrix identity;
    EXPECT_EQ(nodes[0]->getToWorld(), identity);
}

TEST_F(GeometryList, GivenSeveralNodes_ListsThemInOrderAndEmptiesTheListFirst) {
    const osg::NodePtr a = add(makeGroup("g", {makeGeometryNode("a1"), makeGeometryNode("a2")}));
    const osg::NodePtr b = add(makeGeometryNode("b"));
    EXPECT_EQ(collect({b, a}), "b a1 a2");
    EXPECT_EQ(collect({a}), "a1 a2");
    EXPECT_EQ(workingRoots[0]->getNChildren(), 2u);
}

TEST_F(GeometryList, GivenNullSelectedNode_IsLeftOut) {
    const osg::NodePtr a = add(makeGeometryNode("a"));
    EXPECT_EQ(collect({osg::NullFC, a}), "a");
}

TEST_F(GeometryList, GivenFlag_StoresIt) {
    collect({}, true);
    EXPECT_TRUE(Access::missingOnly(controller));
    collect({}, false);
    EXPECT_FALSE(Access::missingOnly(controller));
}

TEST_F(GeometryList, GivenHiddenParentOfSelection_IsEnteredButHiddenInsideIsNot) {
    const osg::NodePtr hiddenInside = makeGroup("hidden", {makeGeometryNode("b")});
    hide(hiddenInside);
    const osg::NodePtr selected = makeGroup("selected", {makeGeometryNode("a"), hiddenInside});
    const osg::NodePtr hiddenParent = add(makeGroup("parent", {selected}));
    hide(hiddenParent);
    EXPECT_EQ(collect({selected}), "a");
    EXPECT_EQ(collect({hiddenParent}), "");
}

TEST_F(GeometryList, GivenNodeWithoutCore_IsPassedThrough) {
    const osg::NodePtr bare = add(makeNode(osg::NullFC, {makeGeometryNode("a")}));
    EXPECT_EQ(collect({bare}), "a");
}

TEST_F(GeometryList, GivenSwitch_FollowsItsChoice) {
    const auto collectWith = [this](osg::Int32 choice) {
        return collect({keep(makeSwitch(
            choice, {makeGroup("g", {makeGeometryNode("a"), makeGeometryNode("b")}), makeGeometryNode("c")}))});
    };
    EXPECT_EQ(collectWith(0), "a b");
    EXPECT_EQ(collectWith(1), "c");
    EXPECT_EQ(collectWith(-2), "a b c");
    EXPECT_EQ(collectWith(-1), "");
    EXPECT_EQ(collectWith(2), "a b c") << "equal to the number of children: all";
    EXPECT_EQ(collectWith(5), "a b c");
    EXPECT_EQ(collectWith(-3), "a b c");
}

TEST_F(GeometryList, GivenSwitchInsideSwitch_SharesTheCollectedCores) {
    const osg::NodePtr a = makeGeometryNode("a");
    const osg::NodePtr again = makeNode(a->getCore());
    const osg::NodePtr outer = add(makeSwitch(0, {makeGroup("g", {a, makeSwitch(0, {again}), makeGeometryNode("b")})}));
    EXPECT_EQ(collect({outer}), "a b");
}

TEST_F(GeometryList, GivenDeeplyNestedSwitches_FollowsThem) {
    const osg::NodePtr nested = makeNestedSwitches(makeGeometryNode("a"));
    const osg::NodePtr outer = add(makeSwitch(1, {makeGeometryNode("hidden"), makeGroup("g", {nested})}));
    EXPECT_EQ(collect({outer}), "a");
}

TEST_F(GeometryList, GivenLockedGeometry_IsLeftOutButItsChildrenAreNot) {
    const osg::GeometryPtr core = makeGeometry("locked");
    host.lockedCores.insert(core);
    const osg::NodePtr locked = add(makeNode(core, {makeGeometryNode("child")}));
    EXPECT_EQ(collect({locked}), "child");
    EXPECT_THAT(entriesWith(log, "allows"), ElementsAre("allows(locked, 25)", "allows(child, 25)"));
}

TEST_F(GeometryList, GivenEnvironmentMaterial_IsNeverCalculated) {
    const osg::NodePtr sky = add(makeGeometryNode("sky"));
    setMaterial(sky, osg::UEnvironmentMaterial::create());
    EXPECT_EQ(collect({sky}), "");
}

TEST_F(GeometryList, GivenOtherMaterials_AreCalculated) {
    const osg::NodePtr ground = makeGeometryNode("ground");
    setMaterial(ground, osg::UShadowMaterial::create());
    const osg::NodePtr glass = makeGeometryNode("glass");
    setMaterial(glass, transparentMaterial());
    const osg::NodePtr studio = makeGeometryNode("studio");
    setMaterial(studio, osg::UEnvironmentSwitchMaterial::create());
    EXPECT_EQ(collect({add(makeGroup("g", {ground, glass, studio}))}), "ground glass studio");
}

TEST_F(GeometryList, GivenLines_AreCalculated) {
    const osg::NodePtr lines = add(makeGeometryNode("lines"));
    geometryOfNode(lines)->getTypes()->setValue(3, 0);
    EXPECT_EQ(collect({lines}), "lines");
    EXPECT_EQ(visible(), "") << "but do not occlude";
}

TEST_F(GeometryList, GivenSharedCore_IsCollectedOnce) {
    const osg::GeometryPtr core = makeGeometry("shared");
    const osg::NodePtr group = add(makeGroup("g", {makeNode(core), makeNode(core), makeNode(core)}));
    EXPECT_EQ(collect({group}), "shared");
    EXPECT_THAT(nodes, SizeIs(1));
}

TEST_F(GeometryList, GivenCoreWithSingleParent_IsNotLookedUp) {
    const osg::NodePtr node = keep(makeGeometryNode("single"));
    std::set<osg::GeometryPtr> collected{geometryOfNode(node)};
    EXPECT_EQ(controller.getGeometryNodes(node, nodes, collected), osg::Action::Continue);
    EXPECT_EQ(host.labels(nodes), "single");
    const osg::NodePtr second = keep(makeNode(node->getCore()));
    EXPECT_EQ(controller.getGeometryNodes(second, nodes, collected), osg::Action::Continue);
    EXPECT_EQ(host.labels(nodes), "single") << "with two parents it is looked up";
}

TEST_F(GeometryList, GivenNullNode_Continues) {
    std::set<osg::GeometryPtr> collected;
    EXPECT_EQ(controller.getGeometryNodes(osg::NullFC, nodes, collected), osg::Action::Continue);
}

TEST_F(GeometryList, GivenSharedProperties_AreSeparated) {
    const osg::NodePtr a = makeGeometryNode("a");
    const osg::NodePtr b = makeGeometryNode("b");
    const osg::GeometryPtr coreB = geometryOfNode(b);
    osg::beginEditCP(coreB);
    coreB->setPositions(geometryOfNode(a)->getPositions());
    osg::endEditCP(coreB);
    collect({add(makeGroup("g", {a, b}))});
    EXPECT_NE(geometryOfNode(a)->getPositions(), coreB->getPositions());
}

TEST_F(GeometryList, GivenMultiIndexedGeometry_BecomesSingleIndexed) {
    const osg::NodePtr node = add(makeGeometryNode("a"));
    const osg::GeometryPtr core = geometryOfNode(node);
    makeMultiIndexed(core);
    collect({node});
    ASSERT_EQ(core->getMFIndexMapping()->size(), 1u);
    EXPECT_EQ(core->getIndices()->size(), 3u);
}

TEST_F(GeometryList, GivenMissingOnly_LeavesOutCompleteGeometryButPreparesIt) {
    const osg::NodePtr done = makeGeometryNode("done");
    const osg::NodePtr missing = makeGeometryNode("missing");
    const osg::GeometryPtr core = geometryOfNode(done);
    makeMultiIndexed(core);
    osg::beginEditCP(core);
    core->setPositions(geometryOfNode(missing)->getPositions());
    osg::endEditCP(core);
    setChannel7(core, makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 1))));
    const osg::NodePtr group = add(makeGroup("g", {done, missing}));
    EXPECT_EQ(collect({group}, true), "missing");
    EXPECT_NE(core->getPositions(), geometryOfNode(missing)->getPositions());
    EXPECT_EQ(core->getMFIndexMapping()->size(), 1u);
}

TEST_F(GeometryList, GivenMissingOnlyAndSingleIndexed_StillSeparatesSharedProperties) {
    const osg::NodePtr done = makeGeometryNode("done");
    const osg::NodePtr missing = makeGeometryNode("missing");
    const osg::GeometryPtr core = geometryOfNode(done);
    osg::beginEditCP(core);
    core->setPositions(geometryOfNode(missing)->getPositions());
    osg::endEditCP(core);
    setChannel7(core, makeChannel(std::vector<Vec4f>(3, Vec4f(1, 1, 1, 1))));
    EXPECT_EQ(collect({add(makeGroup("g", {done, missing}))}, true), "missing");
    EXPECT_NE(core->getPositions(), geometryOfNode(missing)->getPositions());
}

TEST_F(GeometryList, GivenMissingOnly_ChecksIndirectOnlyWhenItIsOn) {
    const osg::NodePtr node = add(makeGeometryNode("a"));
    setChannel7(geometryOfNode(node), makeChannel(std::vector<Vec4f>(3, Vec4f(0, 0, 0, 1))));
    EXPECT_EQ(collect({node}, true), "a") << "indirect light is enabled and missing";
    controller.setIndirectIlluminationEnabled(false);
    EXPECT_EQ(collect({node}, true), "");
    EXPECT_EQ(collect({node}, false), "a");
}

TEST_F(VisibleList, GivenScene_ListsOccludersAndLights) {
    add(makeGroup("g", {makeGeometryNode("a"), makeGeometryNode("b")}));
    const osg::NodePtr lamp = add(makeGroup("lamp", {makeGeometryNode("shade")}));
    const osg::NodePtr rayFile = add(makeGroup("rayFile"));
    host.lightCores = {lamp->getCore(), rayFile->getCore()};
    host.rayFileLightCores = {rayFile->getCore()};
    EXPECT_EQ(visible(), "a b shade");
    EXPECT_EQ(lights(), "lamp");
    EXPECT_EQ(visible(), "a b shade") << "lists are emptied first";
    EXPECT_EQ(lights(), "lamp");
}

TEST_F(VisibleList, GivenNoScene_IsEmpty) {
    visible();
    host.root = osg::NullFC;
    EXPECT_EQ(visible(), "");
}

TEST_F(VisibleList, GivenHiddenNode_IsSkippedWithItsSubtree) {
    const osg::NodePtr hidden = add(makeGroup("hidden", {makeGeometryNode("a")}));
    hide(hidden);
    add(makeNode(osg::NullFC, {makeGeometryNode("b")}));
    EXPECT_EQ(visible(), "b");
}

TEST_F(VisibleList, GivenDeeplyNestedSwitches_FollowsThem) {
    add(makeSwitch(1, {makeGeometryNode("hidden"), makeNestedSwitches(makeGeometryNode("a"))}));
    add(makeGeometryNode("b"));
    EXPECT_EQ(visible(), "a b");
}

TEST_F(VisibleList, GivenSwitch_FollowsItsChoiceAndSkipsOtherwise) {
    const auto visibleWith = [this](osg::Int32 choice) {
        host.root = keep(
            makeGroup("root", {makeSwitch(choice, {makeGroup("g", {makeGeometryNode("a")}), makeGeometryNode("b")})}));
        return visible();
    };
    EXPECT_EQ(visibleWith(0), "a");
    EXPECT_EQ(visibleWith(1), "b");
    EXPECT_EQ(visibleWith(-2), "a b");
    EXPECT_EQ(visibleWith(-1), "");
    EXPECT_EQ(visibleWith(2), "");
    EXPECT_EQ(visibleWith(5), "");
    EXPECT_EQ(visibleWith(-3), "");
}

TEST_F(VisibleList, GivenPrimitiveTypes_LinesAndPointsDoNotOcclude) {
    for (osg::UInt32 type = 0; type < 10; ++type) {
        host.root = keep(makeGroup("root", {makeGeometryNode("a")}));
        geometryOfNode(host.root->getChild(0))->getTypes()->setValue(type, 0);
        EXPECT_EQ(visible(), type <= 3 ? "" : "a") << type;
    }
    host.root = keep(makeGroup("root", {makeNode(osg::Geometry::create())}));
    visible();
    EXPECT_THAT(Access::visibleGeometryNodes(controller), SizeIs(1)) << "a geometry without types is added";
}

TEST_F(VisibleList, GivenMaterials_OnlyTransparentOnesDoNotOcclude) {
    const auto withMaterial = [this](const std::string& name, const osg::MaterialPtr& material) {
        setMaterial(add(makeGeometryNode(name)), material);
    };
    withMaterial("sky", osg::UEnvironmentMaterial::create());
    withMaterial("studio", osg::UEnvironmentSwitchMaterial::create());
    withMaterial("ground", osg::UShadowMaterial::create());
    withMaterial("glass", transparentMaterial());
    withMaterial("paint", osg::UberMaterial::create());
    withMaterial("none", osg::NullFC);
    ASSERT_TRUE(osg::UShadowMaterialPtr(osg::UShadowMaterial::create())->isTransparent())
        << "the ground occludes although it is transparent";
    EXPECT_EQ(visible(), "sky studio ground paint none");
    EXPECT_EQ(collect({host.root}), "studio ground glass paint none");
}

TEST_F(VisibleList, GivenMultiIndexedGeometry_BecomesSingleIndexed) {
    const osg::NodePtr multi = add(makeGeometryNode("multi"));
    makeMultiIndexed(geometryOfNode(multi));
    const osg::NodePtr glass = add(makeGeometryNode("glass"));
    setMaterial(glass, transparentMaterial());
    makeMultiIndexed(geometryOfNode(glass));
    visible();
    EXPECT_EQ(geometryOfNode(multi)->getMFIndexMapping()->size(), 1u);
    EXPECT_EQ(geometryOfNode(glass)->getMFIndexMapping()->size(), 2u) << "geometry that is not added is unchanged";
}

TEST_F(VisibleList, GivenSingleIndexedGeometry_StaysShared) {
    const osg::NodePtr a = add(makeGeometryNode("a"));
    const osg::NodePtr b = add(makeGeometryNode("b"));
    const osg::GeometryPtr coreB = geometryOfNode(b);
    osg::beginEditCP(coreB);
    coreB->setPositions(geometryOfNode(a)->getPositions());
    osg::endEditCP(coreB);
    visible();
    EXPECT_EQ(geometryOfNode(a)->getPositions(), coreB->getPositions());
}

TEST_F(VisibleList, GivenSharedCores_ListsEveryNode) {
    const osg::GeometryPtr core = makeGeometry("shared");
    add(makeNode(core));
    add(makeNode(core));
    EXPECT_EQ(visible(), "shared shared");
}

TEST_F(RealMaterial, GivenMaterialGroupAbove_OverridesTheGeometrysOwn) {
    const osg::MaterialPtr own = osg::UberMaterial::create();
    const osg::MaterialPtr nearest = osg::UberMaterial::create();
    const osg::MaterialPtr far = osg::UberMaterial::create();
    const osg::NodePtr node = makeGeometryNode("a");
    setMaterial(node, own);
    EXPECT_EQ(controller.getRealMaterial(keep(node)), own);
    const osg::NodePtr empty = makeMaterialGroup(osg::NullFC, {node});
    add(makeMaterialGroup(far, {makeGroup("g", {makeMaterialGroup(nearest, {empty})})}));
    EXPECT_EQ(controller.getRealMaterial(node), nearest) << "an empty group is skipped";
    EXPECT_EQ(controller.getRealMaterial(empty), nearest);
}

TEST_F(RealMaterial, GivenMaterialGroupAtTheRoot_IsIgnored) {
    const osg::MaterialPtr own = osg::UberMaterial::create();
    const osg::MaterialPtr rootMaterial = osg::UberMaterial::create();
    const osg::NodePtr node = makeGeometryNode("a");
    setMaterial(node, own);
    host.root = keep(makeMaterialGroup(rootMaterial, {node}));
    EXPECT_EQ(controller.getRealMaterial(node), own);
    EXPECT_EQ(controller.getRealMaterial(host.root), rootMaterial) << "but the root itself has it";
}

TEST_F(RealMaterial, GivenNoMaterial_IsNull) {
    EXPECT_EQ(controller.getRealMaterial(osg::NullFC), osg::NullFC);
    EXPECT_EQ(controller.getRealMaterial(keep(makeNode(osg::NullFC))), osg::NullFC);
    EXPECT_EQ(controller.getRealMaterial(add(makeGroup("g"))), osg::NullFC);
    EXPECT_EQ(controller.getRealMaterial(add(makeGeometryNode("a"))), osg::NullFC);
    EXPECT_EQ(controller.getRealMaterial(add(makeMaterialGroup(osg::NullFC))), osg::NullFC);
}

TEST_F(NodeOrder, GivenGeometryCores_OrdersByTheirAddress) {
    const osg::NodePtr a = keep(makeGeometryNode("a"));
    const osg::NodePtr b = keep(makeGeometryNode("b"));
    EXPECT_NE(geomPtrLess(a, b), geomPtrLess(b, a));
    EXPECT_EQ(geomPtrLess(a, b), geometryOfNode(a) < geometryOfNode(b));
    EXPECT_FALSE(geomPtrLess(a, a));
    EXPECT_FALSE(geomPtrEqual(a, b));
    EXPECT_TRUE(geomPtrEqual(a, keep(makeNode(a->getCore()))));
}

TEST_F(NodeOrder, GivenNoGeometry_ComesFirstAndEqualsOthersWithout) {
    const osg::NodePtr geometry = keep(makeGeometryNode("a"));
    const osg::NodePtr group = keep(makeGroup("g"));
    const osg::NodePtr bare = keep(makeNode(osg::NullFC));
    EXPECT_TRUE(geomPtrLess(group, geometry));
    EXPECT_TRUE(geomPtrLess(bare, geometry));
    EXPECT_TRUE(geomPtrLess(osg::NullFC, geometry));
    EXPECT_FALSE(geomPtrLess(geometry, group));
    EXPECT_FALSE(geomPtrLess(geometry, bare));
    EXPECT_FALSE(geomPtrLess(group, bare));
    EXPECT_TRUE(geomPtrEqual(group, bare));
    EXPECT_TRUE(geomPtrEqual(group, osg::NullFC));
    EXPECT_FALSE(geomPtrEqual(group, geometry));
}
