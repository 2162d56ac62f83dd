// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which edits, creations and destructions the change lists record, and how lists merge.
#include "ChangesFixture.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGThread.h>
#include <OpenSG/OSGTransform.h>
#include <thread>

using namespace osg;

TEST_F(Changes, GivenEdit_EntersContainerAndFields) {
    beginEditCP(node.get(), Node::TravMaskFieldMask);
    EXPECT_EQ(0u, list.sizeChanged()) << "not before the end of the edit";
    node->setTravMask(0);
    EXPECT_EQ(0u, list.sizeChanged()) << "setters announce nothing";
    endEditCP(node.get(), Node::TravMaskFieldMask);
    ASSERT_LE(1u, list.sizeChanged());
    EXPECT_EQ(ChangeList::ChangeEntry(node.get().getFieldContainerId(), Node::TravMaskFieldMask), *list.beginChanged());
}

TEST_F(Changes, GivenAllFields_HasEveryBit) {
    endEditCP(node.get());
    EXPECT_EQ(~BitVector(0), changesOf(node.get()));
}

TEST_F(Changes, GivenAddChanged_EntersItAndCallsNothing) {
    node->updateVolume();
    list.clearAll();
    list.addChanged(node.get(), Node::ChildrenFieldMask);
    EXPECT_EQ(1u, list.sizeChanged());
    EXPECT_TRUE(node->getVolume().isValid());
    endEditNotChangedCP(node.get(), Node::ChildrenFieldMask);
    EXPECT_EQ(2u, list.sizeChanged());
    EXPECT_TRUE(node->getVolume().isValid());
}

TEST_F(Changes, GivenChangedCP_CallsChangedAndEntersNothingForTheContainer) {
    const TransformPtr transform = Transform::create();
    node->setCore(transform);
    node->updateVolume();
    list.clearAll();
    changedCP(transform, Transform::MatrixFieldMask);
    EXPECT_EQ(0u, changesOf(transform));
    EXPECT_FALSE(node->getVolume().isValid());
}

TEST_F(Changes, GivenNewNode_TellsThatItsVolumeIsOutOfDate) {
    const NodeRefPtr created(Node::create());
    EXPECT_EQ(Node::VolumeFieldMask, changesOf(created.get()));
    EXPECT_FALSE(created->getVolume().isValid());
    list.clearAll();
    created->updateVolume();
    EXPECT_EQ(Node::VolumeFieldMask, changesOf(created.get()));
    EXPECT_TRUE(created->getVolume().isValid());
}

TEST_F(Changes, GivenTraversalMaskOfAChild_TellsOfTheParentsVolume) {
    const NodePtr child = Node::create();
    node->addChild(child);
    list.clearAll();
    EXPECT_FALSE(node->getVolume().isValid());
    endEditCP(child, Node::TravMaskFieldMask);
    EXPECT_EQ(Node::VolumeFieldMask, changesOf(node.get())) << "even if it was out of date";
}

TEST_F(Changes, GivenSameTexCoordsAgain_TellsOfThem) {
    const RefPtr<GeometryPtr> geometry(Geometry::create());
    const GeoTexCoords2fPtr texCoords = GeoTexCoords2f::create();
    geometry->setTexCoords(texCoords);
    list.clearAll();
    geometry->setTexCoords(texCoords);
    EXPECT_EQ(2u, list.sizeChanged());
    EXPECT_EQ(Attachment::ParentsFieldMask, changesOf(texCoords));
    EXPECT_EQ(1u, list.sizeAddRefd());
    EXPECT_EQ(1u, list.sizeSubRefd());
    EXPECT_EQ(1, texCoords.getRefCount());
    EXPECT_EQ(1u, texCoords->getParents().size());
}

TEST_F(Changes, GivenName_TellsOfAllItsFields) {
    setName(node.get(), "wheel");
    EXPECT_EQ(FieldBits::AllFields, changesOf(node->findAttachment(Name::getClassType())));
}

TEST_F(Changes, GivenNewChild_TellsOfTheChildsParent) {
    const NodePtr child = Node::create();
    list.clearAll();
    node->addChild(child);
    EXPECT_EQ(Node::ParentFieldMask, changesOf(child) & Node::ParentFieldMask);
    ASSERT_EQ(1u, list.sizeAddRefd());
    EXPECT_EQ(child.getFieldContainerId(), *list.beginAddRefd());
}

TEST_F(Changes, GivenNewCore_TellsOfTheCoresParents) {
    const GroupPtr core = Group::create();
    list.clearAll();
    node->setCore(core);
    EXPECT_EQ(NodeCore::ParentsFieldMask, changesOf(core));
}

TEST_F(Changes, GivenProperty_TellsOfItsParents) {
    const GeometryPtr geometry = Geometry::create();
    node->setCore(geometry);
    const GeoPositions3fPtr positions = GeoPositions3f::create();
    list.clearAll();
    geometry->setPositions(positions);
    EXPECT_EQ(Attachment::ParentsFieldMask, changesOf(positions));
    EXPECT_EQ(0u, changesOf(geometry));
}

TEST_F(Changes, GivenBirthAndDeath_EntersBoth) {
    const GroupPtr group = Group::create();
    const UInt32 id = group.getFieldContainerId();
    ASSERT_EQ(1u, list.sizeCreated());
    EXPECT_EQ(id, *list.beginCreated());
    addRefCP(group);
    addRefCP(group);
    subRefCP(group);
    ASSERT_EQ(1u, list.sizeSubRefd());
    EXPECT_EQ(id, *list.beginSubRefd());
    subRefCP(group);
    ASSERT_EQ(1u, list.sizeDestroyed());
    EXPECT_EQ(id, *list.beginDestroyed());
}

TEST_F(Changes, GivenReadOnlyList_RecordsNothing) {
    list.setReadOnly(true);
    endEditCP(node.get());
    addRefCP(node.get());
    subRefCP(node.get());
    EXPECT_TRUE(list.empty());
}

TEST_F(Changes, GivenTwoLists_MergeAndSwap) {
    ChangeList other;
    other.merge(list);
    EXPECT_TRUE(other.empty());
    list.addChanged(node.get(), Node::CoreFieldMask);
    other.swap(list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(1u, other.sizeChanged());
    other.merge(other);
    EXPECT_EQ(2u, other.sizeChanged());
}

TEST_F(Changes, GivenEditorObject_AnnouncesAtTheEndOfTheBlock) {
    const NodePtr edited = node;
    {
        CPEdit(edited, Node::TravMaskFieldMask);
        EXPECT_EQ(0u, changesOf(edited));
    }
    EXPECT_EQ(Node::TravMaskFieldMask, changesOf(edited) & Node::TravMaskFieldMask);
    { CPEditAll(edited); }
    EXPECT_EQ(FieldBits::AllFields, changesOf(edited));
}

TEST_F(Changes, GivenExternalThread_HasAListOfItsOwn) {
    EXPECT_EQ(nullptr, ExternalThread::find("worker"));
    ExternalThread* const worker = ExternalThread::get("worker");
    EXPECT_EQ(worker, ExternalThread::get("worker"));
    EXPECT_EQ(worker, ExternalThread::find("worker"));
    ChangeList* others = nullptr;
    std::thread([&] {
        worker->initialize(0);
        others = Thread::getCurrentChangeList();
    }).join();
    EXPECT_NE(nullptr, others);
    EXPECT_NE(&list, others);
}
