// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which uses of geometry are visited, in which order, and with which world matrices.
#include "ktGeometryInstances.h"

#include "ktSceneFixture.h"

#include <gmock/gmock.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGTransform.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class GeometryInstances : public ktSceneFixture {
protected:
    static osg::TransformPtr makeTranslation(float x, float y, float z) {
        const osg::TransformPtr transform = osg::Transform::create();
        transform->getMatrix().setTranslate(x, y, z);
        return transform;
    }
    static std::vector<osg::NodePtr> nodesBelow(const osg::NodePtr& start, ktInstances which) {
        std::vector<osg::NodePtr> nodes;
        ktForEachGeometryInstance(start, which, [&](const ktGeometryInstance& instance) {
            nodes.push_back(instance.node);
            return true;
        });
        return nodes;
    }
};

} // namespace

TEST_F(GeometryInstances, GivenTree_VisitsGeometryInTraversalOrderWithItsCore) {
    const osg::GeometryPtr geometry = makeGeometry();
    const osg::NodePtr a = addNode(root, "a", geometry);
    const osg::NodePtr belowGeometry = addNode(a, "below", makeGeometry());
    const osg::NodePtr b = addNode(addNode(root, "group"), "b", geometry);
    EXPECT_THAT(nodesBelow(root, ktInstances::All), ElementsAre(a, belowGeometry, b));
    ktForEachGeometryInstance(b, ktInstances::All, [&](const ktGeometryInstance& instance) {
        EXPECT_EQ(instance.geometry, geometry);
        return true;
    });
}

TEST_F(GeometryInstances, GivenTransforms_ReturnsTheNodesWorldMatrix) {
    const osg::NodePtr outer = addNode(root, "outer", makeTranslation(1, 2, 3));
    const osg::NodePtr inner = addNode(outer, "inner", makeTranslation(10, 20, 30));
    const osg::NodePtr body = addNode(inner, "body", makeGeometry());
    for (const osg::NodePtr& start : {root, inner, body}) {
        int visits = 0;
        ktForEachGeometryInstance(start, ktInstances::All, [&](const ktGeometryInstance& instance) {
            EXPECT_EQ(instance.toWorld, body->getToWorld());
            EXPECT_EQ(instance.toWorld[3][0], 11.0f);
            ++visits;
            return true;
        });
        EXPECT_EQ(visits, 1);
    }
}

TEST_F(GeometryInstances, GivenHiddenNode_VisitsItOnlyWhenAllAreAskedFor) {
    const osg::NodePtr hidden = addNode(root, "hidden");
    const osg::NodePtr below = addNode(hidden, "below", makeGeometry());
    hidden->setTravMask(0xfffffffe);
    EXPECT_THAT(nodesBelow(root, ktInstances::Visible), IsEmpty());
    EXPECT_THAT(nodesBelow(root, ktInstances::All), ElementsAre(below));
}

TEST_F(GeometryInstances, GivenSwitch_VisitsWhatItShows) {
    const osg::SwitchPtr core = osg::Switch::create();
    const osg::NodePtr node = addNode(root, "switch", core);
    const osg::NodePtr first = addNode(node, "first", makeGeometry());
    const osg::NodePtr second = addNode(node, "second", makeGeometry());
    const std::vector<osg::NodePtr> both = {first, second};
    const std::vector<std::pair<int, std::vector<osg::NodePtr>>> shown = {{0, {first}}, {1, {second}}, {2, {}},
                                                                          {-1, {}},     {-2, both},    {-3, {}}};
    for (const auto& [choice, nodes] : shown) {
        core->setChoice(choice);
        EXPECT_EQ(nodesBelow(root, ktInstances::Visible), nodes) << choice;
        EXPECT_EQ(nodesBelow(root, ktInstances::All), both) << choice;
    }
}

TEST_F(GeometryInstances, GivenVisitorThatHasEnough_Stops) {
    addNode(root, "a", makeGeometry());
    addNode(root, "b", makeGeometry());
    int visits = 0;
    ktForEachGeometryInstance(root, ktInstances::All, [&](const ktGeometryInstance&) {
        ++visits;
        return false;
    });
    EXPECT_EQ(visits, 1);
}

TEST_F(GeometryInstances, GivenNothing_VisitsNothing) {
    EXPECT_THAT(nodesBelow(osg::NullFC, ktInstances::All), IsEmpty());
    EXPECT_THAT(nodesBelow(root, ktInstances::All), IsEmpty());
    addNode(root, "bare")->setCore(osg::NullFC);
    EXPECT_THAT(nodesBelow(root, ktInstances::All), IsEmpty());
}

TEST_F(GeometryInstances, GivenVeryDeepTree_KeepsTheCallStackSmall) {
    osg::NodePtr end = root;
    for (int i = 0; i < 300000; ++i)
        end = addNode(end, {});
    const osg::NodePtr body = addNode(end, "body", makeGeometry());
    EXPECT_THAT(nodesBelow(root, ktInstances::Visible), ElementsAre(body));
}
