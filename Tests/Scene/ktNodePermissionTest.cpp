// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which nodes a lock protects, also for clones and shared cores.
#include "ktNodePermission.h"

#include "ktController.h"
#include "ktNodeMarks.h"
#include "ktSceneFixture.h"

#include <OpenSG/OSGGroup.h>

namespace {

bool allows(const osg::NodePtr& node) {
    return ktNodePermission::allows(node, ktNodePermission::ChangeIllumination);
}

class NodePermission : public ktSceneFixture {
protected:
    void TearDown() override { ktController::setBusy(false, false); }

    osg::NodePtr part = addNode(root, "part");
    osg::GeometryPtr geometry = makeGeometry();
    osg::NodePtr first = addNode(part, "first", geometry);
    osg::NodePtr second = addNode(root, "second", geometry);
    // The plug-in's working copy: a clone under a temporary root.
    osg::NodePtr temporaryRoot = keep(osg::makeNodeFor(osg::Group::create()));

    osg::NodePtr cloneOf(const osg::NodePtr& node) {
        const osg::NodePtr clone = osg::cloneTree(node);
        temporaryRoot->addChild(clone);
        return clone;
    }
};

} // namespace

TEST_F(NodePermission, GivenAction_HasTheValue25) {
    EXPECT_EQ(static_cast<int>(ktNodePermission::ChangeIllumination), 25);
}

TEST_F(NodePermission, GivenNullNode_Allows) {
    EXPECT_TRUE(allows(osg::NullFC));
}

TEST_F(NodePermission, GivenNoLock_Allows) {
    EXPECT_TRUE(allows(root));
    EXPECT_TRUE(allows(first));
    EXPECT_TRUE(allows(cloneOf(first)));
}

TEST_F(NodePermission, GivenLock_RefusesNodeAndAllBelow) {
    ktNodeMarks::setLocked(part, true);
    EXPECT_FALSE(allows(part));
    EXPECT_FALSE(allows(first));
    EXPECT_TRUE(allows(root));
    EXPECT_TRUE(allows(second));
}

TEST_F(NodePermission, GivenLockTakenAway_AllowsAgain) {
    ktNodeMarks::setLocked(part, true);
    ktNodeMarks::setLocked(part, false);
    EXPECT_TRUE(allows(part));
    EXPECT_TRUE(allows(first));
}

TEST_F(NodePermission, GivenCloneOfPartlyLockedInstances_Allows) {
    const osg::NodePtr clone = cloneOf(part);
    ktNodeMarks::setLocked(first, true);
    EXPECT_TRUE(allows(clone->getChild(0))); // the second instance is not locked
}

TEST_F(NodePermission, GivenCloneOfLockedInstances_Refuses) {
    const osg::NodePtr clone = cloneOf(part);
    ktNodeMarks::setLocked(part, true);
    ktNodeMarks::setLocked(second, true);
    EXPECT_FALSE(allows(clone->getChild(0)));
}

TEST_F(NodePermission, GivenCloneOfNodeInLockedPart_Refuses) {
    const osg::NodePtr single = addNode(part, "single", makeGeometry());
    const osg::NodePtr clone = cloneOf(single);
    ktNodeMarks::setLocked(part, true);
    EXPECT_FALSE(allows(clone));
}

TEST_F(NodePermission, GivenTreeOutsideTheScene_AnswersForItself) {
    const osg::NodePtr outside = addNode(temporaryRoot, "outside", makeGeometry());
    const osg::NodePtr bare = addNode(temporaryRoot, "bare");
    bare->setCore(osg::NullFC);
    EXPECT_TRUE(allows(outside));
    ktNodeMarks::setLocked(temporaryRoot, true);
    EXPECT_FALSE(allows(outside));
    EXPECT_FALSE(allows(bare));
}

TEST_F(NodePermission, GivenManyInstancesInLockedAndFreePlaces_AsksEachCoreOnceAnOperation) {
    // Without the cache this would take on the order of a billion steps.
    for (int i = 0; i < 20000; ++i)
        addNode(part, {}, geometry);
    ktNodeMarks::setLocked(part, true);
    std::vector<osg::NodePtr> clones;
    for (int i = 0; i < 20000; ++i)
        clones.push_back(cloneOf(second));
    ktController::setBusy(true, false);
    for (const osg::NodePtr& clone : clones)
        ASSERT_TRUE(allows(clone));
    ktNodeMarks::setLocked(second, true);
    for (const osg::NodePtr& clone : clones)
        ASSERT_FALSE(allows(clone));
}

TEST_F(NodePermission, GivenChangeDuringOperation_AnswersAnew) {
    const osg::NodePtr clone = cloneOf(part)->getChild(0);
    ktController::setBusy(true, false);
    ktNodeMarks::setLocked(part, true);
    EXPECT_TRUE(allows(clone));
    ktNodeMarks::setLocked(second, true);
    EXPECT_FALSE(allows(clone));
    ktNodeMarks::setLocked(part, false);
    EXPECT_TRUE(allows(clone));
}

TEST_F(NodePermission, GivenNextOperation_SeesTheSceneAsItIsThen) {
    const osg::NodePtr clone = cloneOf(part)->getChild(0);
    ktNodeMarks::setLocked(part, true);
    ktController::setBusy(true, false);
    EXPECT_TRUE(allows(clone));
    ktController::setBusy(false, false);
    part->addChild(second); // into the locked part
    EXPECT_FALSE(allows(clone));
    ktController::setBusy(true, false);
    EXPECT_FALSE(allows(clone));
}

TEST_F(NodePermission, GivenTwoTreesOutsideTheSceneWithOneCore_EachAnswersForItself) {
    const osg::GeometryPtr shared = makeGeometry();
    const osg::NodePtr locked = addNode(temporaryRoot, "locked", shared);
    const osg::NodePtr open = addNode(temporaryRoot, "open", shared);
    ktNodeMarks::setLocked(locked, true);
    ktController::setBusy(true, false);
    EXPECT_FALSE(allows(locked));
    EXPECT_TRUE(allows(open));
}
