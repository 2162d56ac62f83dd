// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <functional>

/// Hooks around each wait of the main thread for its workers. Scripting uses them to let other threads of the
/// interpreter run. Main thread only.
class KT_HOST_EXPORT ktWaitHooks {
public:
    /// @param before called when a wait begins; `after` when it has ended. Always called in pairs. If both are
    ///               empty there are no hooks. Neither may throw.
    static void set(std::function<void()> before, std::function<void()> after);

    /// A wait: calls `before` when it begins and `after` when it ends.
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
