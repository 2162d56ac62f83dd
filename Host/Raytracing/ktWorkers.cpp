// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktWorkers.h"

#include "ktEventPump.h"
#include "ktThreadCount.h"
#include "ktWaitHooks.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>
#include <thread>

namespace {

// The thread that leads the workers, and what it left behind.
class Leader {
public:
    explicit Leader(const std::function<void()>& work) : thread([this, &work] { lead(work); }) {}
    ~Leader() { thread.join(); }
    Leader(const Leader&) = delete;
    Leader& operator=(const Leader&) = delete;

    // Waits a moment; true when the work has ended.
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
    void lead(const std::function<void()>& work) {
        try {
            const int threads = static_cast<int>(ktThreadCount::get());
            // The library starts no more workers than cores unless it is told that more are wanted.
            const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                            static_cast<std::size_t>(threads));
            tbb::task_arena arena(threads, 1); // one place is this thread's own
            arena.execute(work);
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard<std::mutex> lock(mutex);
        ended = true;
        changed.notify_one();
    }

    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
    std::exception_ptr error;
    std::thread thread; // last, so that it starts when all is ready
};

} // namespace

void ktWorkers::run(const std::function<void()>& work, ktEventPump& pump) {
    Leader leader(work);
    while (!leader.waitForEnd())
        pump.handleEvents();
    pump.breathe();
    leader.rethrow();
}
