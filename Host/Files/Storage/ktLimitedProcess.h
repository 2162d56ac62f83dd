// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"

#include <functional>
#include <string>
#include <vector>

/// Limits for a process.
struct ktProcessLimits {
    std::size_t memory_bytes; ///< address space in addition to that of this process; not enforced under sanitizers
    unsigned time_s;          ///< processor time
    unsigned wait_s;          ///< wall-clock time, for work that waits forever
    /// Only files below these folders can be opened, and none can be changed, if the kernel has Landlock. Empty: all.
    std::vector<std::string> readableFolders = {};
};

/// Receives the bytes that a limited process returns.
class ktByteSink {
public:
    explicit ktByteSink(int descriptor_) : descriptor(descriptor_) {}
    /// Appends bytes. Ends the process if there is no space.
    void write(const void* data, std::size_t size);

private:
    int descriptor;
};

/// Runs `work` in a forked copy of this process and returns what it wrote. The copy has only the calling thread: `work`
/// must not use events, threads, or locks that another thread may hold. It has no network and cannot start programs, if
/// the kernel has seccomp. Throws ktFileError (object "file") if the copy crashes, throws or exceeds a limit. This
/// process is not affected. The copy does not outlive the calling thread.
ktBytes ktRunLimited(const ktProcessLimits& limits, const std::function<void(ktByteSink&)>& work);
