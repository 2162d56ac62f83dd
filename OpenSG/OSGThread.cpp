// SPDX-License-Identifier: LGPL-2.1-or-later
// Owns the change list of each thread, and tolerates destructors that run after the thread's end.
#include "OSGThread.h"

#include "OSGChangeList.h"

#include <memory>

OSG_BEGIN_NAMESPACE

namespace {

// Containers can be destroyed after the thread's other objects, for example by static destructors. The pointer has no
// destructor, so it can be read even then.
thread_local ChangeList* currentList = nullptr;
thread_local bool threadIsEnding = false;

struct ListOwner {
    std::unique_ptr<ChangeList> list = std::make_unique<ChangeList>();

    ~ListOwner() {
        currentList = nullptr;
        threadIsEnding = true;
    }
};

} // namespace

ChangeList* Thread::getCurrentChangeList() {
    if (currentList == nullptr && !threadIsEnding) {
        static thread_local ListOwner owner;
        currentList = owner.list.get();
    }
    return currentList;
}

OSG_END_NAMESPACE
