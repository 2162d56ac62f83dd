// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>

class ktEventPump;

/// The worker threads: as many as ktThreadCount says, whatever the calling thread does meanwhile.
class ktWorkers {
public:
    /// Runs `work` on worker threads, where it may use ktParallel, and returns when it has ended. The calling thread
    /// pumps events until then.
    /// @throws what `work` or an event handler threw; `work` has ended in either case
    static void run(const std::function<void()>& work, ktEventPump& pump);
};
