// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how nodes link to parents, children and cores, their world matrices, and copies of trees.
#include "ByLibrary.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGTransform.h>

using namespace osg;

namespace {

bool isAlive(UInt32 id) {
    return FieldContainerFactory::the()->getContainer(id) != NullFC;
}

NodePtr makeGroupNode() {
    return makeNodeFor(Group::create());
}

NodePtr makeTransformNode(const Matrix& matrix) {
    const TransformPtr core = Transform::create();
    core->setMatrix(matrix);
    return makeNodeFor(core);
}

} // namespace

TEST(Node, GivenNewNode_IsVisibleAndAlone) {
    const NodeRefPtr node(Node::create());
    EXPECT_EQ(0xFFFFFFFFu, node->getTravMask());
    EXPECT_TRUE(node->getActive());
    EXPECT_TRUE(node->getParent() == NullFC);
    EXPECT_TRUE(node->getCore() == NullFC);
    EXPECT_EQ(0u, node->getNChildren());
    node->setTravMask(0x7FFFFFFF);
    EXPECT_FALSE(node->getActive()) << "one bit less is not visible everywhere";
}

TEST(Node, GivenChild_IsReferencedAndKnowsItsParent) {
    NodeRefPtr parent(makeGroupNode());
    const NodePtr child = makeGroupNode();
    const UInt32 id = child.getFieldContainerId();
    parent->addChild(child);
    EXPECT_EQ(1, child.getRefCount());
    EXPECT_TRUE(child->getParent() == parent.get());
    EXPECT_TRUE(parent->getChild(0) == child);
    parent = NullFC;
    EXPECT_FALSE(isAlive(id)) << "destroyed with its parent";
}

TEST(Node, GivenChildThatIsKept_OutlivesItsParentWithoutOne) {
    NodeRefPtr parent(makeGroupNode());
    const NodeRefPtr child(makeGroupNode());
    parent->addChild(child.get());
    parent = NullFC;
    EXPECT_EQ(1, child.get().getRefCount());
    EXPECT_TRUE(child->getParent() == NullFC);
}

TEST(Node, GivenChildOfAnotherNode_Moves) {
    const NodeRefPtr a(makeGroupNode()), b(makeGroupNode());
    const NodePtr child = makeGroupNode();
    a->addChild(child);
    b->addChild(child);
    EXPECT_EQ(0u, a->getNChildren());
    EXPECT_TRUE(child->getParent() == b.get());
    EXPECT_EQ(1, child.getRefCount());
}

TEST(Node, GivenChildAddedTwice_ComesLast) {
    const NodeRefPtr parent(makeGroupNode());
    const NodePtr a = makeGroupNode(), b = makeGroupNode();
    parent->addChild(a);
    parent->addChild(b);
    parent->addChild(a);
    ASSERT_EQ(2u, parent->getNChildren());
    EXPECT_TRUE(parent->getChild(1) == a);
    EXPECT_EQ(1, a.getRefCount());
}

TEST(Node, GivenInsertedChildren_StandInOrder) {
    const NodeRefPtr parent(makeGroupNode());
    const NodePtr a = makeGroupNode(), b = makeGroupNode(), c = makeGroupNode();
    parent->addChild(a);
    parent->insertChild(0, b);
    parent->insertChild(2, c);
    parent->addChild(NullFC);
    ASSERT_EQ(3u, parent->getNChildren());
    EXPECT_EQ(1, parent->findChild(a));
    EXPECT_EQ(0, parent->findChild(b));
    EXPECT_EQ(2, parent->findChild(c));
    EXPECT_EQ(-1, parent->findChild(parent.get()));
}

TEST(Node, GivenReplacedChild_TheOldOneGoes) {
    const NodeRefPtr parent(makeGroupNode());
    const NodePtr a = makeGroupNode(), b = makeGroupNode(), c = makeGroupNode();
    const UInt32 idOfA = a.getFieldContainerId();
    parent->addChild(a);
    parent->addChild(b);
    EXPECT_TRUE(parent->replaceChildBy(a, c));
    EXPECT_FALSE(isAlive(idOfA));
    EXPECT_TRUE(parent->getChild(0) == c);
    EXPECT_TRUE(c->getParent() == parent.get());
    EXPECT_FALSE(parent->replaceChildBy(parent.get(), makeGroupNode()));
    parent->replaceChild(0, b);
    ASSERT_EQ(1u, parent->getNChildren()) << "a child that replaces its sibling leaves its own place";
    EXPECT_TRUE(parent->getChild(0) == b);
    EXPECT_EQ(1, b.getRefCount());
}

TEST(Node, GivenRemovedChild_IsDestroyedUnlessKept) {
    const NodeRefPtr parent(makeGroupNode());
    const NodeRefPtr kept(makeGroupNode());
    const NodePtr lost = makeGroupNode();
    const UInt32 id = lost.getFieldContainerId();
    parent->addChild(kept.get());
    parent->addChild(lost);
    parent->subChild(1u);
    EXPECT_FALSE(isAlive(id));
    parent->subChild(kept.get());
    EXPECT_EQ(0u, parent->getNChildren());
    EXPECT_TRUE(kept->getParent() == NullFC);
}

TEST(Node, GivenStrangerToRemove_Warns) {
    const NodeRefPtr parent(makeGroupNode()), stranger(makeGroupNode());
    testing::internal::CaptureStderr();
    parent->subChild(stranger.get());
    const char* const expected = byLibrary("no child", "not one of my children");
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find(expected));
}

