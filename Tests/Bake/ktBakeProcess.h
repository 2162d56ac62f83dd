// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Exit code and output of a run of ktbake.
struct ktBakeResult {
    int exitCode = -1; ///< -1: it crashed or did not end
    std::string out, error;
};

/// Runs ktbake and waits for its end. Its preferences folder is inside `folder`.
/// @param folder working directory of the run
/// @param before shell commands that prepare the process, such as limits; empty: none
ktBakeResult runBake(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                     const std::string& before = {});

/// Starts ktbake, sends SIGINT when standard error contains `marker`, and waits for its end.
ktBakeResult interruptBake(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                           const std::string& marker);

/// A new, empty folder for the current test. The destructor deletes it.
class ktTestFolder {
public:
    ktTestFolder();
    ~ktTestFolder();
    ktTestFolder(const ktTestFolder&) = delete;
    ktTestFolder& operator=(const ktTestFolder&) = delete;

    const std::filesystem::path path;
    std::string file(const std::string& name) const { return (path / name).string(); }
    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const;
};

/// A file's content; empty if the file does not exist.
std::string readFile(const std::filesystem::path& file);
/// Path of a test model from the Debian package.
std::string model(const std::string& name);
