// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What a run of ktbake left behind.
struct ktBakeResult {
    int exitCode = -1; ///< -1: it crashed or did not end
    std::string out, error;
};

/// Runs ktbake and waits for its end. It has a preferences folder of its own, inside `folder`.
/// @param folder working directory of the run
/// @param before shell commands that set up the process, such as limits; empty: none
ktBakeResult runBake(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                     const std::string& before = {});

/// Starts ktbake, sends SIGINT once `marker` has come on standard error, and waits for its end.
ktBakeResult interruptBake(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                           const std::string& marker);

/// A new, empty folder for the test that runs, removed with the object.
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

/// A file's content; empty when there is none.
std::string readFile(const std::filesystem::path& file);
/// Path of one of the distribution's test models.
std::string model(const std::string& name);
