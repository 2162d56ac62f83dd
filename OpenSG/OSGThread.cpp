// SPDX-License-Identifier: LGPL-2.1-or-later
// Owns the change lists of threads, and tolerates destructors that run after the thread's end.
#include "OSGThread.h"

#include "OSGChangeList.h"

#include <climits>
#include <map>
#include <mutex>
#include <pthread.h>
#include <string>

OSG_BEGIN_NAMESPACE

namespace {

// Containers can be destroyed after the thread's other objects, for example by static destructors. The pointer has no
// destructor, so it can be read even then.
thread_local ChangeList* currentList = nullptr;
thread_local bool threadIsEnding = false;

// Whether the thread has a list: the one that loads the library, and those that ask for one.
thread_local bool hasList = false;
[[maybe_unused]] const bool loaderHasList = hasList = true;

std::mutex& externalThreadsLock() {
    static std::mutex* const lock = new std::mutex;
    return *lock;
}

using ExternalThreads = std::map<std::string, ExternalThread*>;

ExternalThreads& externalThreads() {
    static ExternalThreads* const threads = new ExternalThreads;
    return *threads;
}

void onThreadEnd(void* list) {
    currentList = nullptr;
    threadIsEnding = true;
    delete static_cast<ChangeList*>(list);
}

// A key with a destructor instead of a thread_local object: the system would end the process if it had no memory to
// note the destructor of such an object. The main thread keeps its list until the end of the process.
pthread_key_t makeKey() {
    pthread_key_t key = PTHREAD_KEYS_MAX;
    return pthread_key_create(&key, onThreadEnd) == 0 ? key : PTHREAD_KEYS_MAX;
}

} // namespace

ChangeList* Thread::getCurrentChangeList() {
    if (currentList == nullptr && hasList && !threadIsEnding) {
        static const pthread_key_t key = makeKey();
        currentList = new ChangeList;
        pthread_setspecific(key, currentList); // without a key, the list stays when the thread ends
    }
    return currentList;
}

ExternalThread* ExternalThread::get(const Char8* name) {
    const std::lock_guard<std::mutex> lock(externalThreadsLock());
    ExternalThread*& thread = externalThreads()[name != nullptr ? name : ""];
    if (thread == nullptr)
        thread = new ExternalThread;
    return thread;
}

ExternalThread* ExternalThread::find(const Char8* name) {
    const std::lock_guard<std::mutex> lock(externalThreadsLock());
    const auto found = externalThreads().find(name != nullptr ? name : "");
    return found != externalThreads().end() ? found->second : nullptr;
}

void ExternalThread::initialize(UInt32) {
    hasList = true;
}

OSG_END_NAMESPACE
