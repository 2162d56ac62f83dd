// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which root and selected nodes plug-ins see, and when changes are announced.
#include "ktScenegraph.h"

#include "ktHostSignals.h"
#include "ktSceneFixture.h"
#include "ktSceneState.h"

#include <gmock/gmock.h>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Scenegraph : public ktSceneFixture {
protected:
    void TearDown() override { ktScenegraph::enableUpdate(true); }
};

} // namespace

TEST_F(Scenegraph, GivenNoScene_HasNoRootAndNoSelection) {
    ktSceneState::setRootNode(osg::NullFC);
    EXPECT_EQ(ktScenegraph::getRootNode(), osg::NullFC);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), IsEmpty());
}

TEST_F(Scenegraph, GivenScene_ReturnsItsRoot) {
    EXPECT_EQ(ktScenegraph::getRootNode(), root);
}

TEST_F(Scenegraph, GivenSelectedNodes_ReturnsThemInOrderOfSelection) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::NodePtr b = addNode(root, "b");
    ktSceneState::setSelection({b, a});
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(b, a));
}

TEST_F(Scenegraph, GivenNodeBelowSelectedNode_LeavesItOut) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::NodePtr unselected = addNode(a, "between");
    const osg::NodePtr below = addNode(unselected, "below");
    const osg::NodePtr other = addNode(root, "other");
    ktSceneState::setSelection({below, other, a});
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(other, a));
}

TEST_F(Scenegraph, GivenSelectedRoot_ReturnsItAlone) {
    const osg::NodePtr a = addNode(root, "a");
    ktSceneState::setSelection({a, root});
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(root));
}

TEST_F(Scenegraph, GivenSelectedNodeThatDied_ReturnsNullInItsPlace) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::NodePtr b = addNode(root, "b");
    ktSceneState::setSelection({a, b});
    root->subChild(a); // its last reference
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(osg::NodePtr(), b));
}

TEST_F(Scenegraph, GivenSelectedNodeMovedOutOfTheScene_ReturnsNullUntilItIsBack) {
    const osg::NodePtr parent = addNode(root, "parent");
    const osg::NodePtr a = addNode(parent, "a");
    ktSceneState::setSelection({a});
    keep(parent);
    root->subChild(parent);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(osg::NodePtr()));
    root->addChild(parent);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(a));
}

TEST_F(Scenegraph, GivenChainOfSelectedNodes_AnswersInOnePass) {
    // With one walk to the root per node this would take about 10^11 steps.
    std::vector<osg::NodePtr> nodes;
    osg::NodePtr end = root;
    for (int i = 0; i < 500000; ++i) {
        end = addNode(end, {});
        nodes.push_back(end);
    }
    EXPECT_EQ(ktSceneState::setSelection({nodes.rbegin(), nodes.rend()}), nodes.size());
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(nodes.front()));
}

TEST_F(Scenegraph, GivenUpdate_AnnouncesTheChange) {
    int changes = 0;
    QObject receiver;
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, &receiver, [&] { ++changes; });
    ktScenegraph::update(true);
    EXPECT_EQ(changes, 1);
}

TEST_F(Scenegraph, GivenUpdatesOff_HoldsChangesBack) {
    int changes = 0;
    std::vector<bool> enabled;
    QObject receiver;
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, &receiver, [&] { ++changes; });
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::updateEnabledChanged, &receiver,
                     [&](bool on) { enabled.push_back(on); });
    ktScenegraph::enableUpdate(false);
    ktScenegraph::enableUpdate(false);
    EXPECT_FALSE(ktSceneState::isUpdateEnabled());
    ktScenegraph::update(true);
    EXPECT_EQ(changes, 0);
    ktScenegraph::enableUpdate(true);
    ktScenegraph::update(false);
    EXPECT_EQ(changes, 1);
    EXPECT_THAT(enabled, ElementsAre(false, true));
}

TEST_F(Scenegraph, GivenReceiverThatUpdates_DoesNotRecurse) {
    int changes = 0;
    QObject receiver;
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, &receiver, [&] {
        ++changes;
        ktScenegraph::update(true);
    });
    ktScenegraph::update(true);
    EXPECT_EQ(changes, 1);
}
