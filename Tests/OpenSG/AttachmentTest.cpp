// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests how containers hold, share, replace and release attachments, and the names of containers.
#include "ByLibrary.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>

using namespace osg;

namespace {

struct NoteDesc {
    typedef SFString FieldTypeT;
    static const Char8* getTypeName() { return "TestNote"; }
    static const Char8* getParentTypeName() { return "Attachment"; }
    static const Char8* getGroupName() { return "TestNote"; }
};
typedef SimpleAttachment<NoteDesc> Note;
typedef Note::PtrType NotePtr;

} // namespace

#ifdef KT_INSTALLED_OPENSG
OSG_BEGIN_NAMESPACE
// OpenSG 1.8 defines the types of its own descriptions only.
template <>
FieldContainerType SimpleAttachment<NoteDesc>::_type("TestNote", "Attachment", "TestNote", []() -> FieldContainerPtr {
    return SimpleAttachment<NoteDesc>::createEmpty();
});
OSG_END_NAMESPACE
#endif

TEST(Attachment, GivenAdded_IsFoundByTypeAndReferenced) {
    const NodeRefPtr node(Node::create());
    const NotePtr note = Note::create();
    node->addAttachment(note);
    EXPECT_EQ(1, note.getRefCount());
    EXPECT_TRUE(node->findAttachment(Note::getClassType()) == note);
    EXPECT_TRUE(node->findAttachment(Note::getClassType().getGroupId()) == note);
    EXPECT_TRUE(node->findAttachment(Name::getClassType()) == NullFC);
    ASSERT_EQ(1u, note->getParents().size());
    EXPECT_TRUE(note->getParents()[0] == node.get());
    EXPECT_EQ(0, note->findParent(node.get()));
}

TEST(Attachment, GivenSecondOfAGroup_DisplacesTheFirst) {
    const NodeRefPtr node(Node::create());
    RefPtr<NotePtr> first(Note::create());
    const NotePtr second = Note::create();
    node->addAttachment(first.get());
    node->addAttachment(second);
    EXPECT_TRUE(node->findAttachment(Note::getClassType()) == second);
    EXPECT_EQ(1, first.get().getRefCount()) << "the node's reference is gone";
    EXPECT_EQ(0u, first->getParents().size());
    node->addAttachment(second);
    EXPECT_EQ(1, second.getRefCount());
    EXPECT_EQ(1u, second->getParents().size());
}

TEST(Attachment, GivenOtherBinding_StandsBesideTheFirst) {
    const NodeRefPtr node(Node::create());
    const NotePtr first = Note::create(), second = Note::create();
    node->addAttachment(first);
    node->addAttachment(second, 1);
    EXPECT_TRUE(node->findAttachment(Note::getClassType()) == first);
    EXPECT_TRUE(node->findAttachment(Note::getClassType(), 1) == second);
    EXPECT_EQ(2u, node->getSFAttachments()->getValue().size());
    node->subAttachment(second, 1);
    EXPECT_TRUE(node->findAttachment(Note::getClassType(), 1) == NullFC);
    EXPECT_TRUE(node->findAttachment(Note::getClassType()) == first);
}

TEST(Attachment, GivenBaseClass_CreatesNone) {
    EXPECT_TRUE(Attachment::create() == NullFC);
    EXPECT_TRUE(Attachment::getClassType().getPrototype() == NullFC);
}

TEST(Attachment, GivenRemoved_IsReleased) {
    const NodeRefPtr node(Node::create());
    RefPtr<NotePtr> note(Note::create());
    node->addAttachment(note.get());
    node->subAttachment(note.get());
    EXPECT_TRUE(node->findAttachment(Note::getClassType()) == NullFC);
    EXPECT_EQ(1, note.get().getRefCount());
    EXPECT_EQ(0u, note->getParents().size());
    node->subAttachment(note.get());
    node->subAttachment(NullFC);
    node->addAttachment(NullFC);
    EXPECT_EQ(1, note.get().getRefCount());
}

TEST(Attachment, GivenSeveralParents_LivesUntilTheLastIsGone) {
    RefPtr<NotePtr> note(Note::create());
    std::vector<NodePtr> nodes;
    for (int i = 0; i < 5; ++i) {
        nodes.push_back(Node::create());
        nodes.back()->addAttachment(note.get());
    }
    EXPECT_EQ(6, note.get().getRefCount());
    for (const int i : {2, 0, 4, 1, 3}) {
        EXPECT_LE(0, note->findParent(nodes[i]));
        const NodePtr node = nodes[i];
        subRefCP(node);
        EXPECT_EQ(-1, note->findParent(node));
    }
    EXPECT_EQ(0u, note->getParents().size());
    EXPECT_EQ(1, note.get().getRefCount());
}

TEST(Attachment, GivenCopiedContainer_IsShared) {
    const GroupRefPtr group(Group::create());
    const NotePtr note = Note::create();
    group->addAttachment(note, 3);
    const FieldContainerRefPtr copy(group->shallowCopy());
    // OpenSG 1.8 loses the binding, and counts a reference once per aspect.
    EXPECT_EQ(!isOpenSG18, GroupPtr::dcast(copy.get())->findAttachment(Note::getClassType(), 3) == note);
    EXPECT_EQ(byLibrary(2, 3), note.getRefCount());
    EXPECT_EQ(byLibrary(2u, 3u), note->getParents().size());
}

TEST(SimpleAttachment, GivenField_KeepsAndCopiesIt) {
    const RefPtr<NotePtr> note(Note::create());
    note->getField().setValue("hello");
    const FieldContainerRefPtr copy(note->shallowCopy());
    EXPECT_EQ("hello", NotePtr::dcast(copy.get())->getFieldPtr()->getValue());
    EXPECT_TRUE(Note::getClassType().isDerivedFrom(Attachment::getClassType()));
}

TEST(Name, GivenNamedContainer_IsReadBack) {
    const NodeRefPtr node(Node::create());
    EXPECT_TRUE(getName(node.get()) == nullptr);
    setName(node.get(), "wheel");
    EXPECT_STREQ("wheel", getName(node.get()));
    setName(node.get(), std::string("door"));
    EXPECT_STREQ("door", getName(node.get()));
    setName(node.get(), "");
    EXPECT_STREQ("", getName(node.get()));
    const Char8* const none = nullptr;
    setName(node.get(), none);
    EXPECT_TRUE(getName(node.get()) == nullptr);
    EXPECT_TRUE(getName(NodePtr()) == nullptr);
}

TEST(Name, GivenNullContainer_WarnsAndGoesOn) {
    testing::internal::CaptureStderr();
    setName(NodePtr(), "nobody");
    const char* const expected = byLibrary("nobody", "no container");
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find(expected));
}
