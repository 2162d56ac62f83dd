// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <atomic>

/// Asks the current ray-tracing call and all later ones of the same run to end soon. The application sets it to cancel
/// a calculation. ktController::setBusy(true, ...) resets it, so that a run starts uncancelled. All members may be
/// called from any thread and from a signal handler.
class KT_HOST_EXPORT ktCancelToken {
public:
    /// The only token of the process.
    static ktCancelToken& the() noexcept;

    /// Requests the cancel. Stays set until reset().
    void cancel() noexcept { canceled.store(true, std::memory_order_relaxed); }
    /// Withdraws the request.
    void reset() noexcept { canceled.store(false, std::memory_order_relaxed); }
    /// Whether a cancel is requested. Cheap enough to call once per packet of rays.
    bool isCanceled() const noexcept { return canceled.load(std::memory_order_relaxed); }

    ktCancelToken(const ktCancelToken&) = delete;
    ktCancelToken& operator=(const ktCancelToken&) = delete;

private:
    constexpr ktCancelToken() noexcept = default;

    std::atomic<bool> canceled{false};
    static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not take a lock");

    static ktCancelToken instance;
};
