// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <atomic>
#include <mutex>

/// Passes the progress of a build on from many threads, one call at a time. Refers to the receiver.
class ktBuildProgress {
public:
    /// @param receiver may be empty
    explicit ktBuildProgress(const ktTracer::Progress& receiver_) : receiver(receiver_) {}

    /// Tells the share done, unless it was told to stop before. Any thread; shares may come a little out of order.
    /// @return false once the receiver has said stop
    bool goOn(float share) {
        if (!stopped && receiver) {
            const std::lock_guard<std::mutex> lock(telling);
            if (!stopped && !receiver(share))
                stopped = true;
        }
        return !stopped;
    }
    /// Whether the receiver has said stop. Any thread.
    bool isStopped() const { return stopped; }

private:
    const ktTracer::Progress& receiver;
    std::mutex telling;
    std::atomic<bool> stopped{false};
};
