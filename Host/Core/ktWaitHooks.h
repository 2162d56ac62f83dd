// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <functional>

/// What happens around each moment in which the main thread does nothing but wait for workers. Scripting uses it to let
/// other threads of the interpreter run. Main thread only.
class KT_HOST_EXPORT ktWaitHooks {
public:
    /// @param before called when a wait begins, and `after` when it has ended, always in pairs; both empty: nothing.
    ///               Neither may throw.
    static void set(std::function<void()> before, std::function<void()> after);

    /// One wait: calls `before` when it begins and `after` when it ends.
    class KT_HOST_EXPORT Wait {
    public:
        Wait();
        ~Wait();
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

    private:
        bool isMainThread;
    };
};
