// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>
#include <functional>

/// Keeps the event loop of the main thread running during long work. On other threads and in programs without an
/// application object it only calls `meanwhile`.
class ktEventPump {
public:
    /// Desired time between two runs of the event loop.
    static constexpr std::chrono::milliseconds interval{5};

    /// @param meanwhile called after each run of the event loop; may be empty
    explicit ktEventPump(std::function<void()> meanwhile = {});

    /// Runs the event loop once if `interval` has passed since the last run; cheap otherwise. Exceptions pass through.
    void handleEventsIfDue();
    /// Runs the event loop once.
    void handleEvents();

private:
    std::function<void()> meanwhile;
    std::chrono::steady_clock::time_point last;
};
