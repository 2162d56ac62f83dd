// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// How many threads the host's parallel loops use. Thread-safe; a loop reads it when it begins.
class KT_HOST_EXPORT ktThreadCount {
public:
    /// Largest number of threads that set() takes.
    static constexpr unsigned int maxThreadCount = 1024;

    /// Threads to use, the calling one included; 0 means one for each core this process may run on. Larger numbers
    /// than `maxThreadCount` count as that.
    static void set(unsigned int count) noexcept;
    /// Threads in use; at least 1.
    static unsigned int get() noexcept;
};
