// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// Number and priority of the threads of the host's parallel loops. Thread-safe. A loop reads both when it begins.
class KT_HOST_EXPORT ktThreadCount {
public:
    /// Largest number of threads that set() accepts.
    static constexpr unsigned int maxThreadCount = 1024;

    /// Sets the number of threads, including the calling one. 0 means one per core that this process may run on. Larger
    /// numbers than `maxThreadCount` count as `maxThreadCount`.
    static void set(unsigned int count) noexcept;
    /// Number of threads in use; at least 1.
    static unsigned int get() noexcept;

    /// Whether worker threads have a lower priority than the main thread, so that a window stays live while they use
    /// all cores. Initially false. A worker thread that has begun work with it keeps the low priority. Linux only;
    /// other systems ignore it.
    static void setLowPriority(bool isLow) noexcept;
    static bool isLowPriority() noexcept;
};
