// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <atomic>
#include <mutex>

/// Passes the progress of a build from many threads to one receiver, one call at a time. Keeps a reference to it.
class ktBuildProgress {
public:
    /// @param receiver may be empty
    explicit ktBuildProgress(const ktTracer::Progress& receiver_) : receiver(receiver_) {}

    /// Reports the share done, unless the receiver has stopped the build. Any thread; shares may be a little out of
    /// order.
    /// @return false if the receiver has stopped the build
    bool goOn(float share) {
        if (!stopped && receiver) {
            const std::lock_guard<std::mutex> lock(telling);
            if (!stopped && !receiver(share))
                stopped = true;
        }
        return !stopped;
    }
    /// Whether the receiver has stopped the build. Any thread.
    bool isStopped() const { return stopped; }

private:
    const ktTracer::Progress& receiver;
    std::mutex telling;
    std::atomic<bool> stopped{false};
};
