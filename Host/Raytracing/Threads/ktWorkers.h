// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <memory>

class ktEventPump;

/// Work on worker threads, while the main thread does something else. ktThreadCount sets how many threads. The process
/// does not exit before all work has ended.
class ktWorkers {
public:
    /// Starts `work`, which may use ktParallel, on worker threads. @throws std::system_error, std::bad_alloc;
    /// std::runtime_error in a process that was forked from one with workers
    explicit ktWorkers(std::function<void()> work);
    /// Waits for the end. An exception of the work is lost.
    ~ktWorkers();
    ktWorkers(const ktWorkers&) = delete;
    ktWorkers& operator=(const ktWorkers&) = delete;

    /// Handles events on the calling thread until the work has ended or `giveUp` returns true.
    /// @param giveUp called every few milliseconds; may be empty
    /// @return whether the work has ended
    /// @throws what the work or an event handler threw
    bool wait(ktEventPump& pump, const std::function<bool()>& giveUp = {});

    /// Waits for the end of the work without handling events. wait() still throws what the work threw.
    void waitForEnd() noexcept;

    /// Lets work that starts from now on use so many threads besides those of ktThreadCount: those of other processes
    /// on this machine, which wait for this one meanwhile. 0 is the default. Thread-safe.
    static void borrowThreads(unsigned int count) noexcept;

    /// While such an object exists, work that starts borrows no threads: those of other processes have work.
    class OwnThreadsOnly {
    public:
        OwnThreadsOnly() noexcept;
        ~OwnThreadsOnly();
        OwnThreadsOnly(const OwnThreadsOnly&) = delete;
        OwnThreadsOnly& operator=(const OwnThreadsOnly&) = delete;
    };

    /// Starts all worker threads, unless they run already, and waits until they do, for 50 ms at most. They then have
    /// the memory to report that there is none; TBB ends the process if a thread starts without memory. Otherwise they
    /// start when there is work for them. For the main thread. @throws as the constructor
    static void startAll();

    /// Starts the work and waits for its end. @throws as wait(); even then the work has ended
    static void run(const std::function<void()>& work, ktEventPump& pump);

private:
    class Leader;
    std::unique_ptr<Leader> leader;
};
