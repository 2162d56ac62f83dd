// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <string>

/// How a long operation, such as a calculation, ended.
struct ktRunEnd {
    enum Kind {
        Done,      ///< it ran to its end
        Cancelled, ///< somebody cancelled it
        Failed     ///< an error inside the host stopped it
    };
    std::uint64_t run = 0; ///< its number in ktCancelToken; 0: there was none
    Kind kind = Done;
    std::string reason; ///< of a failure: one line, which is in the log already; else empty
};

/// The state that ktController was set to, for the host and its applications. Main thread only. ktHostSignals announces
/// changes.
class KT_HOST_EXPORT ktControllerState {
public:
    /// Whether a long operation runs. Meanwhile the application accepts no input except cancel.
    static bool isBusy() noexcept;
    /// Number of long operations so far; identifies the current one.
    static unsigned long getBusyCount() noexcept;
    /// Whether the pointer shows it; false if not busy.
    static bool isBusyCursorShown() noexcept;
    /// Whether the scene has unsaved changes.
    static bool isModified() noexcept;

    /// Reports an error inside the host that stops the current run: logs the line and cancels the run. The first line
    /// becomes the reason of its end. Without a run, the line is only logged and the token is set.
    static void failRun(const std::string& line);
    /// How the last run that has ended did so.
    static const ktRunEnd& getLastRunEnd() noexcept;
};
