// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

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
};
