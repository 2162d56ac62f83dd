// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// How a watched process ended.
struct ktWatchedResult {
    int exitCode = -1; ///< minus the number of the signal that ended it; `hangs` if it did not end
    std::string error; ///< the end of its standard error
    double seconds = 0;
    double processorSeconds = 0; ///< with its child processes

    static constexpr int hangs = -1000;
};

/// Runs a program and waits for its end, at most a minute. Standard output is dropped, core dumps are off.
/// @param environment variables to add, as "NAME=value"
ktWatchedResult runWatched(const std::filesystem::path& folder, const std::string& program,
                           const std::vector<std::string>& arguments, const std::vector<std::string>& environment);
