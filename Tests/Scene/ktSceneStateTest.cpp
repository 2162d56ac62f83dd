// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests opening and closing the scene, and selecting nodes, also by name.
#include "ktSceneState.h"

#include "ktHostSignals.h"
#include "ktSceneFixture.h"
#include "ktScenegraph.h"

#include <gmock/gmock.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SceneState : public ktSceneFixture {
protected:
    void SetUp() override {
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::selectionChanged, &receiver,
                         [this] { ++selectionChanges; });
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, &receiver, [this] { ++sceneChanges; });
    }

    QObject receiver;
    int selectionChanges = 0;
    int sceneChanges = 0;
};

} // namespace

TEST_F(SceneState, GivenNewRoot_FreesTheOldSceneAndItsSelection) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::UInt32 oldId = a.getFieldContainerId();
    ktSceneState::setSelection({a});
    const osg::NodePtr other = osg::makeNodeFor(osg::Group::create());
    ktSceneState::setRootNode(other);
    EXPECT_EQ(ktScenegraph::getRootNode(), other);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), IsEmpty());
    EXPECT_EQ(osg::FieldContainerFactory::the()->getContainer(oldId), osg::NullFC);
    EXPECT_EQ(sceneChanges, 1);
    EXPECT_EQ(selectionChanges, 2);
}

TEST_F(SceneState, GivenSameRootAgain_KeepsTheSelection) {
    const osg::NodePtr a = addNode(root, "a");
    ktSceneState::setSelection({a});
    ktSceneState::setRootNode(root);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(a));
    EXPECT_EQ(sceneChanges, 0);
}

TEST_F(SceneState, GivenSelection_HoldsNoReference) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::Int32 before = a.getRefCount();
    ktSceneState::setSelection({a});
    EXPECT_EQ(a.getRefCount(), before);
}

TEST_F(SceneState, GivenNullForeignAndRepeatedNodes_LeavesThemOut) {
    const osg::NodePtr a = addNode(root, "a");
    const osg::NodePtr foreign = keep(osg::makeNodeFor(osg::Group::create()));
    EXPECT_EQ(ktSceneState::setSelection({osg::NodePtr(), a, foreign, a}), 1u);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(a));
}

TEST_F(SceneState, GivenSameSelection_AnnouncesNothing) {
    const osg::NodePtr a = addNode(root, "a");
    ktSceneState::setSelection({a});
    ktSceneState::setSelection({a});
    EXPECT_EQ(selectionChanges, 1);
    ktSceneState::clearSelection();
    ktSceneState::clearSelection();
    EXPECT_EQ(selectionChanges, 2);
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), IsEmpty());
}

TEST_F(SceneState, GivenNames_SelectsWhatTheyNameAndReturnsTheRest) {
    const osg::NodePtr door = addNode(root, "door");
    const osg::NodePtr wheel = addNode(root, "wheel");
    const osg::NodePtr secondWheel = addNode(root, "wheel");
    EXPECT_THAT(ktSceneState::selectByName({"wheel", "mirror", "door"}), ElementsAre("mirror"));
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), ElementsAre(wheel, secondWheel, door));
}

TEST_F(SceneState, GivenOnlyUnknownNames_SelectsNothing) {
    ktSceneState::setSelection({addNode(root, "door")});
    EXPECT_THAT(ktSceneState::selectByName({"mirror"}), ElementsAre("mirror"));
    EXPECT_THAT(ktScenegraph::getSelectedRootNodes(), IsEmpty());
}
