// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>

/// Counts how often the process ran out of memory. Whoever throws std::bad_alloc for that reason, or is told by a
/// library, reports it. A library may then wait or loop for ever, so applications limit the time that the way out
/// takes. All members may be called from any thread and need no memory.
class KT_HOST_EXPORT ktMemoryShortage {
public:
    /// @param listener called by each report, in the thread that reports; null for none
    static void setListener(void (*listener)()) noexcept;
    static void report() noexcept;
    /// Number of reports so far.
    static std::uint64_t count() noexcept;
};
