// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

/// During its lifetime, Ctrl-C (SIGINT) and a request to terminate (SIGTERM) end the run that was the current one when
/// it was created. The previous handler is called as well: the interpreter's, for example, then raises
/// KeyboardInterrupt. A signal without a handler is not changed. Main thread only. A second object at
/// the same time does nothing.
class ktInterruptGuard {
public:
    /// @param onInterrupt called by the event loop, on the main thread, after an interrupt
    explicit ktInterruptGuard(std::function<void()> onInterrupt);
    ~ktInterruptGuard();
    ktInterruptGuard(const ktInterruptGuard&) = delete;
    ktInterruptGuard& operator=(const ktInterruptGuard&) = delete;

private:
    std::function<void()> onInterrupt;
    std::unique_ptr<QSocketNotifier> notifier;
};
