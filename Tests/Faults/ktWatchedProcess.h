// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

/// How a watched process ended.
struct ktWatchedResult {
    int exitCode = -1; ///< minus the number of the signal that ended it; `hangs` if it did not end
    std::string error; ///< the end of its standard error
    double seconds = 0;
    double processorSeconds = 0; ///< with its child processes

    static constexpr int hangs = -1000;
    /// A whole run takes a tenth of a second, and a hang has no end. The time between is for busy machines.
    static constexpr int patience_ms = 60000;

    /// @param status as wait() gives it
    void setStatus(int status);
    /// Reads and deletes the file with its standard error.
    void setError(const std::string& file);
};

/// Starts a program. Standard output is dropped, core dumps are off.
/// @param environment variables to add, as "NAME=value"
/// @param errorFile   gets standard error
/// @param kept        descriptors that the program inherits
pid_t startWatched(const std::filesystem::path& folder, const std::string& program,
                   const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                   const std::string& errorFile, const std::vector<int>& kept = {});

/// Starts a program and waits for its end, at most a minute.
ktWatchedResult runWatched(const std::filesystem::path& folder, const std::string& program,
                           const std::vector<std::string>& arguments, const std::vector<std::string>& environment);
