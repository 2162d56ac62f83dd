// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

/// While it lives, Ctrl-C (SIGINT) and a request to terminate (SIGTERM) end the ray-tracing call under way, then go on
/// to the handler that was there: the interpreter's, for instance, which raises KeyboardInterrupt once its code runs
/// again. A signal without a handler is left alone. One at a time, main thread only.
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
