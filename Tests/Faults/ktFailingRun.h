// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <sys/types.h>

// What a test and a process with ktFailingAllocations say to each other through two pipes. The process forks at the
// start of main() for each request: the loader's work is then done, and no thread is running yet.

/// A run to start: the allocations [first, first + count) fail.
struct ktFailingRunRequest {
    long first, count;
    char errorFile[2048]; ///< gets standard error. So short that the pipe takes a request at once
};

/// How the run ended. Before it comes the number of its process, a pid_t.
struct ktFailingRunEnd {
    int status; ///< as wait() gives it
    double processorSeconds;
};
