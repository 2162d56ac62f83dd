// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// What ktController was told, for the host and its applications. Main thread only. Changes are announced by
/// ktHostSignals.
class KT_HOST_EXPORT ktControllerState {
public:
    /// Whether a long operation runs; the application takes no input but cancel then.
    static bool isBusy() noexcept;
    /// How often a long operation began: tells one from the next.
    static unsigned long getBusyCount() noexcept;
    /// Whether the pointer should show it; false when not busy.
    static bool isBusyCursorShown() noexcept;
    /// Whether the scene has unsaved changes.
    static bool isModified() noexcept;
};