TEST(Node, GivenCore_IsReferencedAndKnowsItsNodes) {
    const GroupPtr core = Group::create();
    const UInt32 id = core.getFieldContainerId();
    NodeRefPtr a(makeNodeFor(core)), b(makeNodeFor(core));
    EXPECT_EQ(2, core.getRefCount());
    ASSERT_EQ(2u, core->getParents().size());
    EXPECT_TRUE(core->getParents()[0] == a.get());
    EXPECT_EQ(2u, core->getMFParents()->size());
    a = NullFC;
    ASSERT_EQ(1u, core->getParents().size());
    EXPECT_TRUE(core->getParents()[0] == b.get());
    b->setCore(NullFC);
    EXPECT_FALSE(isAlive(id));
    EXPECT_TRUE(b->getCore() == NullFC);
}

TEST(Node, GivenSameCoreAgain_StaysAlive) {
    const NodeRefPtr node(makeGroupNode());
    const NodeCorePtr core = node->getCore();
    node->setCore(core);
    EXPECT_EQ(1, core.getRefCount());
    EXPECT_EQ(1u, core->getParents().size());
    EXPECT_EQ(isOpenSG18, NodeRefPtr(makeNodeFor(NullFC)) != NullFC);
}

TEST(Node, GivenTransformsAbove_ToWorldIsTheirProductFromTheRoot) {
    Matrix move, turn, scale;
    move.setTranslate(10, 0, 0);
    turn.setTransform(Quaternion(Vec3f(0, 0, 1), Pi / 2));
    scale.setScale(2);
    const NodeRefPtr root(makeTransformNode(move));
    const NodePtr middle = makeTransformNode(turn), group = makeGroupNode(), leaf = makeTransformNode(scale);
    const NodePtr coreless = Node::create();
    root->addChild(middle);
    middle->addChild(coreless);
    coreless->addChild(group);
    group->addChild(leaf);

    Matrix expected = move;
    expected.mult(turn);
    EXPECT_EQ(expected, group->getToWorld());
    expected.mult(scale);
    EXPECT_EQ(expected, leaf->getToWorld()) << "the node's own transformation included";
    Pnt3f point(1, 0, 0);
    leaf->getToWorld().multMatrixPnt(point);
    EXPECT_TRUE(point.equals(Pnt3f(10, 2, 0), 1e-5f));
    Matrix result;
    root->getToWorld(result);
    EXPECT_EQ(move, result);
}

TEST(Node, GivenCopiedNode_HasItsCoreMaskAndAttachmentsButNoRelatives) {
    const NodeRefPtr root(makeGroupNode());
    const NodePtr node = makeGroupNode();
    root->addChild(node);
    node->addChild(makeGroupNode());
    node->setTravMask(5);
    setName(node, "original");
    const FieldContainerRefPtr container(node->shallowCopy());
    const NodePtr copy = NodePtr::dcast(container.get());
    EXPECT_EQ(5u, copy->getTravMask());
    EXPECT_STREQ("original", getName(copy));
    EXPECT_TRUE(copy->getParent() == NullFC);
    EXPECT_TRUE(copy->getCore() == node->getCore());
    EXPECT_EQ(2u, node->getCore()->getParents().size());
    EXPECT_EQ(0u, copy->getNChildren());
    EXPECT_FALSE(copy->getVolume().isValid());
}

TEST(CloneTree, GivenTree_SharesCoresAndMasksAndLeavesAttachments) {
    const NodeRefPtr root(makeGroupNode());
    const NodePtr a = makeGroupNode(), b = makeTransformNode(Matrix()), c = makeGroupNode();
    root->addChild(a);
    root->addChild(b);
    b->addChild(c);
    b->setTravMask(0x0F);
    setName(root.get(), "root");
    setName(c, "c");

    const NodeRefPtr clone(root->clone());
    EXPECT_EQ(1, clone.get().getRefCount());
    EXPECT_TRUE(clone->getParent() == NullFC);
    EXPECT_TRUE(clone != root);
    EXPECT_TRUE(clone->getCore() == root->getCore());
    ASSERT_EQ(2u, clone->getNChildren());
    const NodePtr cloneOfB = clone->getChild(1);
    EXPECT_TRUE(cloneOfB->getCore() == b->getCore());
    EXPECT_EQ(0x0Fu, cloneOfB->getTravMask());
    EXPECT_EQ(0xFFFFFFFFu, clone->getTravMask());
    ASSERT_EQ(1u, cloneOfB->getNChildren());
    EXPECT_TRUE(cloneOfB->getChild(0)->getCore() == c->getCore());
    EXPECT_TRUE(getName(clone.get()) == nullptr);
    EXPECT_TRUE(getName(cloneOfB->getChild(0)) == nullptr);
    EXPECT_EQ(2, c->getCore().getRefCount());
    EXPECT_STREQ("c", getName(c)) << "the original keeps its own";
}

TEST(CloneTree, GivenNull_GivesNull) {
    EXPECT_TRUE(cloneTree(NullFC) == NullFC);
}

TEST(CloneTree, GivenNodeWithoutCore_ClonesIt) {
    const NodeRefPtr root(Node::create());
    root->addChild(makeGroupNode());
    const NodeRefPtr clone(cloneTree(root));
    EXPECT_TRUE(clone->getCore() == NullFC);
    EXPECT_EQ(1u, clone->getNChildren());
}
