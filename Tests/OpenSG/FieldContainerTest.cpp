// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests reference counting, pointers, types and factory of field containers.
#include "ByLibrary.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>
#include <sstream>

using namespace osg;

namespace {

bool isAlive(UInt32 id) {
    return FieldContainerFactory::the()->getContainer(id) != NullFC;
}

} // namespace

TEST(FieldContainer, GivenNewContainer_HasNoReferenceAndANumberOfItsOwn) {
    const GroupPtr a = Group::create();
    const GroupPtr b = Group::create();
    EXPECT_EQ(0, a.getRefCount());
    EXPECT_NE(0u, a.getFieldContainerId());
    EXPECT_NE(a.getFieldContainerId(), b.getFieldContainerId());
    EXPECT_EQ(a, FieldContainerFactory::the()->getContainer(a.getFieldContainerId()));
    subRefCP(a);
    subRefCP(b);
}

TEST(FieldContainer, GivenLastReferenceTaken_IsDestroyedAndItsNumberIsNotUsedAgain) {
    const GroupPtr group = Group::create();
    const UInt32 id = group.getFieldContainerId();
    addRefCP(group);
    addRefCP(group);
    EXPECT_EQ(2, group.getRefCount());
    subRefCP(group);
    EXPECT_TRUE(isAlive(id));
    subRefCP(group);
    EXPECT_FALSE(isAlive(id));
    const GroupRefPtr other(Group::create());
    EXPECT_GT(other.get().getFieldContainerId(), id);
}

TEST(FieldContainer, GivenContainerWithoutReference_SubRefDestroysIt) {
    const GroupPtr group = Group::create();
    const UInt32 id = group.getFieldContainerId();
    subRefCP(group);
    EXPECT_FALSE(isAlive(id));
}

TEST(FieldContainer, GivenClearRef_ThePointerIsNull) {
    GroupPtr group = Group::create();
    const UInt32 id = group.getFieldContainerId();
    addRefCP(group);
    clearRefCP(group);
    EXPECT_TRUE(group == NullFC);
    EXPECT_FALSE(isAlive(id));
}

TEST(FieldContainer, GivenSetRefd_ReferencesTheNewAndReleasesTheOld) {
    GroupPtr place;
    const GroupPtr a = Group::create(), b = Group::create();
    const UInt32 idOfA = a.getFieldContainerId();
    setRefdCP(place, a);
    setRefdCP(place, a);
    EXPECT_EQ(1, a.getRefCount());
    setRefdCP(place, b);
    EXPECT_FALSE(isAlive(idOfA));
    EXPECT_EQ(1, b.getRefCount());
    clearRefCP(place);
}

TEST(FieldContainerPtr, GivenNull_ComparesAndConverts) {
    NodePtr node = NullFC;
    EXPECT_TRUE(node == NullFC);
    EXPECT_TRUE(NullFC == node);
    EXPECT_FALSE(node != NullFC);
    EXPECT_TRUE(!node);
    EXPECT_FALSE(bool(node));
    NodeRefPtr owner(Node::create());
    node = owner;
    EXPECT_TRUE(node != NullFC);
    EXPECT_TRUE(bool(node));
    node = NullFC;
    EXPECT_TRUE(node == NullFC);
}

TEST(FieldContainerPtr, GivenDcast_FollowsTheClasses) {
    const TransformRefPtr transform(Transform::create());
    const NodeCorePtr core = transform.get();
    EXPECT_TRUE(TransformPtr::dcast(core) == transform.get());
    EXPECT_TRUE(GroupPtr::dcast(core) == transform.get()) << "a transform is a group";
    EXPECT_TRUE(GeometryPtr::dcast(core) == NullFC);
    EXPECT_TRUE(NodePtr::dcast(core) == NullFC);
    EXPECT_TRUE(TransformPtr::dcast(NodeCorePtr()) == NullFC);
}

TEST(FieldContainerPtr, GivenOrder_IsThatOfTheAddresses) {
    const GroupRefPtr a(Group::create()), b(Group::create());
    EXPECT_NE(a.get() < b.get(), b.get() < a.get());
    EXPECT_FALSE(a.get() < a.get());
}

TEST(FieldContainerPtr, GivenStream_WritesTypeAndNumber) {
    const GroupRefPtr group(Group::create());
    std::ostringstream text, null;
    text << group.get();
    null << GroupPtr();
    if (isOpenSG18) {
        EXPECT_NE(std::string::npos, text.str().find(":GroupPtr(0x")) << text.str();
        EXPECT_NE(std::string::npos, null.str().find(":NullFC")) << null.str();
    } else {
        EXPECT_EQ("Group(" + std::to_string(group.get().getFieldContainerId()) + ")", text.str());
        EXPECT_EQ("NullFC", null.str());
    }
}

