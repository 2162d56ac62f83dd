// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps threads that have no task in a list.
#include "ktKeptThread.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace {

class Thread;
std::mutex listMutex;
Thread* firstIdle = nullptr;

class Thread {
public:
    /// An idle thread, which is no longer in the list; null if there is none.
    static Thread* take() {
        const std::lock_guard<std::mutex> lock(listMutex);
        Thread* const thread = firstIdle;
        if (thread)
            firstIdle = thread->next;
        return thread;
    }
    /// Puts it into the list.
    void giveBack() noexcept {
        const std::lock_guard<std::mutex> lock(listMutex);
        next = firstIdle;
        firstIdle = this;
    }

    void give(ktKeptThread::Task& newTask) {
        const std::lock_guard<std::mutex> lock(mutex);
        task = &newTask;
        changed.notify_one();
    }
    void run() {
        for (;;)
            waitForTask().execute();
    }

private:
    ktKeptThread::Task& waitForTask() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return task != nullptr; });
        ktKeptThread::Task* const given = task;
        task = nullptr;
        return *given;
    }

    std::mutex mutex;
    std::condition_variable changed;
    ktKeptThread::Task* task = nullptr;
    Thread* next = nullptr; // in the list
};

} // namespace

void ktKeptThread::Task::giveBack() noexcept {
    static_cast<Thread*>(thread)->giveBack();
}

void ktKeptThread::start(Task& task) {
    Thread* thread = Thread::take();
    if (!thread) {
        auto made = std::make_unique<Thread>();
        std::thread([made = made.get()] { made->run(); }).detach();
        thread = made.release(); // never destroyed, as it never ends
    }
    task.thread = thread;
    thread->give(task);
}
