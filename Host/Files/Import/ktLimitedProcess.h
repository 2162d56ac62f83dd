// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"

#include <functional>

/// What a process may use up.
struct ktProcessLimits {
    std::size_t memory_bytes; ///< address space beyond what this process has now; not enforced under sanitizers
    unsigned time_s;          ///< processor time
    unsigned wait_s;          ///< time by the clock, for work that waits for what never comes
};

/// Takes the bytes that a limited process hands back.
class ktByteSink {
public:
    explicit ktByteSink(int descriptor_) : descriptor(descriptor_) {}
    /// Ends the process when there is no room.
    void write(const void* data, std::size_t size);

private:
    int descriptor;
};

/// Runs `work` in a forked copy of this process and returns what it wrote. The copy has only the calling thread: `work`
/// must not use events, threads or locks that another thread may hold. Throws ktFileError (object "file") when the copy
/// crashes, throws, or exceeds a limit; this process is not affected. The copy does not outlive the calling thread.
ktBytes ktRunLimited(const ktProcessLimits& limits, const std::function<void(ktByteSink&)>& work);
