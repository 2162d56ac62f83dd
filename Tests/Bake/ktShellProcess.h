// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Exit code and output of a program.
struct ktShellResult {
    int exitCode = -1; ///< -1: it crashed or did not end
    std::string out, error;

    /// Lines of standard output, without empty ones.
    std::vector<std::string> lines() const;
};

/// Runs a program and waits for its end. It finds ktbake by its name; the preferences are inside `folder`.
/// @param folder working directory of the run
ktShellResult runShell(const std::filesystem::path& folder, const std::string& program,
                       const std::vector<std::string>& arguments);

/// The text of a file that the build made: "ktbake.1", "ktbake.bash", "_ktbake" or "ktbake.fish".
std::string readMade(const std::string& name);