TEST(RefPtr, GivenScope_HoldsOneReference) {
    const GroupPtr group = Group::create();
    const UInt32 id = group.getFieldContainerId();
    {
        GroupRefPtr first(group);
        EXPECT_EQ(1, group.getRefCount());
        GroupRefPtr second(first);
        EXPECT_EQ(2, group.getRefCount());
        GroupRefPtr third;
        third = second;
        EXPECT_EQ(3, group.getRefCount());
        third = third.get();
        EXPECT_EQ(3, group.getRefCount());
        third = NullFC;
        EXPECT_EQ(2, group.getRefCount());
        GroupRefPtr moved(std::move(second));
        EXPECT_EQ(byLibrary(2, 3), group.getRefCount()) << "OpenSG 1.8 copies it";
        EXPECT_TRUE(moved == group);
        EXPECT_TRUE(moved == first);
    }
    EXPECT_FALSE(isAlive(id));
}

TEST(FieldContainerType, GivenClass_KnowsNameParentAndKind) {
    const FieldContainerType& type = Transform::getClassType();
    EXPECT_STREQ("Transform", type.getCName());
    EXPECT_TRUE(type.getParent() == &Group::getClassType());
    EXPECT_TRUE(type.isDerivedFrom(type));
    EXPECT_TRUE(type.isDerivedFrom(NodeCore::getClassType()));
    EXPECT_TRUE(type.isDerivedFrom(FieldContainer::getClassType()));
    EXPECT_FALSE(type.isDerivedFrom(Geometry::getClassType()));
    EXPECT_TRUE(type.isNodeCore());
    EXPECT_FALSE(type.isNode());
    EXPECT_FALSE(type.isAttachment());
    EXPECT_TRUE(Node::getClassType().isNode());
    EXPECT_TRUE(GeoPositions3f::getClassType().isAttachment());
    EXPECT_TRUE(NodeCore::getClassType().isAbstract());
    EXPECT_FALSE(type.isAbstract());
}

TEST(FieldContainerType, GivenObject_TellsItsOwnClass) {
    const GroupRefPtr core(Transform::create());
    EXPECT_TRUE(core->getType() == Transform::getClassType());
    EXPECT_TRUE(core->getType() != Group::getClassType());
    EXPECT_EQ(sizeof(Transform), core->getContainerSize());
}

TEST(FieldContainerType, GivenPrototype_CreateCopiesIt) {
    const TransformRefPtr old(TransformPtr::dcast(Transform::getClassType().getPrototype()));
    const TransformRefPtr prototype(Transform::createEmpty());
    prototype->getMatrix().setTranslate(1, 2, 3);
    EXPECT_TRUE(Transform::getClassType().setPrototype(prototype.get()));
    EXPECT_FALSE(Transform::getClassType().setPrototype(NullFC));
    const TransformRefPtr made(Transform::create());
    EXPECT_EQ(Vec4f(1, 2, 3, 1), made->getMatrix()[3]);
    const TransformRefPtr empty(Transform::createEmpty());
    EXPECT_EQ(Vec4f(0, 0, 0, 1), empty->getMatrix()[3]);
    Transform::getClassType().setPrototype(old.get());
}

TEST(FieldContainerFactory, GivenTypeName_CreatesContainers) {
    FieldContainerFactory* const factory = FieldContainerFactory::the();
    EXPECT_TRUE(factory->findType("Switch") != nullptr);
    EXPECT_TRUE(factory->findType(Transform::getClassTypeId()) == &Transform::getClassType());
    EXPECT_TRUE(factory->findType("No such type") == nullptr);
    EXPECT_TRUE(factory->findType(0u) == nullptr);
    const FieldContainerRefPtr core(factory->createFieldContainer("Transform"));
    EXPECT_TRUE(TransformPtr::dcast(core.get()) != NullFC);
    EXPECT_TRUE(factory->createFieldContainer("NodeCore") == NullFC) << "abstract";
    EXPECT_TRUE(factory->createFieldContainer("No such type") == NullFC);
    EXPECT_TRUE(factory->createNode("Transform") == NullFC) << "of another kind";
    const NodeCoreRefPtr group(factory->createNodeCore("Group"));
    EXPECT_TRUE(group != NullFC);
    const NodeRefPtr node(factory->createNode("Node"));
    EXPECT_TRUE(node != NullFC);
    const AttachmentRefPtr attachment(factory->createAttachment("GeoNormals3f"));
    EXPECT_TRUE(GeoNormals3fPtr::dcast(attachment.get()) != NullFC);
}

TEST(FieldContainerFactory, GivenGroupName_FindsItsNumber) {
    FieldContainerFactory* const factory = FieldContainerFactory::the();
    const UInt16 id = GeoPositions3f::getClassType().getGroupId();
    EXPECT_EQ(id, factory->findGroupId("GeoPositions"));
    EXPECT_EQ(id, GeoPositions2f::getClassType().getGroupId());
    EXPECT_STREQ("GeoPositions", factory->findGroupName(id));
    EXPECT_EQ(0, factory->findGroupId("No such group"));
    EXPECT_TRUE(factory->findGroupName(60000) == nullptr);
}
