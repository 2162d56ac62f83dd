// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs work on worker threads while the main thread handles events, and passes on exceptions.
#include "ktWorkers.h"

#include "ktEventPump.h"
#include "ktKeptThread.h"
#include "ktParallel.h"
#include "ktThreadCount.h"
#include "ktThreadMemory.h"
#include "ktWaitHooks.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <pthread.h>
#include <stdexcept>
#include <sys/resource.h>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <tbb/task_scheduler_observer.h>
#include <thread>

namespace {

// A process that was forked from one with worker threads has none, and TBB does not notice.
std::atomic<bool> hasLostWorkers{false};

std::atomic<unsigned int> borrowedThreads{0};
std::atomic<unsigned int> ownThreadsOnly{0}; // how many objects say so

// Counts running work. Its destructor, at the exit of the process, waits until all work has ended: the libraries that
// the work uses are still loaded then.
class RunningWork {
public:
    static RunningWork& the() {
        static RunningWork running;
        return running;
    }
    RunningWork() {
        pthread_atfork(nullptr, nullptr, [] { hasLostWorkers = true; });
    }
    ~RunningWork() {
        if (hasLostWorkers)
            return;
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return count == 0; });
    }
    void begin() {
        const std::lock_guard<std::mutex> lock(mutex);
        ++count;
    }
    void end() {
        const std::lock_guard<std::mutex> lock(mutex);
        --count;
        changed.notify_all();
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
};

// TBB ends its workers when the last arena is destroyed. Without this arena, each call would start new workers, and a
// short call, such as for a small geometry, would be over before they run: one thread would trace most scenes.
void keepWorkers() {
    static tbb::task_arena* const arena = [] {
        auto made = std::make_unique<tbb::task_arena>(2, 1);
        made->initialize();    // if it fails, nobody may use this arena again: TBB would wait for ever
        return made.release(); // never destroyed: other users may end later
    }();
    arena->initialize(); // it is; without a use, compilers drop the pointer, and then the arena counts as leaked
}

// Raises the nice value of threads that enter the arena, once each. On Linux each thread has one.
class PriorityObserver : public tbb::task_scheduler_observer {
public:
    explicit PriorityObserver(tbb::task_arena& arena) : task_scheduler_observer(arena) { observe(true); }
    ~PriorityObserver() override { observe(false); }
    void on_scheduler_entry(bool) override {
#ifdef __linux__
        if (!ktThreadMemory::take()) // it takes no part in the work either
            return;
        static thread_local bool isLow = false;
        constexpr int lower = 10; // about a tenth of the processor's time beside a thread of the usual priority
        if (!isLow)
            setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + lower); // of this thread
        isLow = true;
#endif
    }
};

} // namespace

// The work as the task of a thread, and the exception that ended it.
class ktWorkers::Leader : private ktKeptThread::Task {
public:
    explicit Leader(std::function<void()> newWork) : work(std::move(newWork)) {
        if (hasLostWorkers)
            throw std::runtime_error("this process was forked from one that had traced already and has no worker "
                                     "threads; start a new process instead");
        RunningWork::the().begin();
        try {
            ktKeptThread::start(*this);
        } catch (...) {
            RunningWork::the().end();
            throw;
        }
    }
    ~Leader() override {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return ended; });
    }

    // Waits for one interval; true if the work has ended.
    bool waitForEnd() {
        const ktWaitHooks::Wait wait;
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, ktEventPump::interval, [this] { return ended; });
    }

    void rethrow() const {
        if (error)
            std::rethrow_exception(error);
    }

private:
    void execute() noexcept override {
        if (ktThreadMemory::take())
            run();
        else
            error = outOfMemory;
        giveBack();
        RunningWork::the().end();
        const std::lock_guard<std::mutex> lock(mutex); // the last use of this object
        ended = true;
        changed.notify_all();
    }

    void run() noexcept {
        try {
            const int threads =
                static_cast<int>(ktThreadCount::get() + (ownThreadsOnly > 0 ? 0 : borrowedThreads.load()));
            // TBB starts no more workers than cores unless this limit is higher.
            const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                            static_cast<std::size_t>(threads));
            if (threads > 1) // TBB warns on standard error about an arena with more threads than its limit
                keepWorkers();
            tbb::task_arena arena(threads, 1); // one slot is for this thread
            std::optional<PriorityObserver> observer;
            if (ktThreadCount::isLowPriority())
                observer.emplace(arena);
            arena.execute(work);
        } catch (...) {
            error = std::current_exception();
        }
    }

    std::function<void()> work;
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
    std::exception_ptr error;
    const std::exception_ptr outOfMemory = std::make_exception_ptr(std::bad_alloc());
};

ktWorkers::ktWorkers(std::function<void()> work) : leader(std::make_unique<Leader>(std::move(work))) {}

ktWorkers::~ktWorkers() = default;

bool ktWorkers::wait(ktEventPump& pump, const std::function<bool()>& giveUp) {
    while (!leader->waitForEnd()) {
        pump.handleEvents();
        if (giveUp && giveUp())
            return false;
    }
    pump.handleEventsIfDue();
    leader->rethrow();
    return true;
}

void ktWorkers::waitForEnd() noexcept {
    while (!leader->waitForEnd()) {
    }
}

void ktWorkers::borrowThreads(unsigned int count) noexcept {
    borrowedThreads = count;
}

ktWorkers::OwnThreadsOnly::OwnThreadsOnly() noexcept {
    ++ownThreadsOnly;
}

ktWorkers::OwnThreadsOnly::~OwnThreadsOnly() {
    --ownThreadsOnly;
}

void ktWorkers::startAll() {
    static unsigned int known = 1;
    if (ktThreadCount::get() <= known)
        return;
    constexpr std::chrono::milliseconds longest(50); // other work of the process may keep the workers
    const auto end = std::chrono::steady_clock::now() + longest;
    std::atomic<int> arrived{0};
    ktWorkers workers([&] {
        const int threads = tbb::this_task_arena::max_concurrency();
        ktParallel::forEach(static_cast<std::size_t>(threads), [&](std::size_t) {
            ++arrived;
            while (arrived < threads && std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
        });
    });
    workers.waitForEnd();
    workers.leader->rethrow();
    known = ktThreadCount::get();
}

void ktWorkers::run(const std::function<void()>& work, ktEventPump& pump) {
    ktWorkers(work).wait(pump);
}
