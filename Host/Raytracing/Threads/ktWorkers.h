// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <memory>

class ktEventPump;

/// Work on the worker threads: as many as ktThreadCount says, whatever the main thread does meanwhile. The process does
/// not exit before all work has ended.
class ktWorkers {
public:
    /// Starts `work` on worker threads, where it may use ktParallel. @throws std::system_error, std::bad_alloc
    explicit ktWorkers(std::function<void()> work);
    /// Waits for the end; what the work threw is lost.
    ~ktWorkers();
    ktWorkers(const ktWorkers&) = delete;
    ktWorkers& operator=(const ktWorkers&) = delete;

    /// Pumps events on the calling thread until the work has ended, or `giveUp`, asked every few milliseconds, says so.
    /// @param giveUp may be empty
    /// @return whether the work has ended
    /// @throws what the work or an event handler threw
    bool wait(ktEventPump& pump, const std::function<bool()>& giveUp = {});

    /// Waits for the end of the work without pumping; what it threw stays for wait().
    void waitForEnd() noexcept;

    /// Starts the work and waits for its end. @throws as wait(); the work has ended in either case
    static void run(const std::function<void()>& work, ktEventPump& pump);

private:
    class Leader;
    std::unique_ptr<Leader> leader;
};
