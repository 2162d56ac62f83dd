// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktRankMessages.h"
#include "ktTransport.h"

#include <chrono>
#include <functional>
#include <memory>

/// What a rank that only traces needs to begin.
struct ktRankServerOptions {
    ktRankHello self; ///< sent to rank 0
    /// Makes a tracer that uses so many lanes; not empty.
    std::function<std::unique_ptr<ktTracer>(std::uint32_t lanes)> makeTracer;
    /// Tells the code that traces to stop, or that it may go on; not empty. Called on the thread of ktServeRank().
    std::function<void(bool isCanceled)> setCanceled;
    std::chrono::milliseconds beat{500};       ///< between two signs of life
    std::chrono::milliseconds silence{20'000}; ///< rank 0 without a sign of life for so long is lost
};

/// Traces what rank 0 asks for until rank 0 says that it ends. Errors are sent to rank 0.
/// Memory: the triangles of the scene, their structure, and the blocks in work.
/// @return false if rank 0 is lost
KT_HOST_EXPORT bool ktServeRank(ktTransport& transport, const ktRankServerOptions& options);
