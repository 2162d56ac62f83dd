// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <atomic>
#include <cstdint>

/// Asks the current ray-tracing call and all later ones of the same run to end soon. The application sets it to cancel
/// a calculation. Runs are numbered: ktController::setBusy(true, ...) begins the next one, uncancelled. A cancel that
/// names another run does nothing. A cancel that may come late (from a queued call or another thread) names its run.
/// All members may be called from any thread and from a signal handler.
class KT_HOST_EXPORT ktCancelToken {
public:
    /// The only token of the process.
    static ktCancelToken& the() noexcept;

    /// Begins the next run, uncancelled. @return its number; the first is 1
    std::uint64_t beginRun() noexcept {
        std::uint64_t before = state.load(std::memory_order_relaxed);
        while (!state.compare_exchange_weak(before, ((before >> 1) + 1) << 1, std::memory_order_relaxed)) {
        }
        return (before >> 1) + 1;
    }
    /// Number of the current run, or of the last one. 0 before the first.
    std::uint64_t getRun() const noexcept { return state.load(std::memory_order_relaxed) >> 1; }

    /// Requests the cancel. Stays set until reset() or beginRun().
    void cancel() noexcept { state.fetch_or(1, std::memory_order_relaxed); }
    /// The same for the run with this number. @return false, without effect, if it is not the newest
    bool cancel(std::uint64_t run) noexcept {
        std::uint64_t now = run << 1;
        return state.compare_exchange_strong(now, now | 1, std::memory_order_relaxed) || now == (run << 1 | 1);
    }
    /// Withdraws the request.
    void reset() noexcept { state.fetch_and(~std::uint64_t(1), std::memory_order_relaxed); }
    /// Whether a cancel is requested. Cheap enough to call once per packet of rays.
    bool isCanceled() const noexcept { return (state.load(std::memory_order_relaxed) & 1) != 0; }

    ktCancelToken(const ktCancelToken&) = delete;
    ktCancelToken& operator=(const ktCancelToken&) = delete;

private:
    constexpr ktCancelToken() noexcept = default;

    std::atomic<std::uint64_t> state{0}; // the number of the run; the lowest bit says whether it is cancelled
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "a signal handler must not take a lock");

    static ktCancelToken instance;
};
