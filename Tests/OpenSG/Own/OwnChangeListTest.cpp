// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our change lists have: joined entries, a limit, edits that call nothing, threads without a list.
#include "ChangesFixture.h"

#include <OpenSG/OSGTransform.h>

#include <thread>

using namespace osg;

namespace {

class OwnChanges : public Changes {
protected:
    ~OwnChanges() override { FieldContainerPtr::_ignore_change = false; }
};

} // namespace

TEST_F(OwnChanges, GivenIgnoreChange_EntersTheEditAndCallsNothing) {
    const TransformPtr transform = Transform::create();
    node->setCore(transform);
    node->updateVolume();
    list.clearAll();
    FieldContainerPtr::_ignore_change = true;
    endEditCP(transform, Transform::MatrixFieldMask);
    EXPECT_EQ(Transform::MatrixFieldMask, changesOf(transform));
    EXPECT_TRUE(node->getVolume().isValid());
    FieldContainerPtr::_ignore_change = false;
    endEditCP(transform, Transform::MatrixFieldMask);
    EXPECT_FALSE(node->getVolume().isValid());
}

TEST_F(OwnChanges, GivenEntriesOfOneContainer_AreJoinedWhenCompacted) {
    const NodeRefPtr other(Node::create());
    list.clearAll();
    list.addChanged(node.get(), Node::CoreFieldMask);
    list.addChanged(other.get(), Node::CoreFieldMask);
    list.addChanged(node.get(), Node::TravMaskFieldMask);
    list.compactChanged();
    ASSERT_EQ(2u, list.sizeChanged());
    EXPECT_EQ(ChangeList::ChangeEntry(node.get().getFieldContainerId(), Node::CoreFieldMask | Node::TravMaskFieldMask),
              *list.beginChanged());
}

TEST_F(OwnChanges, GivenLimit_CompactsByItself) {
    ChangeList::setMaxChangedSize(10);
    for (int i = 0; i < 1000; ++i)
        list.addChanged(node.get(), Node::CoreFieldMask);
    EXPECT_GE(12u, list.sizeChanged());
    ChangeList::setMaxChangedSize(0);
}

TEST_F(OwnChanges, GivenThreadThatAsksForNoList_HasNone) {
    ChangeList* others = &list;
    std::thread([&] {
        endEditCP(node.get(), Node::CoreFieldMask);
        others = Thread::getCurrentChangeList();
    }).join();
    EXPECT_EQ(nullptr, others);
    EXPECT_EQ(0u, changesOf(node.get()));
}

TEST_F(OwnChanges, GivenEditInAnExternalThread_IsInItsList) {
    ExternalThread* const worker = ExternalThread::get("editor");
    bool recorded = false;
    ChangeList::setReadWriteDefault(true);
    std::thread([&] {
        worker->initialize(0);
        endEditCP(node.get(), Node::CoreFieldMask);
        recorded = Thread::getCurrentChangeList()->sizeChanged() > 0;
    }).join();
    ChangeList::setReadWriteDefault(false);
    EXPECT_TRUE(recorded);
    EXPECT_EQ(0u, changesOf(node.get()));
    bool silent = false;
    std::thread([&] {
        worker->initialize(0);
        endEditCP(node.get(), Node::CoreFieldMask);
        silent = Thread::getCurrentChangeList()->empty();
    }).join();
    EXPECT_TRUE(silent) << "read-only by default";
}
