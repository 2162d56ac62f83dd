// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that many threads may count references, and create and destroy trees, at the same time.
#include <gtest/gtest.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSwitch.h>
#include <set>
#include <thread>

using namespace osg;

namespace {

template <class WorkT>
void runInThreads(const int count, WorkT work) {
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

TEST(Threads, GivenManyThreads_CountReferencesOfOneContainer) {
    const GroupRefPtr group(Group::create());
    runInThreads(4, [&group](int) {
        for (int i = 0; i < 20000; ++i) {
            addRefCP(group);
            subRefCP(group);
        }
        addRefCP(group);
    });
    EXPECT_EQ(5, group.get().getRefCount());
    for (int i = 0; i < 4; ++i)
        subRefCP(group);
}

TEST(Threads, GivenManyThreads_TheLastReferenceDestroysOnce) {
    for (int round = 0; round < 200; ++round) {
        const GroupPtr group = Group::create();
        const UInt32 id = group.getFieldContainerId();
        for (int i = 0; i < 4; ++i)
            addRefCP(group);
        runInThreads(4, [&group](int) { subRefCP(group); });
        EXPECT_TRUE(FieldContainerFactory::the()->getContainer(id) == NullFC);
    }
}

TEST(Threads, GivenManyThreads_MakeAndDestroyTreesOfTheirOwn) {
    std::vector<std::vector<UInt32>> ids(4);
    runInThreads(4, [&ids](const int thread) {
        for (int i = 0; i < 500; ++i) {
            const NodeRefPtr root(makeNodeFor(Switch::create()));
            root->addChild(makeNodeFor(Group::create()));
            const NodeRefPtr clone(cloneTree(root));
            ids[size_t(thread)].push_back(root.get().getFieldContainerId());
        }
    });
    std::set<UInt32> different;
    for (const auto& ofThread : ids)
        different.insert(ofThread.begin(), ofThread.end());
    EXPECT_EQ(2000u, different.size());
}
