// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <atomic>

/// Asks the ray-tracing call under way, and all later ones of the same run, to end soon. Set by the application when
/// a calculation is cancelled; ktController::setBusy(true, ...) resets it, so that a start begins uncancelled.
/// Every member may be called from any thread and from a signal handler.
class KT_HOST_EXPORT ktCancelToken {
public:
    /// The process's one token.
    static ktCancelToken& the() noexcept;

    /// Requests the cancel. Stays in force until reset().
    void cancel() noexcept { canceled.store(true, std::memory_order_relaxed); }
    /// Withdraws the request.
    void reset() noexcept { canceled.store(false, std::memory_order_relaxed); }
    /// Whether a cancel is requested; cheap enough to ask once per packet of rays.
    bool isCanceled() const noexcept { return canceled.load(std::memory_order_relaxed); }

    ktCancelToken(const ktCancelToken&) = delete;
    ktCancelToken& operator=(const ktCancelToken&) = delete;

private:
    constexpr ktCancelToken() noexcept = default;

    std::atomic<bool> canceled{false};
    static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not meet a lock");

    static ktCancelToken instance;
};
