// SPDX-License-Identifier: LGPL-2.1-or-later
// A tree with a million levels, in a thread with a small stack: recursion once per level would overflow it.
#include <gtest/gtest.h>
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>
#include <pthread.h>

using namespace osg;

namespace {

constexpr UInt32 depth = 1000000;
constexpr size_t stackSize_bytes = size_t(256) * 1024;

/// Runs work in a thread with a small stack and waits for it.
template <class WorkT>
void runOnSmallStack(WorkT work) {
    pthread_attr_t attributes;
    pthread_t thread = 0;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, stackSize_bytes));
    const auto call = [](void* argument) -> void* {
        (*static_cast<WorkT*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(0, pthread_create(&thread, &attributes, call, &work));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    pthread_attr_destroy(&attributes);
}

/// Creates a chain of nodes below a new root. Returns the lowest one. core: of all nodes; null: a group for each.
NodePtr makeChain(NodeRefPtr& root, const NodeCorePtr& core) {
    root = makeNodeFor(core == NullFC ? NodeCorePtr(Group::create()) : core);
    NodePtr lowest = root;
    for (UInt32 i = 1; i < depth; ++i) {
        const NodePtr child = makeNodeFor(core == NullFC ? NodeCorePtr(Group::create()) : core);
        lowest->addChild(child);
        lowest = child;
    }
    return lowest;
}

UInt32 countNodes(const NodePtr& root) {
    UInt32 count = 0;
    traverse(root, [&count](NodePtr&) {
        ++count;
        return Action::Continue;
    });
    return count;
}

} // namespace

TEST(DeepTree, GivenMillionLevels_IsBuiltTraversedClonedAndDestroyed) {
    runOnSmallStack([] {
        delete new int; // initialises the thread's allocator before memory is measured
        const NodeRefPtr warmUp(makeNodeFor(Group::create()));
        const UInt32 before = FieldContainerFactory::the()->getNumContainers();
        NodeRefPtr root;
        makeChain(root, NullFC);
        EXPECT_EQ(depth, countNodes(root));

        UInt32 left = 0;
        traverse(
            root, [](NodePtr&) { return Action::Continue; },
            [&left](NodePtr&, Action::ResultE result) {
                ++left;
                return result;
            });
        EXPECT_EQ(depth, left);

        NodeRefPtr clone(cloneTree(root));
        EXPECT_EQ(depth, countNodes(clone));
        clone = NullFC;
        root = NullFC;
        EXPECT_EQ(before, FieldContainerFactory::the()->getNumContainers());
    });
}

TEST(DeepTree, GivenMillionLevelsOfOneCore_IsBuiltClonedAndDestroyed) {
    runOnSmallStack([] {
        const RefPtr<TransformPtr> core(Transform::create());
        NodeRefPtr root;
        const NodePtr lowest = makeChain(root, core.get());
        core->getMatrix().setTranslate(1, 0, 0);
        EXPECT_NEAR(Real32(depth), lowest->getToWorld()[3][0], 1.0f);
        NodeRefPtr clone(cloneTree(root));
        EXPECT_EQ(2 * depth, core->getParents().size());
        root = NullFC;
        EXPECT_EQ(depth, core->getParents().size());
        clone = NullFC;
        EXPECT_EQ(0u, core->getParents().size());
        EXPECT_EQ(1, core.get().getRefCount());
    });
}

TEST(DeepTree, GivenMillionLevels_VolumesAreUpdatedAndInvalidated) {
    runOnSmallStack([] {
        NodeRefPtr root;
        const NodePtr lowest = makeChain(root, NullFC);
        EXPECT_TRUE(root->getVolume(true).isValid());
        EXPECT_TRUE(lowest->getVolume().isValid());
        lowest->invalidateVolume();
        EXPECT_FALSE(root->getVolume().isValid());
        endEditCP(lowest);
        root->updateVolume();
        EXPECT_TRUE(lowest->getVolume().isValid());
    });
}

TEST(DeepTree, GivenManyNodesWithOneCore_LeaveItInAnyOrder) {
    // Like the instances of a part when a scene is closed.
    const GroupRefPtr core(Group::create());
    for (const bool fromTheFront : {true, false}) {
        const NodeRefPtr root(makeNodeFor(Group::create()));
        constexpr UInt32 count = 200000;
        std::vector<NodePtr> nodes;
        for (UInt32 i = 0; i < count; ++i)
            nodes.push_back(makeNodeFor(core.get()));
        for (UInt32 i = 0; i < count; ++i)
            subRefCP(nodes[fromTheFront ? i : count - 1 - i]);
        EXPECT_EQ(0u, core->getParents().size());
    }
}
