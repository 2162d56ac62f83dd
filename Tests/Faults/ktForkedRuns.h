// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWatchedProcess.h"

#include <sys/types.h>

/// Runs a program many times with failing allocations. The program is loaded once, with ktFailingAllocations, and forks
/// for each run: to load ktbake's libraries takes longer than a small bake.
class ktForkedRuns {
public:
    /// Loads the program; parameters as for runWatched().
    ktForkedRuns(const std::filesystem::path& folder, const std::string& program,
                 const std::vector<std::string>& arguments, const std::vector<std::string>& environment);
    /// Ends it.
    ~ktForkedRuns();
    ktForkedRuns(const ktForkedRuns&) = delete;
    ktForkedRuns& operator=(const ktForkedRuns&) = delete;

    /// One run, in which the allocations [first, first + count) fail. Waits for its end, at most a minute.
    ktWatchedResult run(long first, long count) const;

private:
    std::string errorFile;
    pid_t process = -1;
    int requests = -1, answers = -1; // our ends of the pipes
};
