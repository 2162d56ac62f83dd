// SPDX-License-Identifier: LGPL-2.1-or-later
// Owns the change list of each thread, and tolerates destructors that run after the thread's end.
#include "OSGThread.h"

#include "OSGChangeList.h"

#include <climits>
#include <pthread.h>

OSG_BEGIN_NAMESPACE

namespace {

// Containers can be destroyed after the thread's other objects, for example by static destructors. The pointer has no
// destructor, so it can be read even then.
thread_local ChangeList* currentList = nullptr;
thread_local bool threadIsEnding = false;

void onThreadEnd(void* list) {
    currentList = nullptr;
    threadIsEnding = true;
    delete static_cast<ChangeList*>(list);
}

// A key with a destructor instead of a thread_local object: the system would end the process if it had no memory to
// note the destructor of such an object. The main thread keeps its list until the end of the process.
pthread_key_t makeKey() {
    pthread_key_t key;
    return pthread_key_create(&key, onThreadEnd) == 0 ? key : PTHREAD_KEYS_MAX;
}

} // namespace

ChangeList* Thread::getCurrentChangeList() {
    if (currentList == nullptr && !threadIsEnding) {
        static const pthread_key_t key = makeKey();
        currentList = new ChangeList;
        pthread_setspecific(key, currentList); // without a key, the list stays when the thread ends
    }
    return currentList;
}

OSG_END_NAMESPACE
